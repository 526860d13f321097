// SPDX-License-Identifier: MIT
// Has a hundred thousand slots.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetSlotList(unsigned char present, CK_SLOT_ID* slots, CK_ULONG* count) {
    const CK_ULONG room = *count;
    const CK_RV code = ORSEL_SOUND(C_GetSlotList)(present, slots, count);
    *count = slots == nullptr || room > 100000 ? 100000 : room;
    return code;
}
