// SPDX-License-Identifier: MIT
// Has no function list to give.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetFunctionList(CK_FUNCTION_LIST** /*list*/) {
    return CKR_FUNCTION_NOT_SUPPORTED;
}
