// SPDX-License-Identifier: MIT
// Starts a thread that is still there when the library is finalised.
#include <chrono>
#include <thread>

#include "tests/zoo/Sound.h"

extern "C" CK_RV C_Initialize(void* arguments) {
    std::thread([] { std::this_thread::sleep_for(std::chrono::hours(1)); }).detach();
    return ORSEL_SOUND(C_Initialize)(arguments);
}
