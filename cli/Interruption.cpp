// SPDX-License-Identifier: MIT
#include "cli/Interruption.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <unistd.h>

namespace orselcli {

namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

std::atomic<int> g_Signal{0};
// Read by the handler, so it has its place from the beginning.
char g_GuardedFile[PATH_MAX] = "";
std::atomic<bool> g_IsGuarding{false};

void Handle(int signal) {
    int none = 0;
    if (g_Signal.compare_exchange_strong(none, signal) || signal == SIGPIPE) {
        return;
    }
    if (g_IsGuarding.load()) {
        unlink(g_GuardedFile);
    }
    std::signal(signal, SIG_DFL);
    raise(signal);
}

} // namespace

void Interruption::Watch() {
    struct sigaction action = {};
    action.sa_handler = Handle;
    sigemptyset(&action.sa_mask);
    for (const int signal : SIGNALS) {
        struct sigaction before = {};
        const bool isIgnored = sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
        if (!isIgnored || signal == SIGPIPE) { // a closed pipe is met as an error of writing in any case
            sigaction(signal, &action, nullptr);
        }
    }
}

int Interruption::Signal() {
    return g_Signal.load();
}

void Interruption::Note(int signal) {
    int none = 0;
    g_Signal.compare_exchange_strong(none, signal);
}

void Interruption::Forget() {
    g_Signal.store(0);
}

// The signals are held back between the look and the waiting, where one would go unnoticed.
bool Interruption::WaitForInput(int descriptor) {
    sigset_t held;
    sigset_t before;
    sigemptyset(&held);
    for (const int signal : SIGNALS) {
        sigaddset(&held, signal);
    }
    pthread_sigmask(SIG_BLOCK, &held, &before);
    pollfd waited = {descriptor, POLLIN, 0};
    while (!HasCome() && ppoll(&waited, 1, nullptr, &before) < 0 && errno == EINTR) {
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return !HasCome();
}

void Interruption::EndBy(int signal) {
    std::signal(signal, SIG_DFL);
    raise(signal);
    _exit(128 + signal); // for a signal that is blocked
}

void Interruption::GuardFile(const std::string& path) {
    g_IsGuarding.store(false);
    if (!path.empty() && path.size() < sizeof(g_GuardedFile)) {
        std::memcpy(g_GuardedFile, path.c_str(), path.size() + 1);
        g_IsGuarding.store(true);
    }
}

} // namespace orselcli
