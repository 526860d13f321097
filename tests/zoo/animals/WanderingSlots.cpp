// SPDX-License-Identifier: MIT
// Gives every slot another number each time it is asked.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetSlotList(unsigned char present, CK_SLOT_ID* slots, CK_ULONG* count) {
    static CK_ULONG round = 0;
    const CK_RV code = ORSEL_SOUND(C_GetSlotList)(present, slots, count);
    if (slots != nullptr) {
        ++round;
        for (CK_ULONG index = 0; index < *count; ++index) {
            slots[index] += 1000 * round;
        }
    }
    return code;
}
