// SPDX-License-Identifier: MIT
#ifndef ORSEL_BENCH_WINDOWCLOCK_H
#define ORSEL_BENCH_WINDOWCLOCK_H

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

/// The display's list of windows that the window manager looks after.
class Desktop {
public:
    Desktop() : m_Display(XOpenDisplay(nullptr)) {
        if (m_Display == nullptr) {
            throw std::runtime_error("no display; run it under scripts/with-display");
        }
        m_Clients = XInternAtom(m_Display, "_NET_CLIENT_LIST", False);
        m_Pid = XInternAtom(m_Display, "_NET_WM_PID", False);
        XSelectInput(m_Display, DefaultRootWindow(m_Display), PropertyChangeMask);
        XSetErrorHandler([](Display*, XErrorEvent*) { return 0; }); // windows go while they are asked
    }
    ~Desktop() { XCloseDisplay(m_Display); }
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Waits until a window of this process is in the list.
    void WaitForWindowOf(pid_t process) {
        const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!HasWindowOf(process)) {
            if (std::chrono::steady_clock::now() > patience) {
                throw std::runtime_error("no window within 20 seconds");
            }
            WaitForAChange();
        }
    }

    /// The toolkit's first program on a display leaves there what it has found out about the display's
    /// visuals, for which it loads the whole of the graphics driver. Without that note the next program is
    /// the first.
    void ForgetVisuals() {
        XDeleteProperty(m_Display, DefaultRootWindow(m_Display),
                        XInternAtom(m_Display, "GDK_VISUALS", False));
        XSync(m_Display, False);
    }

private:
    void WaitForAChange() {
        pollfd connection = {ConnectionNumber(m_Display), POLLIN, 0};
        if (XPending(m_Display) == 0) {
            poll(&connection, 1, 1000);
        }
        while (XPending(m_Display) > 0) {
            XEvent event;
            XNextEvent(m_Display, &event);
        }
    }
    bool HasWindowOf(pid_t process) {
        for (const unsigned long window : Numbers(DefaultRootWindow(m_Display), m_Clients, XA_WINDOW)) {
            const auto owner = Numbers(window, m_Pid, XA_CARDINAL);
            if (!owner.empty() && static_cast<pid_t>(owner.front()) == process) {
                return true;
            }
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
        if (XGetWindowProperty(m_Display, window, property, 0, 1024, False, type, &actualType, &format,
                               &count, &rest, &data) == Success &&
            data != nullptr) {
            numbers.resize(count);
            std::memcpy(numbers.data(), data, count * sizeof(unsigned long)); // 32-bit items come as longs
            XFree(data);
        }
        return numbers;
    }

    Display* m_Display;
    Atom m_Clients = None;
    Atom m_Pid = None;
};

/// A program that is ended with its object.
class Process {
public:
    Process(const char* program, const std::string& argument) : m_Pid(fork()) {
        if (m_Pid < 0) {
            throw std::runtime_error(std::strerror(errno));
        }
        if (m_Pid == 0) {
            const char* first = argument.empty() ? nullptr : argument.c_str();
            execl(program, program, first, static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~Process() {
        kill(m_Pid, SIGKILL);
        waitpid(m_Pid, nullptr, 0);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    pid_t Id() const { return m_Pid; }

private:
    pid_t m_Pid;
};

/// From the start of the program, with an argument if that is not empty, until its window is there.
inline double MillisecondsToTheWindow(Desktop& desktop, const char* program,
                                      const std::string& argument = "") {
    const auto start = std::chrono::steady_clock::now();
    const Process process(program, argument);
    desktop.WaitForWindowOf(process.Id());
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

#endif
