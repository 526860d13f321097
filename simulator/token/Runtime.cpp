// SPDX-License-Identifier: MIT
#include "simulator/token/Runtime.h"

#include <algorithm>
#include <atomic>

#include "tokenlib/Refusal.h"

namespace orselsim {

namespace {

// Handles are never used twice in a process, so that a stale one is always noticed.
std::atomic<CK_SESSION_HANDLE> g_LastSessionHandle{0};

} // namespace

Runtime::Runtime(const Environment& environment)
    : tokenlib::Runtime(environment.m_Shared), m_Deck(environment.m_Deck) {
    m_Deck.Rescan();
    for (Slot* slot : m_Deck.Slots()) {
        slot->m_HasEvent = false; // what is in its reader from the start has not just come
    }
}

Slot& Runtime::SlotWithToken(CK_SLOT_ID id) {
    Slot& slot = m_Deck.SlotOf(id);
    m_Deck.Refresh(slot);
    if (!slot.m_Card) {
        throw Refusal{CKR_TOKEN_NOT_PRESENT};
    }
    return slot;
}

CK_SESSION_HANDLE Runtime::OpenSession(CK_SLOT_ID id, CK_FLAGS flags) {
    const Slot& slot = SlotWithToken(id);
    const CK_SESSION_HANDLE handle = ++g_LastSessionHandle;
    Session& session = m_Sessions[handle];
    session.m_SlotId = id;
    session.m_Insertion = slot.m_Insertion;
    session.m_Flags = flags;
    return handle;
}

void Runtime::CloseSession(CK_SESSION_HANDLE handle) {
    const auto found = m_Sessions.find(handle);
    if (found == m_Sessions.end()) {
        throw Refusal{CKR_SESSION_HANDLE_INVALID};
    }
    const Session session = found->second;
    m_Sessions.erase(found);
    LogOutWithLastSession(session.m_SlotId);
    Slot& slot = m_Deck.SlotOf(session.m_SlotId);
    m_Deck.Refresh(slot);
    if (!slot.m_Card || slot.m_Insertion != session.m_Insertion) {
        throw Refusal{CKR_DEVICE_REMOVED};
    }
}

void Runtime::CloseAllSessions(CK_SLOT_ID id) {
    m_Deck.SlotOf(id);
    for (auto it = m_Sessions.begin(); it != m_Sessions.end();) {
        it = it->second.m_SlotId == id ? m_Sessions.erase(it) : std::next(it);
    }
    LogOutWithLastSession(id);
}

void Runtime::LogOutWithLastSession(CK_SLOT_ID id) {
    if (SessionCount(id, false) == 0) {
        m_Deck.SlotOf(id).m_IsLoggedIn = false;
    }
}

CK_ULONG Runtime::SessionCount(CK_SLOT_ID id, bool readWriteOnly) const {
    return static_cast<CK_ULONG>(std::count_if(m_Sessions.begin(), m_Sessions.end(), [&](const auto& entry) {
        const Session& session = entry.second;
        return session.m_SlotId == id && (!readWriteOnly || (session.m_Flags & CKF_RW_SESSION) != 0);
    }));
}

SessionView Runtime::ViewOf(CK_SESSION_HANDLE handle) {
    Session* found = FindSession(handle);
    if (found == nullptr) {
        throw Refusal{CKR_SESSION_HANDLE_INVALID};
    }
    Slot& slot = m_Deck.SlotOf(found->m_SlotId);
    m_Deck.Refresh(slot);
    if (!slot.m_Card || slot.m_Insertion != found->m_Insertion) {
        throw Refusal{CKR_DEVICE_REMOVED};
    }
    return {*found, slot, slot.m_Card};
}

Session* Runtime::FindSession(CK_SESSION_HANDLE handle) {
    const auto found = m_Sessions.find(handle);
    return found == m_Sessions.end() ? nullptr : &found->second;
}

std::optional<CK_SLOT_ID> Runtime::SlotIdOf(CK_SESSION_HANDLE session) {
    const Session* found = FindSession(session);
    return found == nullptr ? std::nullopt : std::make_optional(found->m_SlotId);
}

unsigned long Runtime::DelayOf(CK_SLOT_ID slot) {
    const Slot* found = m_Deck.Find(slot);
    return found != nullptr && found->m_Card ? found->m_Card->Record().m_DelayMs : 0;
}

std::shared_ptr<tokenlib::Runtime> StartRuntime() {
    return tokenlib::StartRuntime([] { return std::make_shared<Runtime>(Environment::Read()); });
}

} // namespace orselsim
