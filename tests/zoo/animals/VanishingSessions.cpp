// SPDX-License-Identifier: MIT
// Loses every session as soon as something is searched in it.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* /*wanted*/, CK_ULONG /*count*/) {
    ORSEL_SOUND(C_CloseSession)(session);
    return CKR_SESSION_HANDLE_INVALID;
}
