// SPDX-License-Identifier: MIT
// What kind of card this is: ATR, card type, client version.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <cstdio>

#include "card/CardObjects.h"
#include "card/OrselClientConfig.h"
#include "card/tkPKCS11Logging.h"
#include "foundation/Config.h"
#include "foundation/Conversion.h"
#include "foundation/StringUtils.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

constexpr size_t ATR_CAPACITY = 1024;
constexpr size_t RESET_CAPACITY = 256; // what a reset is offered: less than a read

struct AtrRule {
    const char* m_Prefix;
    CardType m_CardType;
};

/// Known ATRs, tested in this order. The first one covers three chip generations.
constexpr AtrRule ATR_RULES[] = {
    {"3BBF11008131FE45455041", CARD_ACOS_A03},
    {"3BBF94008131FE65454C55204175737472696129312E313B", CARD_ELU},
    {"3BBD18008131FE45805102", CARD_ECARD_G2},
    {"3BDD96FF81B1FE451F038031B0520203", CARD_ECARD_G3A},
    {"3BDF18008131FE588031B05202046405C903AC73B7B1D422", CARD_ECARD_G3B},
    {"3BDF18008131FE588031905241016405C903AC73B7B1D444", CARD_CARDOS},
};

} // namespace

/// Reads a named property into value, whose size is the capacity offered, and cuts value to its length. A
/// length above the capacity makes this a failed read.
CK_RV tkPKCS11::ReadCardAttribute(const char* name, std::vector<unsigned char>& value) {
    unsigned long length = value.size();
    CK_RV rv = Proc_C_CardAttribute(m_hSession, name, value.data(), &length);
    rv = CheckedLength(rv, length, value.size());
    if (rv == CKR_OK) {
        value.resize(length);
    }
    return rv;
}

std::string tkPKCS11::ReadATR(bool force) {
    if (Proc_C_CardAttribute == nullptr) {
        return "";
    }
    if (!m_Atr.empty() && !force) {
        return m_Atr;
    }
    m_Atr.clear();
    std::vector<unsigned char> atr(ATR_CAPACITY);
    const CK_RV rv = ReadCardAttribute("ATR", atr);
    if (rv != CKR_OK) {
        LogError("Failed get ATR, rv = ", rv);
        return "";
    }
    SetAtr(atr.data(), atr.size());
    return m_Atr;
}

void tkPKCS11::SetAtr(unsigned char* atr, unsigned long len) {
    BinData2HexStr(std::vector<unsigned char>(atr, atr + len), m_Atr);
}

bool tkPKCS11::AtrCmp(std::string atr, std::string prefix) {
    return StartsWith(atr, prefix);
}

std::string tkPKCS11::Reset() {
    if (Proc_C_CardAttribute == nullptr) {
        return "";
    }
    m_Atr.clear();
    std::vector<unsigned char> atr(RESET_CAPACITY);
    const CK_RV rv = ReadCardAttribute("Reset", atr);
    if (rv != CKR_OK) {
        LogError("Failed do Reset, rv =", rv); // no blank at the end, unlike its neighbours
        return "";
    }
    SetAtr(atr.data(), atr.size());
    return m_Atr;
}

bool tkPKCS11::LoadCardType() {
    m_CardType = CARD_UNKNOWN;
    if (m_hSession == 0) {
        LogError("no session (1)");
        return false;
    }
    if (m_SlotIndex < 0 || static_cast<size_t>(m_SlotIndex) >= m_Slots.size()) {
        LogError("no session (2)");
        return false;
    }
    const std::string atr = ReadATR(false);
    const auto rule = std::find_if(std::begin(ATR_RULES), std::end(ATR_RULES),
                                   [&atr](const AtrRule& r) { return AtrCmp(atr, r.m_Prefix); });
    if (rule == std::end(ATR_RULES)) {
        LogError("Unknown atr=" + atr);
        return false;
    }
    m_CardType = rule->m_CardType;
    if (m_CardType == CARD_ACOS_A03) {
        m_CardType = AcosGeneration();
    }
    return true;
}

/// The ACOS generation by the token's model; the oldest when that cannot be read.
int tkPKCS11::AcosGeneration() {
    TokenInfoStruct2 info;
    if (!GetTokenInfo(static_cast<unsigned long>(m_SlotIndex), info)) {
        return CARD_ACOS_A03;
    }
    const std::string model = info.m_Model.substr(0, 12);
    if (model == "ACOS EMV-A04") {
        return CARD_ACOS_A04;
    }
    if (model == "ACOS EMV-A05") {
        return CARD_ACOS_A05;
    }
    return CARD_ACOS_A03;
}

int tkPKCS11::GetCardType() {
    if (m_CardType == CARD_UNKNOWN) {
        LoadCardType();
    }
    return m_CardType;
}

bool tkPKCS11::IsAcos() const {
    return m_CardType == CARD_ACOS_A03 || m_CardType == CARD_ACOS_A04 || m_CardType == CARD_ACOS_A05;
}

bool tkPKCS11::IsCardOS() const {
    return m_CardType == CARD_CARDOS;
}

bool tkPKCS11::IsECard() const {
    return m_CardType == CARD_ECARD_G2 || m_CardType == CARD_ECARD_G3A || m_CardType == CARD_ECARD_G3B;
}

void tkPKCS11::LoadOrselClientVersion(int* version) {
    std::fill(version, version + 4, 0);
    OrselClientConfig::Load();
    std::string text;
    OrselClientConfig::GetHandle()->GetString(OrselClientConfig::ID_VERSION, text);
    decltype(m_ClientVersion) fields;
    if (std::sscanf(text.c_str(), "%d.%d.%d.%d", &fields[0], &fields[1], &fields[2], &fields[3]) == 4) {
        std::copy(std::begin(fields), std::end(fields), version);
    }
}

std::string tkPKCS11::GetOrselClientVersion() {
    decltype(m_ClientVersion) version;
    LoadOrselClientVersion(version);
    char text[64];
    std::snprintf(text, sizeof(text), "%d.%d.%d.%d", version[0], version[1], version[2], version[3]);
    return text;
}

bool tkPKCS11::ClientSupportForceSofwarePin() {
    // Each field by itself: 1.0.0.11 passes and 1.3.2.10 does not.
    return m_ClientVersion[0] >= 2 || m_ClientVersion[1] > 3 || m_ClientVersion[2] > 2 ||
           m_ClientVersion[3] > 10;
}

} // namespace Velmor
