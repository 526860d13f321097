// SPDX-License-Identifier: MIT
// Fills every text of a token to its last byte with what is no UTF-8.
#include <cstring>

#include "tests/zoo/Sound.h"

extern "C" CK_RV C_GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
    const CK_RV code = ORSEL_SOUND(C_GetTokenInfo)(slot, info);
    std::memset(info->label, 0xFE, sizeof(info->label));
    std::memset(info->manufacturerID, 0xC3, sizeof(info->manufacturerID));
    std::memset(info->model, 0xFF, sizeof(info->model));
    std::memset(info->serialNumber, 0x80, sizeof(info->serialNumber));
    return code;
}
