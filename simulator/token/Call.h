// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_CALL_H
#define ORSEL_SIMULATOR_TOKEN_CALL_H

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "simulator/token/Faults.h"
#include "simulator/token/Runtime.h"

namespace orselsim {

/// One call of an entry point: what every call has in common. It carries the arguments that the
/// trace shows, meets the planned faults, spends the planned delays without holding the lock, runs
/// the body with the lock held, turns what the body throws into a return code, and writes the
/// line of the trace.
class Call {
public:
    explicit Call(const char* function);

    // Arguments, in the order in which the trace shows them.
    Call& slot(CK_SLOT_ID id);
    Call& session(CK_SESSION_HANDLE handle);
    Call& number(const char* key, unsigned long value);
    Call& text(const char* key, const std::string& value);
    Call& property(const char* name);                            ///< of the card
    Call& given(const CK_ATTRIBUTE* attributes, CK_ULONG count); ///< types, and values that tell no secret
    Call& asked(const CK_ATTRIBUTE* attributes, CK_ULONG count); ///< types alone

    /// The card's own delay is spent: the access takes long on a real card.
    Call& slow();

    using Body = std::function<void(Runtime&)>;

    /// Runs `body`; it returns for CKR_OK and throws Refusal for any other code.
    CK_RV run(const Body& body);

    /// The form of C_Initialize: `start` makes the runtime, or throws Refusal.
    CK_RV runFirst(const std::function<std::shared_ptr<Runtime>()>& start);

    /// The form of C_Finalize: `stop` lets the runtime go, or throws Refusal.
    CK_RV runLast(const std::function<void()>& stop);

    // For bodies.

    /// Does `work` without holding the lock. Whatever the body knew of sessions and cards before
    /// has to be asked for again afterwards.
    void withoutLock(const std::function<void()>& work);

    /// Gives `length` the value that a fault plans for it, if one does.
    void bend(CK_ULONG& length) const;

    /// The planned fault itself, for calls with several lengths.
    const FaultEffect& fault() const { return m_fault; }

private:
    CK_RV perform(const Body& body);
    static CK_RV guarded(const std::function<void()>& work); ///< what is thrown, as a return code
    void prepare();
    void writeTrace(CK_RV result);

    CallFacts m_facts;
    CK_SESSION_HANDLE m_session = 0;
    bool m_isSlow = false;
    const std::chrono::steady_clock::time_point m_started;
    std::string m_line;
    std::shared_ptr<Runtime> m_runtime;
    FaultEffect m_fault;
    std::unique_lock<std::mutex>* m_lock = nullptr;
};

} // namespace orselsim

#endif
