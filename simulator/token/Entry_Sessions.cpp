// SPDX-License-Identifier: MIT
// Entry points of sessions.
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Output.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::SessionView;

namespace {

CK_STATE StateOf(const SessionView& view) {
    const bool isReadWrite = (view.m_Session.m_Flags & CKF_RW_SESSION) != 0;
    if (view.m_Slot.m_IsLoggedIn) {
        return isReadWrite ? CKS_RW_USER_FUNCTIONS : CKS_RO_USER_FUNCTIONS;
    }
    return isReadWrite ? CKS_RW_PUBLIC_SESSION : CKS_RO_PUBLIC_SESSION;
}

} // namespace

CK_RV C_OpenSession(CK_SLOT_ID id, CK_FLAGS flags, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
    Call call("C_OpenSession");
    return call.Slot(id).Number("flags", flags).Slow().Run([&](Runtime& runtime) {
        orselsim::Require(session);
        if ((flags & CKF_SERIAL_SESSION) == 0) {
            throw Refusal{CKR_SESSION_PARALLEL_NOT_SUPPORTED};
        }
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
        const SessionView view = runtime.ViewOf(session);
        orselsim::Require(info);
        *info = {};
        info->slotID = view.m_Session.m_SlotId;
        info->state = StateOf(view);
        info->flags = view.m_Session.m_Flags;
    });
}
