// SPDX-License-Identifier: MIT
// Answers with codes that stand in no table.
#include "tests/zoo/Sound.h"

extern "C" CK_RV C_OpenSession(CK_SLOT_ID /*slot*/, CK_FLAGS /*flags*/, void* /*application*/,
                               CK_NOTIFY /*notify*/, CK_SESSION_HANDLE* /*session*/) {
    return 0x7EADBEEF;
}
