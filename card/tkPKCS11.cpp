// SPDX-License-Identifier: MIT
// Slots and tokens, sessions, the search for objects.
#include "card/tkPKCS11.h"

#include <algorithm>

#include "card/CallP11.h"
#include "card/CardObjects.h"
#include "card/FixedFields.h"
#include "card/tkPKCS11Logging.h"
#include "foundation/StringUtils.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

constexpr CK_ULONG MAX_SLOTS = 128;
/// More tokens than any reader stack offers; a library that reports more is broken, not rich.
constexpr CK_ULONG MAX_PLAUSIBLE_TOKENS = 0x10000;

/// One rule of the classification by model and label. An empty label prefix takes any label.
struct TokenRule {
    const char* m_Model;
    const char* m_Label;
    SignKey m_EncKeyType;
    unsigned int m_EncKeyBits;
    SignKey m_SigKeyType;
    unsigned int m_SigKeyBits;
    TokenType m_TokenType;
    bool m_HasInfobox;
};

/// The first matching rule decides, so "3.4+" stands before "3.4".
constexpr TokenRule TOKEN_RULES[] = {
    {"ACOS EMV-A03", "", KEY_RSA, 1536, KEY_ECC, 192, TOKEN_ACOS_03, false},
    {"ACOS EMV-A04", "", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ACOS_04, true},
    {"ACOS EMV-A05", "", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ACOS_05, true},
    {"ATOS 5.3", "Orsel Carta e", KEY_RSA, 2048, KEY_ECC, 256, TOKEN_ECARD_G4, true},
    {"Starcos SPK 3.4+", "Orsel Carta e", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ECARD_G3B, true},
    {"Starcos SPK 3.4", "Orsel Carta e", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ECARD_G3A, false},
    {"Starcos SPK 3.1", "Orsel Carta e", KEY_ECC, 192, KEY_ECC, 192, TOKEN_ECARD_G2, false},
    {"CardOS 5.3", "", KEY_RSA, 2048, KEY_ECC, 256, TOKEN_CARDOS_53, true},
};

} // namespace

void ClassifyToken(TokenInfoStruct2& info) {
    for (const TokenRule& rule : TOKEN_RULES) {
        if (!StartsWith(info.m_Model, rule.m_Model) || !StartsWith(info.m_Label, rule.m_Label)) {
            continue;
        }
        info.m_EncKeyType = rule.m_EncKeyType;
        info.m_EncKeyBits = rule.m_EncKeyBits;
        info.m_SigKeyType = rule.m_SigKeyType;
        info.m_SigKeyBits = rule.m_SigKeyBits;
        info.m_TokenType = rule.m_TokenType;
        info.m_HasInfobox = rule.m_HasInfobox;
        return;
    }
}

tkPKCS11::tkPKCS11() {
    Init();
}

tkPKCS11::~tkPKCS11() {
    DeleteSlots();
    ClearCertVector();
}

// --- Slots and tokens --------------------------------------------------------------------------------------

bool tkPKCS11::GetSlots(std::vector<SlotStruct*>& slots) {
    return GetSlots(slots, false);
}

bool tkPKCS11::GetSlots(std::vector<SlotStruct*>& slots, bool withEmptyCards) {
    LogMessage("PKCS11 GetSlots");
    slots.clear();
    DeleteSlots();

    CK_ULONG count = 0;
    CK_RV rv = CallP11(Proc_C_GetSlotList, CK_TRUE, nullptr, &count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetSlotList ERROR", rv);
        return false;
    }
    CK_SLOT_ID ids[MAX_SLOTS] = {};
    const CK_ULONG offered = std::min(count, MAX_SLOTS);
    count = offered;
    rv = CallP11(Proc_C_GetSlotList, CK_TRUE, ids, &count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetSlotList(2) ERROR", rv);
        return false;
    }
    count = std::min(count, offered); // behind these nothing has been written
    for (CK_ULONG i = 0; i < count; ++i) {
        AppendSlot(ids[i], withEmptyCards);
    }
    slots = m_Slots;
    return true;
}

void tkPKCS11::AppendSlot(CK_SLOT_ID slotId, bool withEmptyCards) {
    CK_TOKEN_INFO token = {};
    CK_RV rv = CallP11(Proc_C_GetTokenInfo, slotId, &token);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetTokenInfo ERROR (continue)", rv);
        return;
    }
    CK_SLOT_INFO slot = {};
    rv = CallP11(Proc_C_GetSlotInfo, slotId, &slot);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetTokenInfo ERROR (continue)", rv); // the token call's text stands for both
        return;
    }
    if ((slot.flags & CKF_REMOVABLE_DEVICE) == 0) {
        return;
    }

    const std::string label = UntilZero(token.label);
    const std::string serial = UntilZero(token.serialNumber);
    LogMessage("token label: ", label);
    LogMessage("token serial: ", serial);
    if (!withEmptyCards && StartsWith(serial, EMPTY_SERIAL)) {
        return;
    }
    m_Slots.push_back(new SlotStruct{slotId, label, serial});
}

void tkPKCS11::DeleteSlots() {
    for (SlotStruct* slot : m_Slots) {
        delete slot;
    }
    m_Slots.clear();
}

bool tkPKCS11::GetTokenInfo(unsigned long index, TokenInfoStruct& info) {
    CK_ULONG count = 0;
    CK_RV rv = CallP11(Proc_C_GetSlotList, CK_TRUE, nullptr, &count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetSlotList(1) ERROR", rv);
        return false;
    }
    if (count <= index || count > MAX_PLAUSIBLE_TOKENS) {
        return false;
    }
    std::vector<CK_SLOT_ID> ids(count);
    rv = CallP11(Proc_C_GetSlotList, CK_TRUE, ids.data(), &count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetSlotList(2) ERROR", rv);
        return false;
    }
    if (count <= index) { // a card went between the two calls
        return false;
    }
    CK_TOKEN_INFO token = {};
    rv = CallP11(Proc_C_GetTokenInfo, ids[index], &token);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetTokenInfo ERROR", rv);
        return false;
    }
    info.m_Label = WholeField(token.label);
    info.m_ManufacturerId = WholeField(token.manufacturerID);
    info.m_Model = WholeField(token.model);
    info.m_Serial = WholeField(token.serialNumber);
    return true;
}

bool tkPKCS11::GetTokenInfo(unsigned long index, TokenInfoStruct2& info) {
    TokenInfoStruct token;
    if (!GetTokenInfo(index, token)) {
        return false;
    }
    info.m_Label = token.m_Label;
    info.m_ManufacturerId = token.m_ManufacturerId;
    info.m_Model = token.m_Model;
    info.m_Serial = token.m_Serial;
    info.m_HasInfobox = false;
    ClassifyToken(info);
    return true;
}

// --- Sessions ----------------------------------------------------------------------------------------------

bool tkPKCS11::OpenSession(int index, bool readWrite) {
    return OpenSessionWithVectorIndex(index, readWrite);
}

bool tkPKCS11::OpenSessionWithVectorIndex(int index, bool /*readWrite*/) {
    LogMessage("PKCS11 OpenSession");
    if (index < 0 || static_cast<size_t>(index) >= m_Slots.size()) {
        LogError("PKCS11 slotListIndex out of range");
        return false;
    }
    if (!OpenSessionOnSlot(m_Slots[static_cast<size_t>(index)]->m_SlotId, false)) {
        return false;
    }
    m_SlotIndex = index;
    return true;
}

bool tkPKCS11::OpenSessionWithSlotId(int slotId, bool readWrite) {
    return OpenSessionOnSlot(static_cast<CK_SLOT_ID>(slotId), readWrite);
}

/// A slot id as the library gave it; it need not fit the int of the public form.
bool tkPKCS11::OpenSessionOnSlot(CK_SLOT_ID slotId, bool readWrite) {
    CK_FLAGS flags = CKF_SERIAL_SESSION;
    if (readWrite) {
        CloseSession();
        flags |= CKF_RW_SESSION;
    }
    const CK_RV rv = CallP11(Proc_C_OpenSession, slotId, flags, nullptr, nullptr, &m_hSession);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_OpenSession ERROR", rv);
        m_hSession = 0;
        return false;
    }
    for (size_t i = 0; i < m_Slots.size(); ++i) {
        if (m_Slots[i]->m_SlotId == slotId) {
            m_SlotIndex = static_cast<int>(i);
        }
    }
    return true;
}

bool tkPKCS11::CloseSession() {
    LogMessage("PKCS11 Proc_C_CloseSession");
    CallP11(Proc_C_CloseSession, m_hSession);
    m_SlotIndex = -1;
    return true; // m_hSession keeps its value until the next open
}

// --- Objects -----------------------------------------------------------------------------------------------

bool tkPKCS11::FindObjects(CK_ATTRIBUTE* tmpl, unsigned long count, unsigned long* handles,
                           unsigned long maxHandles, unsigned long* found) {
    static constexpr SearchTexts TEXTS = {
        "PKCS11 Proc_C_FindObjectsInit",
        "PKCS11 Proc_C_FindObjects",
        "PKCS11 Proc_C_FindObjectsFinal",
        nullptr,
    };
    return m_hSession != 0 && SearchObjects(m_hSession, tmpl, count, handles, maxHandles, found, TEXTS);
}

bool tkPKCS11::Search(ObjectTemplate& wanted, FoundObjects& found) {
    return FindObjects(wanted.Attributes(), wanted.Count(), found.m_Handles, MAX_OBJECTS, &found.m_Count);
}

/// All objects of one class, MAX_OBJECTS at most.
bool tkPKCS11::SearchClass(CK_OBJECT_CLASS objectClass, FoundObjects& found, const char* failure) {
    ObjectTemplate wanted(objectClass);
    const bool isDone = Search(wanted, found);
    if (!isDone) {
        LogError(failure);
    }
    return isDone;
}

bool tkPKCS11::FindObject(const char* label, unsigned long objectClass, unsigned long* handle) {
    const std::string wantedLabel = label;
    ObjectTemplate wanted(objectClass, CKA_LABEL, wantedLabel);
    unsigned long found = 0;
    if (!FindObjects(wanted.Attributes(), wanted.Count(), handle, 1, &found)) {
        LogError("tkPKCS11::FindObject: FindObjects error");
        return false;
    }
    return found != 0;
}

} // namespace Velmor
