// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "card/CallP11.h"
#include "card/CardLimits.h"
#include "card/LoadFreeLib.h"
#include "card/tkPKCS11Logging.h"
#include "formats/slCertificate.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

constexpr const char* TOKEN_LIBRARY = "libOrselP11.so";
constexpr CK_ULONG MAX_SLOTS = 128;
/// More tokens than any reader stack offers; a library that reports more is broken, not rich.
constexpr CK_ULONG MAX_PLAUSIBLE_TOKENS = 0x10000;
/// Serial of a card that nobody has personalised.
const std::string EMPTY_SERIAL(16, '0');

/// A fixed field of a PKCS#11 record up to its first zero byte; the field need not be terminated.
template <size_t Width>
std::string UntilZero(const CK_UTF8CHAR (&field)[Width]) {
    return std::string(field, std::find(field, field + Width, 0));
}

/// A fixed field in its whole width.
template <size_t Width>
std::string WholeField(const CK_UTF8CHAR (&field)[Width]) {
    return std::string(field, field + Width);
}

bool BeginsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

/// One rule of the classification by model and label. An empty label prefix takes any label.
struct TokenRule {
    const char* model;
    const char* label;
    SignKey encKeyType;
    unsigned int encKeyBits;
    SignKey sigKeyType;
    unsigned int sigKeyBits;
    TokenType tokenType;
    bool hasInfobox;
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

void Classify(TokenInfoStruct2& info) {
    for (const TokenRule& rule : TOKEN_RULES) {
        if (!BeginsWith(info.m_Model, rule.model) || !BeginsWith(info.m_Label, rule.label))
            continue;
        info.m_EncKeyType = rule.encKeyType;
        info.m_EncKeyBits = rule.encKeyBits;
        info.m_SigKeyType = rule.sigKeyType;
        info.m_SigKeyBits = rule.sigKeyBits;
        info.m_TokenType = rule.tokenType;
        info.m_HasInfobox = rule.hasInfobox;
        return;
    }
}

} // namespace

bool tkPKCS11::m_bInitialized = false;

CK_C_Initialize tkPKCS11::Proc_C_Initialize = nullptr;
CK_C_GetSlotList tkPKCS11::Proc_C_GetSlotList = nullptr;
CK_C_WaitForSlotEvent tkPKCS11::Proc_C_WaitForSlotEvent = nullptr;
CK_C_GetTokenInfo tkPKCS11::Proc_C_GetTokenInfo = nullptr;
CK_C_GetSlotInfo tkPKCS11::Proc_C_GetSlotInfo = nullptr;
CK_C_OpenSession tkPKCS11::Proc_C_OpenSession = nullptr;
CK_C_CloseSession tkPKCS11::Proc_C_CloseSession = nullptr;
CK_C_DigestInit tkPKCS11::Proc_C_DigestInit = nullptr;
CK_C_DigestUpdate tkPKCS11::Proc_C_DigestUpdate = nullptr;
CK_C_DigestFinal tkPKCS11::Proc_C_DigestFinal = nullptr;
CK_C_Login tkPKCS11::Proc_C_Login = nullptr;
CK_C_Logout tkPKCS11::Proc_C_Logout = nullptr;
CK_C_FindObjectsInit tkPKCS11::Proc_C_FindObjectsInit = nullptr;
CK_C_FindObjects tkPKCS11::Proc_C_FindObjects = nullptr;
CK_C_FindObjectsFinal tkPKCS11::Proc_C_FindObjectsFinal = nullptr;
CK_C_SignInit tkPKCS11::Proc_C_SignInit = nullptr;
CK_C_Sign tkPKCS11::Proc_C_Sign = nullptr;
CK_C_VerifyInit tkPKCS11::Proc_C_VerifyInit = nullptr;
CK_C_Verify tkPKCS11::Proc_C_Verify = nullptr;
CK_C_GenerateKey tkPKCS11::Proc_C_GenerateKey = nullptr;
CK_C_EncryptInit tkPKCS11::Proc_C_EncryptInit = nullptr;
CK_C_EncryptUpdate tkPKCS11::Proc_C_EncryptUpdate = nullptr;
CK_C_Encrypt tkPKCS11::Proc_C_Encrypt = nullptr;
CK_C_EncryptFinal tkPKCS11::Proc_C_EncryptFinal = nullptr;
CK_C_WrapKey tkPKCS11::Proc_C_WrapKey = nullptr;
CK_C_UnwrapKey tkPKCS11::Proc_C_UnwrapKey = nullptr;
CK_C_DecryptInit tkPKCS11::Proc_C_DecryptInit = nullptr;
CK_C_DecryptUpdate tkPKCS11::Proc_C_DecryptUpdate = nullptr;
CK_C_Decrypt tkPKCS11::Proc_C_Decrypt = nullptr;
CK_C_DecryptFinal tkPKCS11::Proc_C_DecryptFinal = nullptr;
CK_C_GetAttributeValue tkPKCS11::Proc_C_GetAttributeValue = nullptr;
CK_C_DestroyObject tkPKCS11::Proc_C_DestroyObject = nullptr;
CK_C_CreateObject tkPKCS11::Proc_C_CreateObject = nullptr;
CK_C_SetPIN tkPKCS11::Proc_C_SetPIN = nullptr;
CK_C_SetAttributeValue tkPKCS11::Proc_C_SetAttributeValue = nullptr;
CK_C_GetInfo tkPKCS11::Proc_C_GetInfo = nullptr;
CK_C_Finalize tkPKCS11::Proc_C_Finalize = nullptr;
CK_C_SeedRandom tkPKCS11::Proc_C_SeedRandom = nullptr;
CK_C_GenerateRandom tkPKCS11::Proc_C_GenerateRandom = nullptr;
CK_C_GetMechanismList tkPKCS11::Proc_C_GetMechanismList = nullptr;
CK_C_GetMechanismInfo tkPKCS11::Proc_C_GetMechanismInfo = nullptr;
CK_C_CardTransmit tkPKCS11::Proc_C_CardTransmit = nullptr;
CK_C_CardAttribute tkPKCS11::Proc_C_CardAttribute = nullptr;

tkPKCS11::tkPKCS11() {
    Init();
}

tkPKCS11::~tkPKCS11() {
    DeleteSlots();
    ClearCertVector();
}

// --- Binding -----------------------------------------------------------------------------------------------

bool tkPKCS11::init() {
    return Init();
}

bool tkPKCS11::Init() {
    if (m_bInitialized)
        return true;
    LogMessage("PKCS11 INIT");
    if (!LoadLibraryFile())
        return false;
    ResolveEntryPoints();

    CK_RV rv = CallP11(Proc_C_Initialize, nullptr);
    if (rv != CKR_OK) {
        LogError("PKCS11 Aufruf Proc_C_Initialize() ERROR", rv);
        return false;
    }
    CK_INFO info = {};
    rv = CallP11(Proc_C_GetInfo, &info);
    if (rv != CKR_OK) {
        LogError("PKCS11 Aufruf Proc_C_GetInfo(&info) ERROR", rv);
        return false;
    }
    ReadLibraryInfo(info);
    LoadOrselClientVersion(m_ClientVersion);
    m_bInitialized = true;
    return true;
}

/// Loads the library and its one indispensable entry point. A library that lacks it stays loaded.
bool tkPKCS11::LoadLibraryFile() {
    LogMessage("PKCS11 LoadLibrary");
    void* const held = m_hLibrary;
    m_hLibrary = tk_dlopen(TOKEN_LIBRARY);
    if (held != nullptr)
        tk_dlclose(held); // a failed Init has left it: the loader counts, and Destroy closes once
    if (m_hLibrary == nullptr) {
        const char* reason = tk_dlerror();
        std::fprintf(stderr, "%s\n", reason != nullptr ? reason : TOKEN_LIBRARY);
        LogError("PKCS11 LoadLibrary ERROR");
        return false;
    }
    LogMessage("PKCS11 Proc_C_Initialize");
    Proc_C_Initialize = reinterpret_cast<CK_C_Initialize>(tk_dlsym(m_hLibrary, "C_Initialize"));
    if (Proc_C_Initialize == nullptr) {
        LogError("PKCS11 Proc_C_Initialize ERROR");
        return false;
    }
    return true;
}

/// Stores every other entry point as the loader finds it, null included.
void tkPKCS11::ResolveEntryPoints() {
    const auto resolve = [this](const char* name, auto& entryPoint) {
        entryPoint =
            reinterpret_cast<std::remove_reference_t<decltype(entryPoint)>>(tk_dlsym(m_hLibrary, name));
    };
    resolve("C_GetSlotList", Proc_C_GetSlotList);
    resolve("C_WaitForSlotEvent", Proc_C_WaitForSlotEvent);
    resolve("C_GetTokenInfo", Proc_C_GetTokenInfo);
    resolve("C_GetSlotInfo", Proc_C_GetSlotInfo);
    resolve("C_OpenSession", Proc_C_OpenSession);
    resolve("C_CloseSession", Proc_C_CloseSession);
    resolve("C_DigestInit", Proc_C_DigestInit);
    resolve("C_DigestUpdate", Proc_C_DigestUpdate);
    resolve("C_DigestFinal", Proc_C_DigestFinal);
    resolve("C_Login", Proc_C_Login);
    resolve("C_Logout", Proc_C_Logout);
    resolve("C_FindObjectsInit", Proc_C_FindObjectsInit);
    resolve("C_FindObjects", Proc_C_FindObjects);
    resolve("C_FindObjectsFinal", Proc_C_FindObjectsFinal);
    resolve("C_SignInit", Proc_C_SignInit);
    resolve("C_Sign", Proc_C_Sign);
    resolve("C_VerifyInit", Proc_C_VerifyInit);
    resolve("C_Verify", Proc_C_Verify);
    resolve("C_GenerateKey", Proc_C_GenerateKey);
    resolve("C_EncryptInit", Proc_C_EncryptInit);
    resolve("C_EncryptUpdate", Proc_C_EncryptUpdate);
    resolve("C_Encrypt", Proc_C_Encrypt);
    resolve("C_EncryptFinal", Proc_C_EncryptFinal);
    resolve("C_WrapKey", Proc_C_WrapKey);
    resolve("C_UnwrapKey", Proc_C_UnwrapKey);
    resolve("C_DecryptInit", Proc_C_DecryptInit);
    resolve("C_DecryptUpdate", Proc_C_DecryptUpdate);
    resolve("C_Decrypt", Proc_C_Decrypt);
    resolve("C_DecryptFinal", Proc_C_DecryptFinal);
    resolve("C_GetAttributeValue", Proc_C_GetAttributeValue);
    resolve("C_DestroyObject", Proc_C_DestroyObject);
    resolve("C_CreateObject", Proc_C_CreateObject);
    resolve("C_SetPIN", Proc_C_SetPIN);
    resolve("C_SetAttributeValue", Proc_C_SetAttributeValue);
    resolve("C_GetInfo", Proc_C_GetInfo);
    resolve("C_Finalize", Proc_C_Finalize);
    resolve("C_SeedRandom", Proc_C_SeedRandom);
    resolve("C_GenerateRandom", Proc_C_GenerateRandom);
    resolve("C_GetMechanismList", Proc_C_GetMechanismList);
    resolve("C_GetMechanismInfo", Proc_C_GetMechanismInfo);
    resolve("C_CardTransmit", Proc_C_CardTransmit);
    resolve("C_CardAttribute", Proc_C_CardAttribute);
}

void tkPKCS11::ReadLibraryInfo(const CK_INFO& info) {
    m_Manufacturer = UntilZero(info.manufacturerID);
    m_Description = UntilZero(info.libraryDescription);
    m_Version = std::to_string(info.libraryVersion.major) + "." + std::to_string(info.libraryVersion.minor);
    LogMessage("m_Manufacturer:", m_Manufacturer);
    LogMessage("m_Description:", m_Description);
    LogMessage("m_Version:", m_Version);
}

bool tkPKCS11::destroy() {
    return Destroy();
}

bool tkPKCS11::Destroy() {
    LogMessage("PKCS11 Destroy");
    if (m_hLibrary == nullptr)
        return true;
    CallP11(Proc_C_Finalize, nullptr);
    tk_dlclose(m_hLibrary);
    m_hLibrary = nullptr;
    m_bInitialized = false;
    return true;
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
    for (CK_ULONG i = 0; i < count; ++i)
        AppendSlot(ids[i], withEmptyCards);
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
        LogError("PKCS11 Proc_C_GetTokenInfo ERROR (continue)", rv); // the token call's text, on purpose
        return;
    }
    if ((slot.flags & CKF_REMOVABLE_DEVICE) == 0)
        return;

    const std::string label = UntilZero(token.label);
    const std::string serial = UntilZero(token.serialNumber);
    LogMessage("token label: ", label);
    LogMessage("token serial: ", serial);
    if (!withEmptyCards && BeginsWith(serial, EMPTY_SERIAL))
        return;
    m_Slots.push_back(new SlotStruct{slotId, label, serial});
}

void tkPKCS11::DeleteSlots() {
    for (SlotStruct* slot : m_Slots)
        delete slot;
    m_Slots.clear();
}

bool tkPKCS11::GetTokenInfo(unsigned long index, TokenInfoStruct& info) {
    CK_ULONG count = 0;
    CK_RV rv = CallP11(Proc_C_GetSlotList, CK_TRUE, nullptr, &count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetSlotList(1) ERROR", rv);
        return false;
    }
    if (count <= index || count > MAX_PLAUSIBLE_TOKENS)
        return false;
    std::vector<CK_SLOT_ID> ids(count);
    rv = CallP11(Proc_C_GetSlotList, CK_TRUE, ids.data(), &count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetSlotList(2) ERROR", rv);
        return false;
    }
    if (count <= index) // a card went between the two calls
        return false;
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
    if (!GetTokenInfo(index, token))
        return false;
    info.m_Label = token.m_Label;
    info.m_ManufacturerId = token.m_ManufacturerId;
    info.m_Model = token.m_Model;
    info.m_Serial = token.m_Serial;
    info.m_HasInfobox = false;
    Classify(info);
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
    if (!OpenSessionOnSlot(m_Slots[static_cast<size_t>(index)]->m_SlotId, false))
        return false;
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
        if (m_Slots[i]->m_SlotId == slotId)
            m_SlotIndex = static_cast<int>(i);
    }
    return true;
}

bool tkPKCS11::CloseSession() {
    LogMessage("PKCS11 Proc_C_CloseSession");
    CallP11(Proc_C_CloseSession, m_hSession);
    m_SlotIndex = -1;
    return true; // m_hSession keeps its value on purpose
}

// --- Objects -----------------------------------------------------------------------------------------------

bool tkPKCS11::FindObjects(CK_ATTRIBUTE* tmpl, unsigned long count, unsigned long* handles,
                           unsigned long maxHandles, unsigned long* found) {
    if (m_hSession == 0)
        return false;
    CK_RV rv = CallP11(Proc_C_FindObjectsInit, m_hSession, tmpl, count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjectsInit", rv);
        return false;
    }
    rv = CallP11(Proc_C_FindObjects, m_hSession, handles, maxHandles, found);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjects", rv);
        return false; // the search stays open on purpose
    }
    rv = CallP11(Proc_C_FindObjectsFinal, m_hSession);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjectsFinal", rv);
        return false;
    }
    return *found <= maxHandles; // a library that claims more has written nothing that can be trusted
}

/// All objects of one class, MAX_OBJECTS at most.
bool tkPKCS11::FindObjectsOfClass(CK_OBJECT_CLASS objectClass, unsigned long* handles, unsigned long* found) {
    CK_ATTRIBUTE tmpl = {CKA_CLASS, &objectClass, sizeof(objectClass)};
    return FindObjects(&tmpl, 1, handles, MAX_OBJECTS, found);
}

bool tkPKCS11::FindObject(const char* label, unsigned long objectClass, unsigned long* handle) {
    CK_OBJECT_CLASS wantedClass = objectClass;
    CK_ATTRIBUTE tmpl[] = {
        {CKA_CLASS, &wantedClass, sizeof(wantedClass)},
        {CKA_LABEL, const_cast<char*>(label), std::strlen(label)},
    };
    unsigned long found = 0;
    if (!FindObjects(tmpl, 2, handle, 1, &found)) {
        LogError("tkPKCS11::FindObject: FindObjects error");
        return false;
    }
    return found != 0;
}

} // namespace Velmor
