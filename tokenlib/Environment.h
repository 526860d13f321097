// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_ENVIRONMENT_H
#define ORSEL_TOKENLIB_ENVIRONMENT_H

#include <string>

namespace tokenlib {

/// The environment variables that a token library takes its files from, by name.
struct VariableNames {
    const char* m_Trace;
    const char* m_Faults;
    const char* m_PinScript;
};

/// What every token library of this project takes from the process's environment, read once when it
/// is initialised. A variable that is not set is an empty text.
struct Environment {
    std::string m_Trace;     ///< file that gets a line a call
    std::string m_Faults;    ///< file of planned faults
    std::string m_PinScript; ///< file of answers to questions for PINs

    static Environment Read(const VariableNames& names);
};

/// The value of an environment variable, empty when it is not set.
std::string Variable(const char* name);

} // namespace tokenlib

#endif
