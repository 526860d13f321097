// SPDX-License-Identifier: MIT
// Cannot be finalised.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_Finalize(void* reserved) {
    ORSEL_SOUND(C_Finalize)(reserved);
    return CKR_GENERAL_ERROR;
}
