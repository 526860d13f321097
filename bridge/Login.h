// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_LOGIN_H
#define ORSEL_BRIDGE_LOGIN_H

#include <optional>

#include "bridge/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Secret.h"

namespace orselbridge {

using tokenlib::Call;
using tokenlib::Secret;

/// A PIN as the module takes it. Nothing where the reader has a keypad of its own: the module asks.
using GivenPin = std::optional<Secret>;

/// What the user is asked for.
enum class PinKind { USER, OFFICER };

/// Asks for a PIN that is there already, unless the token has a way of its own to ask. Throws
/// Refusal when the PIN is blocked, and when the user cancels. The lock is let go meanwhile: what
/// the caller knew of sessions has to be asked for again.
GivenPin AskPin(Call& call, Runtime& runtime, CK_SLOT_ID slot, PinKind kind);

/// Asks for a new PIN, in the same way.
GivenPin AskNewPin(Call& call, Runtime& runtime, CK_SLOT_ID slot);

/// Whether the token asks for PINs in a way of its own.
bool HasOwnKeypad(const CK_TOKEN_INFO& info);

/// Calls C_Login; throws Refusal. A PIN that is too short to be right is wrong.
void LogIn(const Module& module, CK_SESSION_HANDLE session, CK_USER_TYPE user, const GivenPin& pin);

/// A login that ends with the object. Where somebody is logged in already it leaves that one alone.
class Login {
public:
    Login(const Module& module, CK_SESSION_HANDLE session, CK_USER_TYPE user, const GivenPin& pin);
    ~Login();
    Login(const Login&) = delete; // logs out once
    Login& operator=(const Login&) = delete;

private:
    const Module& m_Module;
    CK_SESSION_HANDLE m_Session;
    bool m_IsOurs = true;
};

} // namespace orselbridge

#endif
