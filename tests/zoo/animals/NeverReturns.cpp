// SPDX-License-Identifier: MIT
// Never comes back from telling of a token.
#include <unistd.h>

#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetTokenInfo(CK_SLOT_ID /*slot*/, CK_TOKEN_INFO* /*info*/) {
    for (;;) {
        pause();
    }
}
