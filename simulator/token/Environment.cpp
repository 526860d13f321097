// SPDX-License-Identifier: MIT
#include "simulator/token/Environment.h"

#include <cstdlib>

namespace orselsim {

namespace {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

Environment Environment::Read() {
    return {Variable("ORSELSIM_DECK"), Variable("ORSELSIM_TRACE"), Variable("ORSELSIM_FAULTS"),
            Variable("ORSELSIM_PIN_SCRIPT")};
}

} // namespace orselsim
