// SPDX-License-Identifier: MIT
// Says of every property of a card that it is as long as 32 bits can say.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_CardAttribute(CK_SESSION_HANDLE session, const char* name, unsigned char* value,
                                 CK_ULONG* length) {
    const CK_RV code = ORSEL_SOUND(C_CardAttribute)(session, name, value, length);
    *length = 0xFFFFFFFF;
    return code;
}
