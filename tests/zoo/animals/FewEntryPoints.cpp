// SPDX-License-Identifier: MIT
// Has the entry points that list slots, and no other; nothing else is passed on.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_Initialize(void* arguments) {
    return ORSEL_SOUND(C_Initialize)(arguments);
}

extern "C" CK_RV C_GetSlotList(unsigned char present, CK_SLOT_ID* slots, CK_ULONG* count) {
    return ORSEL_SOUND(C_GetSlotList)(present, slots, count);
}

extern "C" CK_RV C_GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
    return ORSEL_SOUND(C_GetSlotInfo)(slot, info);
}

extern "C" CK_RV C_GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
    return ORSEL_SOUND(C_GetTokenInfo)(slot, info);
}
