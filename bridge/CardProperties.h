// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_CARDPROPERTIES_H
#define ORSEL_BRIDGE_CARDPROPERTIES_H

#include <string>

#include "bridge/Runtime.h"

namespace orselbridge {

/// A property of the card by name: "ATR" and "Reset" from its reader, the states of the PINs from
/// the token's flags. Throws Refusal with CKR_FUNCTION_NOT_SUPPORTED for one that cannot be had.
Bytes CardProperty(Runtime& runtime, CK_SLOT_ID slot, const std::string& name);

/// Sends a command to the card in the reader of a slot; the response ends in its status bytes.
/// Throws Refusal with CKR_FUNCTION_NOT_SUPPORTED where nobody can.
Bytes TransmitToCard(Runtime& runtime, CK_SLOT_ID slot, const Bytes& apdu);

} // namespace orselbridge

#endif
