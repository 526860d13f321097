// SPDX-License-Identifier: MIT
// Cannot be initialised the first time.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_Initialize(void* arguments) {
    static bool wasAsked = false;
    const bool isFirst = !wasAsked;
    wasAsked = true;
    return isFirst ? CKR_DEVICE_ERROR : ORSEL_SOUND(C_Initialize)(arguments);
}
