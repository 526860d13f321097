// SPDX-License-Identifier: MIT
// Says of every value that it has no bytes.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* asked,
                                     CK_ULONG count) {
    const CK_RV code = ORSEL_SOUND(C_GetAttributeValue)(session, object, asked, count);
    for (CK_ULONG index = 0; index < count; ++index) {
        if (asked[index].type == CKA_VALUE) {
            asked[index].ulValueLen = 0;
        }
    }
    return code;
}
