// SPDX-License-Identifier: MIT
// Raw card commands, the two card numbers that are read with them, and the search for a card by its number.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <cstring>

#include "card/CardObjects.h"
#include "card/SessionGuard.h"
#include "card/tkPKCS11Logging.h"
#include "foundation/Conversion.h"
#include "foundation/StringUtils.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

using Apdu = std::vector<unsigned char>;

// Short commands of ISO 7816-4 without secure messaging; the last one is the chip maker's own.
const Apdu SELECT_ROOT = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00};
const Apdu SELECT_DF_DEC = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0xDF, 0x71};
const Apdu SELECT_EF_DEC = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0xD0, 0x01};
const Apdu SELECT_EF_GDO = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x2F, 0x02};
const Apdu READ_BINARY = {0x00, 0xB0, 0x00, 0x00, 0x00};
const Apdu ACOS_CHIP_ID = {0x80, 0xF6, 0x00, 0x00, 0x08};

constexpr size_t RESPONSE_CAPACITY = 4096;
constexpr size_t NUMBER_CAPACITY = 256; ///< room for the response that holds a card number
constexpr size_t STATUS_WORD_SIZE = 2;
constexpr size_t CIN_SIZE = 8;
constexpr size_t ACOS_CHIP_ID_SIZE = 8;
constexpr size_t CARDOS_CHIP_ID_SIZE = 12;
/// A CIN of at most this length is the beginning of the token's serial, a longer one the whole.
constexpr size_t SHORT_CIN_SIZE = 12;

} // namespace

bool tkPKCS11::SendAPDU(std::vector<unsigned char> apdu, std::vector<unsigned char>& response) {
    LogMessage("PKCS11 SendAPDU");
    if (Proc_C_CardTransmit == nullptr) {
        LogError("Failed C_CardTransmit, not implemented");
        return false;
    }
    std::vector<unsigned char> buffer(RESPONSE_CAPACITY);
    unsigned long length = buffer.size();
    CK_RV rv = Proc_C_CardTransmit(m_hSession, apdu.data(), apdu.size(), buffer.data(), &length);
    rv = CheckedLength(rv, length, buffer.size());
    if (rv != CKR_OK) {
        LogError("Failed C_CardTransmit, rv = ", rv);
        return false;
    }
    response.insert(response.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
    return true;
}

bool tkPKCS11::SendAPDU(unsigned char* apdu, unsigned long apduLen, unsigned char* response,
                        unsigned long& responseLen) {
    std::vector<unsigned char> whole;
    if (!SendAPDU(Apdu(apdu, apdu + apduLen), whole)) {
        LogError("sendAPDU failed");
        return false;
    }
    responseLen = std::min<unsigned long>(responseLen, whole.size());
    std::copy_n(whole.begin(), responseLen, response);
    return true;
}

bool tkPKCS11::SendAPDU_HEX(std::string apduHex, std::string& responseHex) {
    Apdu apdu;
    if (HexStr2BinData(apduHex, apdu) < 1) {
        LogError("Fehler bei HexStr2BinData");
        return false;
    }
    std::vector<unsigned char> response;
    SendAPDU(apdu, response); // a failure leaves nothing to convert, which is what is reported
    if (BinData2HexStr(response, responseHex) == 0) {
        LogError("Fehler bei BinData2HexStr");
        return false;
    }
    return true;
}

/// Selects a directory and a file in it and reads the file. The response ends with its status word, which
/// nobody looks at: a file that could not be read is a response that is too short.
bool tkPKCS11::ReadCardFile(const std::vector<unsigned char>& selectDirectory,
                            const std::vector<unsigned char>& selectFile,
                            std::vector<unsigned char>& content) {
    const std::pair<Apdu, const char*> steps[] = {
        {selectDirectory, "error select DF DEC"},
        {selectFile, "error select EF DEC"},
        {READ_BINARY, "error read binary"},
    };
    for (auto [apdu, failure] : steps) {
        content.assign(NUMBER_CAPACITY, 0);
        unsigned long length = content.size();
        if (!SendAPDU(apdu.data(), apdu.size(), content.data(), length)) {
            LogError(failure);
            return false;
        }
        content.resize(length);
    }
    return true;
}

bool tkPKCS11::GetCinCsn(std::string& cin) {
    ReadATR(true);
    LoadCardType();
    std::vector<unsigned char> content;
    if (!ReadCardFile(IsCardOS() ? SELECT_ROOT : SELECT_DF_DEC, SELECT_EF_DEC, content)) {
        return false;
    }
    if (content.size() < CIN_SIZE + STATUS_WORD_SIZE) {
        return false;
    }
    content.resize(CIN_SIZE);
    return BinData2HexStr(content, cin) > 0;
}

bool tkPKCS11::GetChipId(std::vector<unsigned char>& id) {
    id.clear();
    LogMessage("GetChipId");
    if (!RequireSession()) {
        return false;
    }
    std::vector<unsigned char> response;
    size_t size = 0;
    if (IsAcos()) {
        size = ACOS_CHIP_ID_SIZE;
        if (!SendAPDU(ACOS_CHIP_ID, response)) {
            return false;
        }
    } else if (IsCardOS()) {
        size = CARDOS_CHIP_ID_SIZE;
        if (!ReadCardFile(SELECT_ROOT, SELECT_EF_GDO, response)) {
            return false;
        }
    } else {
        return false; // e-cards have none
    }
    if (response.size() < size) {
        return false;
    }
    id.assign(response.begin(), response.begin() + static_cast<std::ptrdiff_t>(size));
    return true;
}

bool tkPKCS11::GetChipId(std::string& id) {
    std::vector<unsigned char> binary;
    if (!GetChipId(binary)) {
        return false;
    }
    BinData2HexStr(binary, id);
    return true;
}

bool tkPKCS11::OpenSessionWithChipId(std::string chipId, bool closeFirst) {
    LogMessage("PKCS11 OpenSessionWithChipId");
    if (closeFirst) {
        CloseSession();
    }
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots)) {
        LogError("error loading slots");
        return false;
    }
    for (int index = 0; index < static_cast<int>(slots.size()); ++index) {
        SessionGuard session(this, OpenSession(index, closeFirst));
        if (!session.IsOpen()) {
            continue;
        }
        std::string id;
        GetChipId(id);
        if (id == chipId) {
            session.Keep();
            m_SlotIndex = index;
            return true;
        }
    }
    LogError("OpenSessionWithChipId failed, chipid not found");
    return false;
}

static bool SerialMatchesCin(const std::string& serial, const std::string& cin) {
    if (cin.size() > SHORT_CIN_SIZE) {
        return serial == cin;
    }
    return cin.size() == SHORT_CIN_SIZE && StartsWith(serial, cin);
}

int tkPKCS11::findSlotForCin(const std::string& cin) {
    init();
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots)) {
        return -1;
    }
    const auto slot = std::find_if(slots.begin(), slots.end(), [&cin](const SlotStruct* candidate) {
        return candidate != nullptr && SerialMatchesCin(candidate->m_Serial, cin);
    });
    return slot != slots.end() ? static_cast<int>(slot - slots.begin()) : -1;
}

bool tkPKCS11::OpenGlobalSession(const std::string& cin) {
    const int index = findSlotForCin(cin);
    if (index < 0 || static_cast<size_t>(index) >= m_Slots.size()) {
        return false;
    }
    return OpenSession(index, true);
}

} // namespace Velmor
