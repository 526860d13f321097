// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_REFUSAL_H
#define ORSEL_SIMULATOR_TOKEN_REFUSAL_H

#include "simulator/token/Pkcs11.h"

namespace orselsim {

/// Thrown inside the library where a call ends early; the entry point returns the code.
struct Refusal {
    CK_RV m_Code;
};

} // namespace orselsim

#endif
