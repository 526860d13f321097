// SPDX-License-Identifier: MIT
#include "tokenlib/Environment.h"

#include <cstdlib>

namespace tokenlib {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

Environment Environment::Read(const VariableNames& names) {
    return {Variable(names.m_Trace), Variable(names.m_Faults), Variable(names.m_PinScript)};
}

} // namespace tokenlib
