// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace Velmor {

namespace {

constexpr char ViewerName[] = "certViewerApp";

/// Never returns. The process is a copy of this one: it ends without exit handlers, which would close the
/// connection to the display that it shares with its parent.
[[noreturn]] void BecomeViewer(const char* path) {
    execlp(ViewerName, ViewerName, path, static_cast<char*>(nullptr));
    std::fprintf(stderr, "ERROR: can not execute %s: %s\n", ViewerName, std::strerror(errno));
    _exit(-1);
}

} // namespace

bool ShowCertificate(std::string path) {
    const pid_t child = fork();
    if (child == 0) {
        BecomeViewer(path.c_str());
    }
    return child != -1;
}

} // namespace Velmor
