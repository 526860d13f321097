// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_CARDTEXT_H
#define ORSEL_SIMULATOR_DECK_CARDTEXT_H

#include <string>

#include "simulator/store/CardRecord.h"

namespace orselsim {

/// One line about the card in a directory: its name, model, serial and holder, or what is wrong
/// with it.
std::string CardLine(const std::string& name, const std::string& directory);

/// Everything about a card, a line each. Throws when the directory holds no whole card.
std::string CardText(const std::string& directory);

/// The state of each PIN and its PUK, a line each.
std::string PinLines(const CardRecord& record);

} // namespace orselsim

#endif
