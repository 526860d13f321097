// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

namespace Velmor {

namespace {

constexpr char VIEWER_NAME[] = "certViewerApp";

/// Never returns. The process is a copy of this one: it ends without exit handlers, which would close the
/// connection to the display that it shares with its parent.
[[noreturn]] void BecomeViewer(const char* path) {
    execlp(VIEWER_NAME, VIEWER_NAME, path, static_cast<char*>(nullptr));
    std::fprintf(stderr, "ERROR: can not execute %s: %s\n", VIEWER_NAME, std::strerror(errno));
    _exit(-1);
}

/// Never returns. Starts the viewer and ends at once, so that the viewer becomes a child of the system's
/// first process, which waits for it: nobody here does, and it would stay a zombie while this program runs.
[[noreturn]] void StartViewerAndEnd(const char* path) {
    const pid_t viewer = fork();
    if (viewer == 0) {
        BecomeViewer(path);
    }
    _exit(viewer != -1 ? 0 : 1);
}

/// Whether the child, which ends at once, has ended well. An end that somebody else has seen tells nothing.
bool EndsWell(pid_t child) {
    int status = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(child, &status, 0);
    } while (ended == -1 && errno == EINTR);
    return ended == -1 || (WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

} // namespace

bool ShowCertificate(std::string path) {
    const pid_t child = fork();
    if (child == 0) {
        StartViewerAndEnd(path.c_str());
    }
    return child != -1 && EndsWell(child);
}

} // namespace Velmor
