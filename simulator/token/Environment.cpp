// SPDX-License-Identifier: MIT
#include "simulator/token/Environment.h"

namespace orselsim {

Environment Environment::Read() {
    return {tokenlib::Variable("ORSELSIM_DECK"),
            tokenlib::Environment::Read({"ORSELSIM_TRACE", "ORSELSIM_FAULTS", "ORSELSIM_PIN_SCRIPT"})};
}

} // namespace orselsim
