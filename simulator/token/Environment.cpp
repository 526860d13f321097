// SPDX-License-Identifier: MIT
#include "simulator/token/Environment.h"

#include <cstdlib>

namespace orselsim {

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

Environment Environment::read() {
    return {variable("ORSELSIM_DECK"), variable("ORSELSIM_TRACE"), variable("ORSELSIM_FAULTS"),
            variable("ORSELSIM_PIN_SCRIPT")};
}

} // namespace orselsim
