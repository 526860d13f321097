// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_ENVIRONMENT_H
#define ORSEL_SIMULATOR_TOKEN_ENVIRONMENT_H

#include <string>

namespace orselsim {

/// What the process's environment says, read once when the library is initialised. A variable that
/// is not set is an empty text.
struct Environment {
    std::string deck;      ///< ORSELSIM_DECK, directory
    std::string trace;     ///< ORSELSIM_TRACE, file
    std::string faults;    ///< ORSELSIM_FAULTS, file
    std::string pinScript; ///< ORSELSIM_PIN_SCRIPT, file

    static Environment read();
};

} // namespace orselsim

#endif
