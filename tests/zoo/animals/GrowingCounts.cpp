// SPDX-License-Identifier: MIT
// Has 7 slots more each time it is asked, and claims to have written them all.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetSlotList(unsigned char present, CK_SLOT_ID* slots, CK_ULONG* count) {
    static CK_ULONG more = 0;
    const CK_RV code = ORSEL_SOUND(C_GetSlotList)(present, slots, count);
    *count += more += 7;
    return code;
}
