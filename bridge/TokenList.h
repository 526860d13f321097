// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_TOKENLIST_H
#define ORSEL_BRIDGE_TOKENLIST_H

#include <ostream>

#include "bridge/Runtime.h"

namespace orselbridge {

/// Whether the user reads German, by the locale of the environment's variables.
bool IsGermanWanted();

/// Prints the tokens of the module and, for each, which key plays which role and why.
void PrintTokens(Runtime& runtime, std::ostream& out, bool inGerman);

} // namespace orselbridge

#endif
