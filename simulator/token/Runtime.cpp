// SPDX-License-Identifier: MIT
#include "simulator/token/Runtime.h"

#include <algorithm>
#include <atomic>

#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

std::mutex g_CurrentMutex;
std::shared_ptr<Runtime> g_Current;

// Handles are never used twice in a process, so that a stale one is always noticed.
std::atomic<CK_SESSION_HANDLE> g_LastSessionHandle{0};

/// The planned faults go on counting over C_Finalize and C_Initialize while their file stays the
/// same: "the first C_Initialize fails" is then a plan that a second try gets past.
std::shared_ptr<Faults> FaultsOf(const std::string& path) {
    static std::mutex mutex;
    static std::string lastPath;
    static std::optional<FileStamp> lastStamp;
    static std::shared_ptr<Faults> last;

    const std::lock_guard<std::mutex> lock(mutex);
    const auto stamp = StampOf(path);
    if (!last || path != lastPath || stamp != lastStamp) {
        last = std::make_shared<Faults>(path);
        lastPath = path;
        lastStamp = stamp;
    }
    return last;
}

} // namespace

Runtime::Runtime(const Environment& environment)
    : m_Trace(environment.m_Trace),
      m_Faults(FaultsOf(environment.m_Faults)),
      m_PinEntry(environment.m_PinScript),
      m_Deck(environment.m_Deck) {
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

Slot* Runtime::SlotOfSession(CK_SESSION_HANDLE handle) {
    const Session* found = FindSession(handle);
    return found == nullptr ? nullptr : &m_Deck.SlotOf(found->m_SlotId);
}

std::shared_ptr<Runtime> CurrentRuntime() {
    const std::lock_guard<std::mutex> lock(g_CurrentMutex);
    return g_Current;
}

std::shared_ptr<Runtime> StartRuntime() {
    const std::lock_guard<std::mutex> lock(g_CurrentMutex);
    if (g_Current) {
        throw Refusal{CKR_CRYPTOKI_ALREADY_INITIALIZED};
    }
    g_Current = std::make_shared<Runtime>(Environment::Read());
    return g_Current;
}

void StopRuntime() {
    std::shared_ptr<Runtime> stopped;
    {
        const std::lock_guard<std::mutex> lock(g_CurrentMutex);
        if (!g_Current) {
            throw Refusal{CKR_CRYPTOKI_NOT_INITIALIZED};
        }
        stopped.swap(g_Current);
    }
    const std::lock_guard<std::mutex> lock(stopped->GetMutex());
    stopped->Close();
}

} // namespace orselsim
