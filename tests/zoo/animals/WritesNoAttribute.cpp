// SPDX-License-Identifier: MIT
// Reads every attribute with success and writes nothing.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetAttributeValue(CK_SESSION_HANDLE /*session*/, CK_OBJECT_HANDLE /*object*/,
                                     CK_ATTRIBUTE* /*asked*/, CK_ULONG /*count*/) {
    return CKR_OK;
}
