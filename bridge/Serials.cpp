// SPDX-License-Identifier: MIT
#include "bridge/Serials.h"

#include <algorithm>
#include <set>

#include <openssl/evp.h>

#include "tokenlib/Hex.h"
#include "tokenlib/Refusal.h"

namespace orselbridge {

namespace {

constexpr std::size_t SERIAL_BYTES = 8; ///< twice as many digits fill the field

/// What cards that nobody has personalised yet have in common.
constexpr const char* NOBODYS_SERIAL = "0000000000000000";

/// Some libraries write zeros for want of a serial.
bool HasSerial(const CK_TOKEN_INFO& info) {
    const std::string serial = FieldText(info.serialNumber);
    const bool mayBeNobodys = IsOfTheFamily(info) || (info.flags & CKF_USER_PIN_INITIALIZED) == 0;
    return !serial.empty() && (serial != NOBODYS_SERIAL || mayBeNobodys);
}

} // namespace

bool IsOfTheFamily(const CK_TOKEN_INFO& info) {
    const char* beginnings[] = {"ACOS EMV-A0", "ATOS 5.3", "Starcos SPK 3.", "CardOS 5.3"};
    const std::string model = FieldText(info.model);
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&](const char* beginning) { return model.rfind(beginning, 0) == 0; });
}

std::string MadeSerial(const CK_TOKEN_INFO& info, const std::string& slotDescription) {
    // A zero byte stands in none of them, so that no two rows of words run into each other.
    std::string words;
    for (const std::string& word : {FieldText(info.label), FieldText(info.manufacturerID),
                                    FieldText(info.model), FieldText(info.serialNumber), slotDescription}) {
        words += word + '\0';
    }
    tokenlib::Bytes digest(EVP_MAX_MD_SIZE);
    unsigned size = 0;
    if (EVP_Digest(words.data(), words.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1) {
        throw tokenlib::Refusal{CKR_FUNCTION_FAILED};
    }
    digest.resize(SERIAL_BYTES);
    return tokenlib::ToHex(digest);
}

std::vector<std::pair<CK_SLOT_ID, std::string>> SerialsOf(const std::vector<ListedToken>& tokens) {
    std::vector<std::pair<CK_SLOT_ID, std::string>> serials;
    std::set<std::string> taken;
    for (const ListedToken& token : tokens) {
        std::string serial = FieldText(token.m_Info.serialNumber);
        if (!HasSerial(token.m_Info) || taken.count(serial) != 0) {
            serial = MadeSerial(token.m_Info, "");
        }
        if (taken.count(serial) != 0) {
            serial = MadeSerial(token.m_Info, token.m_SlotDescription);
        }
        if (serial != NOBODYS_SERIAL) {
            taken.insert(serial);
        }
        serials.emplace_back(token.m_Slot, serial);
    }
    return serials;
}

} // namespace orselbridge
