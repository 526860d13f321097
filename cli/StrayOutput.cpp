// SPDX-License-Identifier: MIT
#include "cli/StrayOutput.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace orselcli {

StrayOutput::StrayOutput() : m_Kept(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    if (m_Kept >= 0) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
}

// This program's own output goes past the C library's buffer: what is left in there is the library's.
StrayOutput::~StrayOutput() {
    std::fflush(stdout);
    if (m_Kept >= 0) {
        dup2(m_Kept, STDOUT_FILENO);
        close(m_Kept);
    }
}

} // namespace orselcli
