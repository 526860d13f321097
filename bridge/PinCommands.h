// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_PINCOMMANDS_H
#define ORSEL_BRIDGE_PINCOMMANDS_H

#include "bridge/Runtime.h"
#include "tokenlib/Call.h"

namespace orselbridge {

/// A command on the token's PIN, written as an attribute of an object that the PIN protects.
struct PinCommand {
    CK_ATTRIBUTE_TYPE m_Type = tokenlib::CHANGE_PIN_COMMAND;
    bool m_WantsSoftwarePin = false; ///< ask on the screen, not on a reader's keypad
};

/// Asks for what the command needs and has the module do it; throws Refusal unless it succeeds. A
/// token has one PIN of the user's and one of the security officer, which stands for the PUK.
void RunPinCommand(tokenlib::Call& call, Runtime& runtime, CK_SESSION_HANDLE session,
                   const PinCommand& command);

} // namespace orselbridge

#endif
