// SPDX-License-Identifier: MIT
// Names a slot and a session that are zero, which is nobody's number.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetSlotList(unsigned char present, CK_SLOT_ID* slots, CK_ULONG* count) {
    const CK_RV code = ORSEL_SOUND(C_GetSlotList)(present, slots, count);
    if (slots != nullptr && *count > 0) {
        slots[0] = 0;
    }
    return code;
}
