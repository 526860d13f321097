// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_PINCOMMANDS_H
#define ORSEL_SIMULATOR_TOKEN_PINCOMMANDS_H

#include "simulator/store/Shared.h"
#include "tokenlib/Call.h"

namespace orselsim {

/// A command on a PIN, written as an attribute of an object that the PIN protects.
struct PinCommand {
    CK_ATTRIBUTE_TYPE m_Type = CHANGE_PIN_COMMAND;
    bool m_Value = false;            ///< of a change: set the PIN for the first time
    bool m_WantsSoftwarePin = false; ///< ask on the screen, not on a reader's keypad
};

/// Runs the command with its questions; throws Refusal unless it succeeds.
void RunPinCommand(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName,
                   const PinCommand& command);

} // namespace orselsim

#endif
