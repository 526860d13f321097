// SPDX-License-Identifier: MIT
// Turns every byte of every value around.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* asked,
                                     CK_ULONG count) {
    const CK_RV code = ORSEL_SOUND(C_GetAttributeValue)(session, object, asked, count);
    for (CK_ULONG index = 0; code == CKR_OK && index < count; ++index) {
        auto* const bytes = static_cast<unsigned char*>(asked[index].pValue);
        for (CK_ULONG byte = 0;
             asked[index].type == CKA_VALUE && bytes != nullptr && byte < asked[index].ulValueLen; ++byte) {
            bytes[byte] ^= 0xFF;
        }
    }
    return code;
}
