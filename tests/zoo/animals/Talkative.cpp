// SPDX-License-Identifier: MIT
// Writes to standard output and standard error whenever it is asked for a token.
#include <cstdio>

#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
    std::fputs("libOrselP11: reading the token\n", stdout);
    std::fputs("libOrselP11: a warning\n", stderr);
    std::fflush(stdout);
    return ORSEL_SOUND(C_GetTokenInfo)(slot, info);
}
