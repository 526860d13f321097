// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_CARDPROPERTIES_H
#define ORSEL_SIMULATOR_TOKEN_CARDPROPERTIES_H

#include <string>

#include "simulator/store/Card.h"

namespace orselsim {

/// Resets the card and answers with its ATR.
constexpr const char* RESET_PROPERTY = "Reset";

/// The value of a named property of the card; throws Refusal when the card lacks it.
Bytes CardProperty(const Card& card, const std::string& name);

} // namespace orselsim

#endif
