// SPDX-License-Identifier: MIT
// The token library: loading it, its entry points, letting it go.
#include "card/tkPKCS11.h"

#include <cstdio>
#include <type_traits>

#include "card/CallP11.h"
#include "card/FixedFields.h"
#include "card/LoadFreeLib.h"
#include "card/tkPKCS11Logging.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

constexpr const char* TOKEN_LIBRARY = "libOrselP11.so";

template <auto EntryPoint>
void Store(void* address) {
    *EntryPoint = reinterpret_cast<std::remove_reference_t<decltype(*EntryPoint)>>(address);
}

struct EntryPointRow {
    const char* m_Name;
    void (*m_Store)(void* address);
};

/// In the order in which they are looked up.
constexpr EntryPointRow ENTRY_POINTS[] = {
    {"C_GetSlotList", Store<&tkPKCS11::Proc_C_GetSlotList>},
    {"C_WaitForSlotEvent", Store<&tkPKCS11::Proc_C_WaitForSlotEvent>},
    {"C_GetTokenInfo", Store<&tkPKCS11::Proc_C_GetTokenInfo>},
    {"C_GetSlotInfo", Store<&tkPKCS11::Proc_C_GetSlotInfo>},
    {"C_OpenSession", Store<&tkPKCS11::Proc_C_OpenSession>},
    {"C_CloseSession", Store<&tkPKCS11::Proc_C_CloseSession>},
    {"C_DigestInit", Store<&tkPKCS11::Proc_C_DigestInit>},
    {"C_DigestUpdate", Store<&tkPKCS11::Proc_C_DigestUpdate>},
    {"C_DigestFinal", Store<&tkPKCS11::Proc_C_DigestFinal>},
    {"C_Login", Store<&tkPKCS11::Proc_C_Login>},
    {"C_Logout", Store<&tkPKCS11::Proc_C_Logout>},
    {"C_FindObjectsInit", Store<&tkPKCS11::Proc_C_FindObjectsInit>},
    {"C_FindObjects", Store<&tkPKCS11::Proc_C_FindObjects>},
    {"C_FindObjectsFinal", Store<&tkPKCS11::Proc_C_FindObjectsFinal>},
    {"C_SignInit", Store<&tkPKCS11::Proc_C_SignInit>},
    {"C_Sign", Store<&tkPKCS11::Proc_C_Sign>},
    {"C_VerifyInit", Store<&tkPKCS11::Proc_C_VerifyInit>},
    {"C_Verify", Store<&tkPKCS11::Proc_C_Verify>},
    {"C_GenerateKey", Store<&tkPKCS11::Proc_C_GenerateKey>},
    {"C_EncryptInit", Store<&tkPKCS11::Proc_C_EncryptInit>},
    {"C_EncryptUpdate", Store<&tkPKCS11::Proc_C_EncryptUpdate>},
    {"C_Encrypt", Store<&tkPKCS11::Proc_C_Encrypt>},
    {"C_EncryptFinal", Store<&tkPKCS11::Proc_C_EncryptFinal>},
    {"C_WrapKey", Store<&tkPKCS11::Proc_C_WrapKey>},
    {"C_UnwrapKey", Store<&tkPKCS11::Proc_C_UnwrapKey>},
    {"C_DecryptInit", Store<&tkPKCS11::Proc_C_DecryptInit>},
    {"C_DecryptUpdate", Store<&tkPKCS11::Proc_C_DecryptUpdate>},
    {"C_Decrypt", Store<&tkPKCS11::Proc_C_Decrypt>},
    {"C_DecryptFinal", Store<&tkPKCS11::Proc_C_DecryptFinal>},
    {"C_GetAttributeValue", Store<&tkPKCS11::Proc_C_GetAttributeValue>},
    {"C_DestroyObject", Store<&tkPKCS11::Proc_C_DestroyObject>},
    {"C_CreateObject", Store<&tkPKCS11::Proc_C_CreateObject>},
    {"C_SetPIN", Store<&tkPKCS11::Proc_C_SetPIN>},
    {"C_SetAttributeValue", Store<&tkPKCS11::Proc_C_SetAttributeValue>},
    {"C_GetInfo", Store<&tkPKCS11::Proc_C_GetInfo>},
    {"C_Finalize", Store<&tkPKCS11::Proc_C_Finalize>},
    {"C_SeedRandom", Store<&tkPKCS11::Proc_C_SeedRandom>},
    {"C_GenerateRandom", Store<&tkPKCS11::Proc_C_GenerateRandom>},
    {"C_GetMechanismList", Store<&tkPKCS11::Proc_C_GetMechanismList>},
    {"C_GetMechanismInfo", Store<&tkPKCS11::Proc_C_GetMechanismInfo>},
    {"C_CardTransmit", Store<&tkPKCS11::Proc_C_CardTransmit>},
    {"C_CardAttribute", Store<&tkPKCS11::Proc_C_CardAttribute>},
};

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

bool tkPKCS11::init() {
    return Init();
}

bool tkPKCS11::Init() {
    if (m_bInitialized) {
        return true;
    }
    LogMessage("PKCS11 INIT");
    if (!LoadLibraryFile()) {
        return false;
    }
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
    if (held != nullptr) {
        tk_dlclose(held); // a failed Init has left it: the loader counts, and Destroy closes once
    }
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
    for (const EntryPointRow& row : ENTRY_POINTS) {
        row.m_Store(tk_dlsym(m_hLibrary, row.m_Name));
    }
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
    if (m_hLibrary == nullptr) {
        return true;
    }
    CallP11(Proc_C_Finalize, nullptr);
    tk_dlclose(m_hLibrary);
    m_hLibrary = nullptr;
    m_bInitialized = false;
    return true;
}

} // namespace Velmor
