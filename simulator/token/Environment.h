// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_ENVIRONMENT_H
#define ORSEL_SIMULATOR_TOKEN_ENVIRONMENT_H

#include <string>

namespace orselsim {

/// What the process's environment says, read once when the library is initialised. A variable that
/// is not set is an empty text.
struct Environment {
    std::string m_Deck;      ///< ORSELSIM_DECK, directory
    std::string m_Trace;     ///< ORSELSIM_TRACE, file
    std::string m_Faults;    ///< ORSELSIM_FAULTS, file
    std::string m_PinScript; ///< ORSELSIM_PIN_SCRIPT, file

    static Environment Read();
};

} // namespace orselsim

#endif
