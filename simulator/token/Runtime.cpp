// SPDX-License-Identifier: MIT
#include "simulator/token/Runtime.h"

#include <algorithm>
#include <atomic>

#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

std::mutex currentMutex;
std::shared_ptr<Runtime> current;

// Handles are never used twice in a process, so that a stale one is always noticed.
std::atomic<CK_SESSION_HANDLE> lastSessionHandle{0};

/// The planned faults go on counting over C_Finalize and C_Initialize while their file stays the
/// same: "the first C_Initialize fails" is then a plan that a second try gets past.
std::shared_ptr<Faults> faultsOf(const std::string& path) {
    static std::mutex mutex;
    static std::string lastPath;
    static std::optional<FileStamp> lastStamp;
    static std::shared_ptr<Faults> last;

    const std::lock_guard<std::mutex> lock(mutex);
    const auto stamp = stampOf(path);
    if (!last || path != lastPath || stamp != lastStamp) {
        last = std::make_shared<Faults>(path);
        lastPath = path;
        lastStamp = stamp;
    }
    return last;
}

} // namespace

Runtime::Runtime(const Environment& environment)
    : m_trace(environment.trace),
      m_faults(faultsOf(environment.faults)),
      m_pinEntry(environment.pinScript),
      m_deck(environment.deck) {
    m_deck.rescan();
    for (Slot* slot : m_deck.slots())
        slot->hasEvent = false; // what is in its reader from the start has not just come
}

Slot& Runtime::slotWithToken(CK_SLOT_ID id) {
    Slot& slot = m_deck.slot(id);
    m_deck.refresh(slot);
    if (!slot.card)
        throw Refusal{CKR_TOKEN_NOT_PRESENT};
    return slot;
}

CK_SESSION_HANDLE Runtime::openSession(CK_SLOT_ID id, CK_FLAGS flags) {
    const Slot& slot = slotWithToken(id);
    const CK_SESSION_HANDLE handle = ++lastSessionHandle;
    Session& session = m_sessions[handle];
    session.slotId = id;
    session.insertion = slot.insertion;
    session.flags = flags;
    return handle;
}

void Runtime::closeSession(CK_SESSION_HANDLE handle) {
    const auto found = m_sessions.find(handle);
    if (found == m_sessions.end())
        throw Refusal{CKR_SESSION_HANDLE_INVALID};
    const Session session = found->second;
    m_sessions.erase(found);
    logOutWithLastSession(session.slotId);
    Slot& slot = m_deck.slot(session.slotId);
    m_deck.refresh(slot);
    if (!slot.card || slot.insertion != session.insertion)
        throw Refusal{CKR_DEVICE_REMOVED};
}

void Runtime::closeAllSessions(CK_SLOT_ID id) {
    m_deck.slot(id);
    for (auto it = m_sessions.begin(); it != m_sessions.end();)
        it = it->second.slotId == id ? m_sessions.erase(it) : std::next(it);
    logOutWithLastSession(id);
}

void Runtime::logOutWithLastSession(CK_SLOT_ID id) {
    if (sessionCount(id, false) == 0)
        m_deck.slot(id).isLoggedIn = false;
}

CK_ULONG Runtime::sessionCount(CK_SLOT_ID id, bool readWriteOnly) const {
    return static_cast<CK_ULONG>(std::count_if(m_sessions.begin(), m_sessions.end(), [&](const auto& entry) {
        const Session& session = entry.second;
        return session.slotId == id && (!readWriteOnly || (session.flags & CKF_RW_SESSION) != 0);
    }));
}

SessionView Runtime::session(CK_SESSION_HANDLE handle) {
    Session* found = findSession(handle);
    if (found == nullptr)
        throw Refusal{CKR_SESSION_HANDLE_INVALID};
    Slot& slot = m_deck.slot(found->slotId);
    m_deck.refresh(slot);
    if (!slot.card || slot.insertion != found->insertion)
        throw Refusal{CKR_DEVICE_REMOVED};
    return {*found, slot, slot.card};
}

Session* Runtime::findSession(CK_SESSION_HANDLE handle) {
    const auto found = m_sessions.find(handle);
    return found == m_sessions.end() ? nullptr : &found->second;
}

Slot* Runtime::slotOfSession(CK_SESSION_HANDLE handle) {
    const Session* found = findSession(handle);
    return found == nullptr ? nullptr : &m_deck.slot(found->slotId);
}

std::shared_ptr<Runtime> currentRuntime() {
    const std::lock_guard<std::mutex> lock(currentMutex);
    return current;
}

std::shared_ptr<Runtime> startRuntime() {
    const std::lock_guard<std::mutex> lock(currentMutex);
    if (current)
        throw Refusal{CKR_CRYPTOKI_ALREADY_INITIALIZED};
    current = std::make_shared<Runtime>(Environment::read());
    return current;
}

void stopRuntime() {
    std::shared_ptr<Runtime> stopped;
    {
        const std::lock_guard<std::mutex> lock(currentMutex);
        if (!current)
            throw Refusal{CKR_CRYPTOKI_NOT_INITIALIZED};
        stopped.swap(current);
    }
    const std::lock_guard<std::mutex> lock(stopped->mutex());
    stopped->close();
}

} // namespace orselsim
