// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_CALL_H
#define ORSEL_TOKENLIB_CALL_H

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "tokenlib/Faults.h"
#include "tokenlib/Runtime.h"

namespace tokenlib {

/// One call of an entry point: what every call has in common. It carries the arguments that the
/// trace shows, meets the planned faults, spends the planned delays without holding the lock, runs
/// the body with the lock held, turns what the body throws into a return code, and writes the
/// line of the trace.
class Call {
public:
    explicit Call(const char* function);

    // Arguments, in the order in which the trace shows them.
    Call& Slot(CK_SLOT_ID id);
    Call& Session(CK_SESSION_HANDLE handle);
    Call& Number(const char* key, unsigned long value);
    Call& Text(const char* key, const std::string& value);
    Call& Property(const char* name);                             ///< of the card
    Call& Command(const unsigned char* apdu, unsigned long size); ///< as far as it tells no secret
    Call& Given(const CK_ATTRIBUTE* attributes, CK_ULONG count);  ///< types, and values that tell no secret
    Call& Asked(const CK_ATTRIBUTE* attributes, CK_ULONG count);  ///< types alone

    /// The card's own delay is spent: the access takes long on a real card.
    Call& Slow();

    /// Runs `body`, a function of the library's own runtime; it returns for CKR_OK and throws
    /// Refusal for any other code.
    template <class Body>
    CK_RV Run(const Body& body) {
        return RunAny([&body](Runtime& runtime) { body(static_cast<RuntimeOf<Body>&>(runtime)); });
    }

    /// The form of C_Initialize: `start` makes the runtime, or throws Refusal.
    CK_RV RunFirst(const std::function<std::shared_ptr<Runtime>()>& start);

    /// The form of C_Finalize: `stop` lets the runtime go, or throws Refusal.
    CK_RV RunLast(const std::function<void()>& stop);

    // For bodies.

    /// Does `work` without holding the lock. Whatever the body knew of sessions and cards before
    /// has to be asked for again afterwards.
    void WithoutLock(const std::function<void()>& work);

    /// Gives `length` the value that a fault plans for it, if one does.
    void Bend(CK_ULONG& length) const;

    /// The same for the attributes of a template: for all of them, or for the one that the fault names.
    void Bend(CK_ATTRIBUTE* attributes, CK_ULONG count) const;

    /// Asks the user for a PIN without holding the lock; throws Refusal with CKR_FUNCTION_CANCELED
    /// when the user cancels.
    Secret Ask(const PinQuestion& question);

private:
    using AnyBody = std::function<void(Runtime&)>;

    template <class Body, class OwnRuntime>
    static OwnRuntime& ParameterOf(void (Body::*)(OwnRuntime&) const);
    template <class Body>
    using RuntimeOf = std::remove_reference_t<decltype(ParameterOf(&Body::operator()))>;

    CK_RV RunAny(const AnyBody& body);
    CK_RV Perform(const AnyBody& body);
    static CK_RV Guarded(const std::function<void()>& work); ///< what is thrown, as a return code
    void Prepare();
    void WriteTrace(CK_RV result);

    CallFacts m_Facts;
    CK_SESSION_HANDLE m_Session = 0;
    bool m_IsSlow = false;
    const std::chrono::steady_clock::time_point m_Started;
    std::string m_Line;
    std::shared_ptr<Runtime> m_Runtime;
    FaultEffect m_Fault;
    std::unique_lock<std::mutex>* m_Lock = nullptr;
};

} // namespace tokenlib

#endif
