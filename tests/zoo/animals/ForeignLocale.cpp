// SPDX-License-Identifier: MIT
// Sets the whole process to the plain locale.
#include <clocale>

#include "tests/zoo/Sound.h"

extern "C" CK_RV C_Initialize(void* arguments) {
    std::setlocale(LC_ALL, "C");
    return ORSEL_SOUND(C_Initialize)(arguments);
}
