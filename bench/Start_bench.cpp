// SPDX-License-Identifier: MIT
// From the start of the process until the window manager has the shown window: the card manager beside the
// least program of the toolkit. Needs a display with a window manager. The limit is 1.5 times the peer.
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include "bench/Comparison.h"

namespace {

constexpr int Runs = 15;
constexpr double Limit = 1.5;

/// The display's list of windows that the window manager looks after.
class Desktop {
public:
    Desktop() : m_display(XOpenDisplay(nullptr)) {
        if (m_display == nullptr)
            throw std::runtime_error("no display; run it under scripts/with-display");
        m_clients = XInternAtom(m_display, "_NET_CLIENT_LIST", False);
        m_pid = XInternAtom(m_display, "_NET_WM_PID", False);
        XSelectInput(m_display, DefaultRootWindow(m_display), PropertyChangeMask);
        XSetErrorHandler([](Display*, XErrorEvent*) { return 0; }); // windows go while they are asked
    }
    ~Desktop() { XCloseDisplay(m_display); }
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Waits until a window of this process is in the list.
    void WaitForWindowOf(pid_t process) {
        const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!HasWindowOf(process)) {
            if (std::chrono::steady_clock::now() > patience)
                throw std::runtime_error("no window within 20 seconds");
            WaitForAChange();
        }
    }

private:
    void WaitForAChange() {
        pollfd connection = {ConnectionNumber(m_display), POLLIN, 0};
        if (XPending(m_display) == 0)
            poll(&connection, 1, 1000);
        while (XPending(m_display) > 0) {
            XEvent event;
            XNextEvent(m_display, &event);
        }
    }
    bool HasWindowOf(pid_t process) {
        for (const unsigned long window : Numbers(DefaultRootWindow(m_display), m_clients, XA_WINDOW)) {
            const auto owner = Numbers(window, m_pid, XA_CARDINAL);
            if (!owner.empty() && static_cast<pid_t>(owner.front()) == process)
                return true;
        }
        return false;
    }
    std::vector<unsigned long> Numbers(Window window, Atom property, Atom type) {
        Atom actualType = None;
        int format = 0;
        unsigned long count = 0;
        unsigned long rest = 0;
        unsigned char* data = nullptr;
        std::vector<unsigned long> numbers;
        if (XGetWindowProperty(m_display, window, property, 0, 1024, False, type, &actualType, &format,
                               &count, &rest, &data) == Success &&
            data != nullptr) {
            numbers.resize(count);
            std::memcpy(numbers.data(), data, count * sizeof(unsigned long)); // 32-bit items come as longs
            XFree(data);
        }
        return numbers;
    }

    Display* m_display;
    Atom m_clients = None;
    Atom m_pid = None;
};

/// A program that is ended with its object.
class Process {
public:
    explicit Process(const char* program) : m_pid(fork()) {
        if (m_pid < 0)
            throw std::runtime_error(std::strerror(errno));
        if (m_pid == 0) {
            execl(program, program, static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~Process() {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    pid_t Id() const { return m_pid; }

private:
    pid_t m_pid;
};

double MillisecondsToTheWindow(Desktop& desktop, const char* program) {
    const auto start = std::chrono::steady_clock::now();
    const Process process(program);
    desktop.WaitForWindowOf(process.Id());
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void Measure(Desktop& desktop) {
    std::vector<double> ours;
    std::vector<double> theirs;
    MillisecondsToTheWindow(desktop, ORSELCARDS); // both warm
    MillisecondsToTheWindow(desktop, MINIMAL_FRAME);
    for (int run = 0; run < Runs; ++run) {
        ours.push_back(MillisecondsToTheWindow(desktop, ORSELCARDS));
        theirs.push_back(MillisecondsToTheWindow(desktop, MINIMAL_FRAME));
    }
    const double our = Median(ours);
    const double their = Median(theirs);
    std::printf("start to shown window: ours %.1f ms, minimal program %.1f ms, ratio %.2f (limit %.1f)\n",
                our, their, our / their, Limit);
}

} // namespace

int main() {
    const auto home = std::filesystem::temp_directory_path() / "orsel_start_bench";
    std::filesystem::create_directories(home); // an instance that the user has open is not in the way
    setenv("HOME", home.c_str(), 1);
    setenv("LD_LIBRARY_PATH", SIMULATOR_DIRECTORY, 1); // its loading is part of our start
    int result = 0;
    try {
        Desktop desktop;
        Measure(desktop);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Start_bench: %s\n", error.what());
        result = 1;
    }
    std::filesystem::remove_all(home);
    return result;
}
