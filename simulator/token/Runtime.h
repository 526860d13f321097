// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_RUNTIME_H
#define ORSEL_SIMULATOR_TOKEN_RUNTIME_H

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "simulator/token/Deck.h"
#include "simulator/token/Environment.h"
#include "simulator/token/Faults.h"
#include "simulator/token/Mechanisms.h"
#include "simulator/token/PinEntry.h"
#include "simulator/token/Trace.h"

namespace orselsim {

/// An object search between C_FindObjectsInit and C_FindObjectsFinal.
struct Search {
    std::vector<CK_OBJECT_HANDLE> found;
    std::size_t handedOut = 0;
};

/// Signing or verifying, between its two calls.
struct KeyOperation {
    const Mechanism* mechanism = nullptr;
    CK_OBJECT_HANDLE key = 0;
    bool isAuthorised = false; ///< the PIN was given for this one operation
};

/// One open session.
struct Session {
    CK_SLOT_ID slotId = 0;
    unsigned long insertion = 0; ///< the insertion of the slot that the session was opened on
    CK_FLAGS flags = 0;
    std::optional<Search> search;
    std::optional<KeyOperation> signing;
    std::optional<KeyOperation> verifying;
};

/// A session with the card that it works on, valid while the runtime's mutex is held. The card
/// stays as it was seen, also when a call changes it.
struct SessionView {
    Session& session;
    Slot& slot;
    std::shared_ptr<const TokenCard> card;
};

/// Everything between C_Initialize and C_Finalize. A call that sleeps while another thread
/// finalises keeps its runtime alive, and finds it closed when it wakes up.
class Runtime {
public:
    explicit Runtime(const Environment& environment);

    std::mutex& mutex() { return m_mutex; }
    const Trace& trace() const { return m_trace; }
    Faults& faults() { return *m_faults; }
    PinEntry& pinEntry() { return m_pinEntry; } ///< not to be asked with the mutex held

    // The mutex is held for all of the following.

    bool isClosed() const { return m_isClosed; }
    void close() { m_isClosed = true; }

    Deck& deck() { return m_deck; }

    /// The slot with its card looked at anew; throws Refusal when there is no such slot, or no card
    /// in it.
    Slot& slotWithToken(CK_SLOT_ID id);

    CK_SESSION_HANDLE openSession(CK_SLOT_ID id, CK_FLAGS flags);
    void closeSession(CK_SESSION_HANDLE handle);
    void closeAllSessions(CK_SLOT_ID id);

    /// Number of open sessions on a slot, of the read/write ones alone when asked.
    CK_ULONG sessionCount(CK_SLOT_ID id, bool readWriteOnly) const;

    /// Throws Refusal for a handle that is not open, and when the session's card was taken out.
    SessionView session(CK_SESSION_HANDLE handle);

    /// A session that is open, whatever became of its card; null for an unknown handle.
    Session* findSession(CK_SESSION_HANDLE handle);

    /// Slot of a session that need not be alive any more; null for an unknown handle.
    Slot* slotOfSession(CK_SESSION_HANDLE handle);

private:
    void logOutWithLastSession(CK_SLOT_ID id);

    std::mutex m_mutex;
    Trace m_trace;
    std::shared_ptr<Faults> m_faults;
    PinEntry m_pinEntry;
    bool m_isClosed = false;
    Deck m_deck;
    std::map<CK_SESSION_HANDLE, Session> m_sessions;
};

/// Null before C_Initialize and after C_Finalize.
std::shared_ptr<Runtime> currentRuntime();

/// Makes the runtime from the process's environment. Throws Refusal when there is one already.
std::shared_ptr<Runtime> startRuntime();

/// Lets the runtime go; throws Refusal when there is none.
void stopRuntime();

} // namespace orselsim

#endif
