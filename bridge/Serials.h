// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_SERIALS_H
#define ORSEL_BRIDGE_SERIALS_H

#include <string>
#include <utility>
#include <vector>

#include "tokenlib/Pkcs11.h"

namespace orselbridge {

/// A fixed field of the standard as text: up to a zero byte, without trailing blanks.
template <std::size_t Size>
std::string FieldText(const unsigned char (&field)[Size]) {
    std::string text(field, field + Size);
    text.resize(text.find('\0') == std::string::npos ? Size : text.find('\0'));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// Whether the card manager knows this model by itself.
bool IsOfTheFamily(const CK_TOKEN_INFO& info);

/// A serial made from what the token says about itself: sixteen hexadecimal digits that are the same
/// for the same words each time.
std::string MadeSerial(const CK_TOKEN_INFO& info, const std::string& slotDescription);

/// One token of a list, with what its reader is called.
struct ListedToken {
    CK_SLOT_ID m_Slot = 0;
    CK_TOKEN_INFO m_Info = {};
    std::string m_SlotDescription;
};

/// The serials by which the card manager tells these tokens apart: each token's own where it has one
/// that no token before it has, else a made one. Zeros alone, which the card manager takes for a card that
/// nobody has personalised, stay with the family's cards and with tokens that have no PIN yet.
std::vector<std::pair<CK_SLOT_ID, std::string>> SerialsOf(const std::vector<ListedToken>& tokens);

} // namespace orselbridge

#endif
