// SPDX-License-Identifier: MIT
// Says of every session that it could not be closed, having closed it.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_CloseSession(CK_SESSION_HANDLE session) {
    ORSEL_SOUND(C_CloseSession)(session);
    return CKR_GENERAL_ERROR;
}
