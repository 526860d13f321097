// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_ENVIRONMENT_H
#define ORSEL_SIMULATOR_TOKEN_ENVIRONMENT_H

#include <string>

#include "tokenlib/Environment.h"

namespace orselsim {

/// What the process's environment says, read once when the library is initialised. A variable that
/// is not set is an empty text.
struct Environment {
    std::string m_Deck;             ///< ORSELSIM_DECK, directory
    tokenlib::Environment m_Shared; ///< ORSELSIM_TRACE, ORSELSIM_FAULTS, ORSELSIM_PIN_SCRIPT

    static Environment Read();
};

} // namespace orselsim

#endif
