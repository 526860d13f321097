// SPDX-License-Identifier: MIT
// Entry points that log the user in and out.
#include "simulator/token/Authorisation.h"
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Output.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::Secret;
using orselsim::SessionView;
using orselsim::TokenObject;

namespace {

/// A login for one signature counts for the PIN of the key that is about to sign.
std::string PinOfSigningKey(const SessionView& view) {
    if (!view.m_Session.m_Signing) {
        throw Refusal{CKR_OPERATION_NOT_INITIALIZED};
    }
    const TokenObject* key = view.m_Card->Object(view.m_Session.m_Signing->m_Key);
    return key == nullptr ? "" : key->m_Record.m_Pin;
}

std::string PinOfLogin(const SessionView& view, CK_USER_TYPE user) {
    switch (user) {
    case CKU_USER:
        if (view.m_Slot.m_IsLoggedIn) {
            throw Refusal{CKR_USER_ALREADY_LOGGED_IN};
        }
        return orselsim::ENCRYPTION_PIN;
    case CKU_CONTEXT_SPECIFIC:
        return PinOfSigningKey(view);
    default:
        throw Refusal{CKR_USER_TYPE_INVALID};
    }
}

void NoteLogin(const SessionView& view, CK_USER_TYPE user) {
    if (user == CKU_USER) {
        view.m_Slot.m_IsLoggedIn = true;
    } else if (view.m_Session.m_Signing) {
        view.m_Session.m_Signing->m_IsAuthorised = true;
    }
}

} // namespace

// Without a PIN in the call the library asks for it, as a reader with a keypad of its own would.
CK_RV C_Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG pinLen) {
    const bool isGiven = pin != nullptr && pinLen > 0;
    Call call("C_Login");
    call.Session(session).Number("user", user).Text("pin", isGiven ? "given" : "asked").Slow();
    return call.Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        const std::string name = PinOfLogin(view, user);
        orselsim::UsablePin(view.m_Card->Record(), name);
        const Secret secret =
            isGiven
                ? Secret(std::string(pin, pin + pinLen))
                : call.Ask(orselsim::SecretQuestion(view.m_Card->Record(), name, orselsim::SecretKind::PIN));
        orselsim::CheckPin(runtime, session, name, secret);
        NoteLogin(runtime.ViewOf(session), user);
    });
}

CK_RV C_Logout(CK_SESSION_HANDLE session) {
    return Call("C_Logout").Session(session).Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        if (!view.m_Slot.m_IsLoggedIn) {
            throw Refusal{CKR_USER_NOT_LOGGED_IN};
        }
        view.m_Slot.m_IsLoggedIn = false;
    });
}
