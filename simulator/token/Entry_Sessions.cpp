// SPDX-License-Identifier: MIT
// Entry points of sessions.
#include "simulator/token/Call.h"
#include "simulator/token/Output.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::SessionView;

namespace {

CK_STATE stateOf(const SessionView& view) {
    const bool isReadWrite = (view.session.flags & CKF_RW_SESSION) != 0;
    if (view.slot.isLoggedIn)
        return isReadWrite ? CKS_RW_USER_FUNCTIONS : CKS_RO_USER_FUNCTIONS;
    return isReadWrite ? CKS_RW_PUBLIC_SESSION : CKS_RO_PUBLIC_SESSION;
}

} // namespace

CK_RV C_OpenSession(CK_SLOT_ID id, CK_FLAGS flags, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
    Call call("C_OpenSession");
    return call.slot(id).number("flags", flags).slow().run([&](Runtime& runtime) {
        orselsim::require(session);
        if ((flags & CKF_SERIAL_SESSION) == 0)
            throw Refusal{CKR_SESSION_PARALLEL_NOT_SUPPORTED};
        *session = runtime.openSession(id, flags);
        call.number("session", *session);
    });
}

CK_RV C_CloseSession(CK_SESSION_HANDLE session) {
    return Call("C_CloseSession").session(session).run([&](Runtime& runtime) {
        runtime.closeSession(session);
    });
}

CK_RV C_CloseAllSessions(CK_SLOT_ID id) {
    return Call("C_CloseAllSessions").slot(id).run([&](Runtime& runtime) { runtime.closeAllSessions(id); });
}

CK_RV C_GetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info) {
    return Call("C_GetSessionInfo").session(session).run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        orselsim::require(info);
        *info = {};
        info->slotID = view.session.slotId;
        info->state = stateOf(view);
        info->flags = view.session.flags;
    });
}
