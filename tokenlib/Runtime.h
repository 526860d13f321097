// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_RUNTIME_H
#define ORSEL_TOKENLIB_RUNTIME_H

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "tokenlib/Environment.h"
#include "tokenlib/Faults.h"
#include "tokenlib/PinEntry.h"
#include "tokenlib/Pkcs11.h"
#include "tokenlib/Trace.h"

namespace tokenlib {

/// What a token library has between C_Initialize and C_Finalize, as far as every call needs it. A
/// library derives its own from it. A call that sleeps while another thread finalises keeps its
/// runtime alive, and finds it closed when it wakes up.
class Runtime {
public:
    explicit Runtime(const Environment& environment);
    virtual ~Runtime() = default;
    Runtime(const Runtime&) = delete; // there is one of it
    Runtime& operator=(const Runtime&) = delete;

    std::mutex& GetMutex() { return m_Mutex; }
    const Trace& GetTrace() const { return m_Trace; }
    Faults& GetFaults() { return *m_Faults; }
    PinEntry& GetPinEntry() { return m_PinEntry; } ///< not to be asked with the mutex held

    // The mutex is held for all of the following.

    bool IsClosed() const { return m_IsClosed; }
    virtual void Close() { m_IsClosed = true; }

    /// The slot of a session, for the trace and the faults; nothing for an unknown handle.
    virtual std::optional<CK_SLOT_ID> SlotIdOf(CK_SESSION_HANDLE session) = 0;

    /// Milliseconds that a slow call takes in this slot.
    virtual unsigned long DelayOf(CK_SLOT_ID slot);

private:
    std::mutex m_Mutex;
    Trace m_Trace;
    std::shared_ptr<Faults> m_Faults;
    PinEntry m_PinEntry;
    bool m_IsClosed = false;
};

/// Null before C_Initialize and after C_Finalize.
std::shared_ptr<Runtime> CurrentRuntime();

/// Makes `make`'s runtime the current one and returns it. Throws Refusal when there is one already,
/// and whatever `make` throws.
std::shared_ptr<Runtime> StartRuntime(const std::function<std::shared_ptr<Runtime>()>& make);

/// Closes the runtime and lets it go; throws Refusal when there is none.
void StopRuntime();

} // namespace tokenlib

#endif
