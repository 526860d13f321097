// SPDX-License-Identifier: MIT
#include "tokenlib/Runtime.h"

#include "tokenlib/Files.h"
#include "tokenlib/Refusal.h"

namespace tokenlib {

namespace {

std::mutex g_StartMutex; ///< for who makes a runtime, which may take long
std::mutex g_CurrentMutex;
std::shared_ptr<Runtime> g_Current;

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
      m_PinEntry(environment.m_PinScript) {}

unsigned long Runtime::DelayOf(CK_SLOT_ID /*slot*/) {
    return 0;
}

std::shared_ptr<Runtime> CurrentRuntime() {
    const std::lock_guard<std::mutex> lock(g_CurrentMutex);
    return g_Current;
}

std::shared_ptr<Runtime> StartRuntime(const std::function<std::shared_ptr<Runtime>()>& make) {
    const std::lock_guard<std::mutex> start(g_StartMutex);
    if (CurrentRuntime()) {
        throw Refusal{CKR_CRYPTOKI_ALREADY_INITIALIZED};
    }
    // Another library's code runs meanwhile, which may call this one: whether there is a runtime can be
    // asked.
    std::shared_ptr<Runtime> made = make();
    const std::lock_guard<std::mutex> lock(g_CurrentMutex);
    g_Current = std::move(made);
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

} // namespace tokenlib
