// SPDX-License-Identifier: MIT
// Takes the signals of the process for itself and ignores them.
#include <csignal>

#include "tests/zoo/Sound.h"

extern "C" CK_RV C_Initialize(void* arguments) {
    for (const int taken : {SIGCHLD, SIGPIPE, SIGUSR1, SIGALRM}) {
        std::signal(taken, SIG_IGN);
    }
    return ORSEL_SOUND(C_Initialize)(arguments);
}
