// SPDX-License-Identifier: MIT
// Entry points of sessions and logins.
#include "bridge/Forwarding.h"
#include "bridge/Login.h"

using orselbridge::GivenPin;
using orselbridge::PinKind;
using orselbridge::Runtime;
using tokenlib::Call;

CK_RV C_OpenSession(CK_SLOT_ID id, CK_FLAGS flags, void* /*application*/, CK_NOTIFY /*notify*/,
                    CK_SESSION_HANDLE* session) {
    Call call("C_OpenSession");
    return call.Slot(id).Number("flags", flags).Run([&](Runtime& runtime) {
        tokenlib::Require(session);
        *session = runtime.OpenSession(id, flags);
        call.Number("session", *session);
    });
}

CK_RV C_CloseSession(CK_SESSION_HANDLE session) {
    return Call("C_CloseSession").Session(session).Run([&](Runtime& runtime) {
        runtime.CloseSession(session);
    });
}

CK_RV C_CloseAllSessions(CK_SLOT_ID id) {
    return Call("C_CloseAllSessions").Slot(id).Run([&](Runtime& runtime) { runtime.CloseAllSessions(id); });
}

CK_RV C_GetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info) {
    return Call("C_GetSessionInfo").Session(session).Run([&](Runtime& runtime) {
        tokenlib::Require(info);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_GetSessionInfo, orselbridge::InnerOf(runtime, session),
                               info);
    });
}

// Without a PIN in the call the bridge asks for it, as a reader with a keypad of its own would.
CK_RV C_Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG pinLen) {
    const bool isGiven = pin != nullptr && pinLen > 0;
    Call call("C_Login");
    call.Session(session).Number("user", user).Text("pin", isGiven ? "given" : "asked");
    return call.Run([&](Runtime& runtime) {
        const CK_SLOT_ID slot = runtime.SessionOf(session).m_Slot;
        if (!isGiven) {
            const PinKind kind = user == CKU_SO ? PinKind::OFFICER : PinKind::USER;
            const GivenPin asked = orselbridge::AskPin(call, runtime, slot, kind);
            orselbridge::LogIn(runtime.GetModule(), orselbridge::InnerOf(runtime, session), user, asked);
            return;
        }
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_Login, orselbridge::InnerOf(runtime, session), user, pin,
                               pinLen);
    });
}

CK_RV C_Logout(CK_SESSION_HANDLE session) {
    return Call("C_Logout").Session(session).Run([&](Runtime& runtime) {
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_Logout, orselbridge::InnerOf(runtime, session));
    });
}
