// SPDX-License-Identifier: MIT
// Entry points that log the user in and out.
#include "simulator/token/Authorisation.h"
#include "simulator/token/Call.h"
#include "simulator/token/Output.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::Secret;
using orselsim::SessionView;
using orselsim::TokenObject;

namespace {

/// A login for one signature counts for the PIN of the key that is about to sign.
std::string pinOfSigningKey(const SessionView& view) {
    if (!view.session.signing)
        throw Refusal{CKR_OPERATION_NOT_INITIALIZED};
    const TokenObject* key = view.card->object(view.session.signing->key);
    return key == nullptr ? "" : key->record.pin;
}

std::string pinOfLogin(const SessionView& view, CK_USER_TYPE user) {
    switch (user) {
    case CKU_USER:
        if (view.slot.isLoggedIn)
            throw Refusal{CKR_USER_ALREADY_LOGGED_IN};
        return orselsim::encryptionPin;
    case CKU_CONTEXT_SPECIFIC:
        return pinOfSigningKey(view);
    default:
        throw Refusal{CKR_USER_TYPE_INVALID};
    }
}

void noteLogin(const SessionView& view, CK_USER_TYPE user) {
    if (user == CKU_USER)
        view.slot.isLoggedIn = true;
    else if (view.session.signing)
        view.session.signing->isAuthorised = true;
}

} // namespace

// Without a PIN in the call the library asks for it, as a reader with a keypad of its own would.
CK_RV C_Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG pinLen) {
    const bool isGiven = pin != nullptr && pinLen > 0;
    Call call("C_Login");
    call.session(session).number("user", user).text("pin", isGiven ? "given" : "asked").slow();
    return call.run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        const std::string name = pinOfLogin(view, user);
        orselsim::usablePin(view.card->record(), name);
        const Secret secret = isGiven
                                  ? Secret(std::string(pin, pin + pinLen))
                                  : orselsim::askUser(call, runtime,
                                                      orselsim::secretQuestion(view.card->record(), name,
                                                                               orselsim::SecretKind::Pin));
        orselsim::checkPin(runtime, session, name, secret);
        noteLogin(runtime.session(session), user);
    });
}

CK_RV C_Logout(CK_SESSION_HANDLE session) {
    return Call("C_Logout").session(session).run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        if (!view.slot.isLoggedIn)
            throw Refusal{CKR_USER_NOT_LOGGED_IN};
        view.slot.isLoggedIn = false;
    });
}
