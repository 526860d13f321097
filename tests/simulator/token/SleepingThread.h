// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SIMULATOR_TOKEN_SLEEPINGTHREAD_H
#define ORSEL_TESTS_SIMULATOR_TOKEN_SLEEPINGTHREAD_H

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

namespace orseltest {

/// A planned delay that is long against what any other call takes, also on a machine under load.
constexpr unsigned SLOW_MS = 3000;

/// Waits for what another thread or process brings about.
inline void WaitUntil(const std::function<bool()>& condition) {
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// Work in a thread of its own that comes to wait for something, such as the end of a delay or a lock. The
/// thread waits by the time that the object is made, and has ended when the object goes.
class SleepingThread {
public:
    explicit SleepingThread(const std::function<void()>& work)
        : m_Thread([this, work] {
              m_Id = syscall(SYS_gettid);
              work();
              m_HasEnded = true;
          }) {
        WaitUntil([this] { return m_HasEnded || IsAsleep(); });
    }
    ~SleepingThread() { m_Thread.join(); }
    SleepingThread(const SleepingThread&) = delete; // one thread, one owner
    SleepingThread& operator=(const SleepingThread&) = delete;

private:
    /// By the state that proc(5) tells, behind the thread's name in brackets.
    bool IsAsleep() const {
        std::ifstream file("/proc/self/task/" + std::to_string(m_Id) + "/stat");
        const std::string text(std::istreambuf_iterator<char>(file), {});
        const std::size_t end = text.rfind(") ");
        return end != std::string::npos && text.compare(end, 3, ") S") == 0;
    }

    std::atomic<long> m_Id{0};
    std::atomic<bool> m_HasEnded{false};
    std::thread m_Thread; ///< the last one: it uses the others
};

} // namespace orseltest

#endif
