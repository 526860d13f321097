// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_SESSION_H
#define ORSEL_BRIDGE_SESSION_H

#include <optional>

#include "bridge/InnerSession.h"
#include "bridge/ShownObjects.h"
#include "tokenlib/Search.h"

namespace orselbridge {

/// A signature that has been begun here and not in the module yet, which would want a login first.
struct PendingSignature {
    CK_MECHANISM_TYPE m_Mechanism = 0;
    Bytes m_Parameter;
    CK_OBJECT_HANDLE m_Key = 0; ///< as the caller knows it
    Bytes m_Data;               ///< of C_SignUpdate
};

/// One open session.
struct Session {
    Session(const Module& module, CK_SLOT_ID slot, CK_FLAGS flags)
        : m_Slot(slot), m_Flags(flags), m_Inner(module, slot, flags) {}

    const CK_SLOT_ID m_Slot;
    const CK_FLAGS m_Flags;
    InnerSession m_Inner;
    std::optional<TokenView> m_View; ///< made when it is first needed
    std::optional<tokenlib::Search> m_Search;
    std::optional<PendingSignature> m_Signature;
};

} // namespace orselbridge

#endif
