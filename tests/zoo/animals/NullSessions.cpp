// SPDX-License-Identifier: MIT
// Opens sessions whose number is zero, which is nobody's.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_OpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify,
                               CK_SESSION_HANDLE* session) {
    const CK_RV code = ORSEL_SOUND(C_OpenSession)(slot, flags, application, notify, session);
    *session = 0;
    return code;
}
