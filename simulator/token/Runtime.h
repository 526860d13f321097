// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_RUNTIME_H
#define ORSEL_SIMULATOR_TOKEN_RUNTIME_H

#include <map>
#include <memory>
#include <optional>

#include "simulator/store/Shared.h"
#include "simulator/token/Deck.h"
#include "simulator/token/Environment.h"
#include "simulator/token/Mechanisms.h"
#include "tokenlib/Runtime.h"
#include "tokenlib/Search.h"

namespace orselsim {

/// Signing or verifying, between its two calls.
struct KeyOperation {
    const Mechanism* m_Mechanism = nullptr;
    CK_OBJECT_HANDLE m_Key = 0;
    bool m_IsAuthorised = false; ///< the PIN was given for this one operation
};

/// One open session.
struct Session {
    CK_SLOT_ID m_SlotId = 0;
    unsigned long m_Insertion = 0; ///< the insertion of the slot that the session was opened on
    CK_FLAGS m_Flags = 0;
    std::optional<tokenlib::Search> m_Search;
    std::optional<KeyOperation> m_Signing;
    std::optional<KeyOperation> m_Verifying;
};

/// A session with the card that it works on, valid while the runtime's mutex is held. The card
/// stays as it was seen, also when a call changes it.
struct SessionView {
    Session& m_Session;
    Slot& m_Slot;
    std::shared_ptr<const TokenCard> m_Card;
};

/// Everything between C_Initialize and C_Finalize.
class Runtime : public tokenlib::Runtime {
public:
    explicit Runtime(const Environment& environment);

    // The mutex is held for all of the following.

    std::optional<CK_SLOT_ID> SlotIdOf(CK_SESSION_HANDLE session) override;
    unsigned long DelayOf(CK_SLOT_ID slot) override; ///< the delay of the card in it

    Deck& GetDeck() { return m_Deck; }

    /// The slot with its card looked at anew; throws Refusal when there is no such slot, or no card
    /// in it.
    Slot& SlotWithToken(CK_SLOT_ID id);

    CK_SESSION_HANDLE OpenSession(CK_SLOT_ID id, CK_FLAGS flags);
    void CloseSession(CK_SESSION_HANDLE handle);
    void CloseAllSessions(CK_SLOT_ID id);

    /// Number of open sessions on a slot, of the read/write ones alone when asked.
    CK_ULONG SessionCount(CK_SLOT_ID id, bool readWriteOnly) const;

    /// Throws Refusal for a handle that is not open, and when the session's card was taken out.
    SessionView ViewOf(CK_SESSION_HANDLE handle);

    /// A session that is open, whatever became of its card; null for an unknown handle.
    Session* FindSession(CK_SESSION_HANDLE handle);

private:
    void LogOutWithLastSession(CK_SLOT_ID id);

    Deck m_Deck;
    std::map<CK_SESSION_HANDLE, Session> m_Sessions;
};

/// Makes the runtime from the process's environment. Throws Refusal when there is one already.
std::shared_ptr<tokenlib::Runtime> StartRuntime();

} // namespace orselsim

#endif
