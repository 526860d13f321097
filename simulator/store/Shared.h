// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_SHARED_H
#define ORSEL_SIMULATOR_STORE_SHARED_H

namespace tokenlib {}

/// What every token library of this project has in common is at home in the simulator, too.
namespace orselsim {
using namespace tokenlib;
}

#endif
