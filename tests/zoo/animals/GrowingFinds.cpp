// SPDX-License-Identifier: MIT
// Finds 7 objects more than it was offered room for.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG most,
                               CK_ULONG* count) {
    const CK_RV code = ORSEL_SOUND(C_FindObjects)(session, objects, most, count);
    *count = most + 7;
    return code;
}
