// SPDX-License-Identifier: MIT
// A PKCS#11 library that has every entry point, notes each call with its arguments, and answers as its script
// says.
#include <algorithm>
#include <cstring>

#include "tests/bridge/ModuleScript.h"
#include "tokenlib/Names.h"
#include "tokenlib/Output.h"

using orseltest::ModuleScript;

namespace {

ModuleScript& Script() {
    static ModuleScript script;
    return script;
}

// An argument as it is noted. Of bytes their text, of numbers behind a pointer their first.
std::string TextOf(unsigned long number) {
    return std::to_string(number);
}
std::string TextOf(const unsigned long* number) {
    return number == nullptr ? "-" : "&" + std::to_string(*number);
}
std::string TextOf(const unsigned char* bytes) {
    return bytes == nullptr ? "-" : reinterpret_cast<const char*>(bytes);
}
std::string TextOf(const CK_MECHANISM* mechanism) {
    if (mechanism == nullptr) {
        return "-";
    }
    const auto* parameter = static_cast<const unsigned char*>(mechanism->pParameter);
    const std::string hex =
        tokenlib::ToHex(tokenlib::Bytes(parameter, parameter + mechanism->ulParameterLen));
    return tokenlib::MechanismName(mechanism->mechanism) + (hex.empty() ? "" : ":" + hex);
}
std::string TextOf(const CK_ATTRIBUTE* attributes) {
    return attributes == nullptr ? "-" : tokenlib::AttributeName(attributes->type);
}
std::string TextOf(const void* pointer) {
    return pointer == nullptr ? "-" : "pointer";
}
std::string TextOf(const std::string& text) {
    return text;
}
std::string TextOf(CK_NOTIFY function) {
    return function == nullptr ? "-" : "function";
}

/// Notes the call; the code that the script has for it.
template <class... Arguments>
CK_RV Noted(const std::string& function, Arguments... arguments) {
    std::string call = function;
    ((call += " " + TextOf(arguments)), ...);
    Script().m_Heard.push_back(call);
    if (Script().m_Before) {
        Script().m_Before(function);
    }
    std::vector<CK_RV>& codes = Script().m_Codes[function];
    if (codes.empty()) {
        return CKR_OK;
    }
    const CK_RV code = codes.front();
    codes.erase(codes.begin());
    return code;
}

void WriteLength(const std::string& function, CK_ULONG* length) {
    const auto planned = Script().m_Lengths.find(function);
    if (planned != Script().m_Lengths.end()) {
        *length = planned->second;
    }
}
template <class Other>
void WriteLength(const std::string& /*function*/, const Other& /*last*/) {}

/// The answer of a function that has no answer of its own.
template <class... Arguments>
CK_RV Plain(const std::string& function, Arguments... arguments) {
    const CK_RV code = Noted(function, arguments...);
    if (code == CKR_OK) {
        (..., WriteLength(function, arguments));
    }
    return code;
}

bool IsVisible(const tokenlib::AttributeMap& object) {
    const auto isPrivate = object.find(CKA_PRIVATE);
    return Script().m_IsLoggedIn || isPrivate == object.end() ||
           isPrivate->second != tokenlib::FlagValue(true);
}

bool HasAll(const tokenlib::AttributeMap& object, const CK_ATTRIBUTE* wanted, CK_ULONG count) {
    return std::all_of(wanted, wanted + count, [&](const CK_ATTRIBUTE& each) {
        const auto own = object.find(each.type);
        const auto* bytes = static_cast<const unsigned char*>(each.pValue);
        return own != object.end() && own->second == tokenlib::Bytes(bytes, bytes + each.ulValueLen);
    });
}

CK_RV Give(const tokenlib::AttributeMap& object, CK_ATTRIBUTE& asked) {
    const auto own = object.find(asked.type);
    const CK_ULONG capacity = asked.ulValueLen;
    asked.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    if (own == object.end()) {
        return CKR_ATTRIBUTE_TYPE_INVALID;
    }
    if (asked.pValue != nullptr && capacity < own->second.size()) {
        return CKR_BUFFER_TOO_SMALL;
    }
    asked.ulValueLen = own->second.size();
    if (asked.pValue != nullptr && !own->second.empty()) {
        std::memcpy(asked.pValue, own->second.data(), own->second.size());
    }
    return CKR_OK;
}

CK_RV GetSlotList(CK_BBOOL present, CK_SLOT_ID* list, CK_ULONG* count) {
    const CK_RV code = Noted("C_GetSlotList", CK_ULONG{present});
    std::vector<CK_SLOT_ID> slots;
    for (const auto& [slot, token] : Script().m_Tokens) {
        slots.push_back(slot);
    }
    tokenlib::HandOut(slots, list, count);
    return code;
}

CK_RV GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
    *info = {};
    tokenlib::FillField(info->slotDescription, "Reader " + std::to_string(slot));
    const CK_RV code = Noted("C_GetSlotInfo", slot);
    return Script().m_Tokens.count(slot) == 0 ? CKR_SLOT_ID_INVALID : code;
}

CK_RV GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
    *info = {};
    const CK_RV code = Noted("C_GetTokenInfo", slot);
    const auto found = Script().m_Tokens.find(slot);
    if (found == Script().m_Tokens.end()) {
        return CKR_SLOT_ID_INVALID;
    }
    const ModuleScript::Token& token = found->second;
    tokenlib::FillField(info->label, token.m_Label);
    tokenlib::FillField(info->serialNumber, token.m_Serial);
    tokenlib::FillField(info->model, token.m_Model);
    info->flags = token.m_Flags;
    info->ulMinPinLen = token.m_ShortestPin;
    info->ulMaxPinLen = token.m_LongestPin;
    return code;
}

CK_RV GetMechanismInfo(CK_SLOT_ID slot, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO* info) {
    info->flags = Script().m_MechanismFlags;
    return Noted("C_GetMechanismInfo", slot, type);
}

CK_RV OpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify,
                  CK_SESSION_HANDLE* session) {
    *session = ++Script().m_LastSession;
    return Noted("C_OpenSession", slot, flags, application, notify);
}

CK_RV GetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info) {
    *info = {};
    info->state = Script().m_IsLoggedIn ? CKS_RO_USER_FUNCTIONS : CKS_RO_PUBLIC_SESSION;
    return Noted("C_GetSessionInfo", session);
}

CK_RV Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG size) {
    const std::string text = pin == nullptr ? "-" : std::string(pin, pin + size);
    const CK_RV code = Noted("C_Login", session, user, text);
    Script().m_IsLoggedIn = Script().m_IsLoggedIn || code == CKR_OK;
    return code;
}

CK_RV Logout(CK_SESSION_HANDLE session) {
    Script().m_IsLoggedIn = false;
    return Noted("C_Logout", session);
}

CK_RV FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* wanted, CK_ULONG count) {
    Script().m_Found.clear();
    for (const auto& [handle, object] : Script().m_Objects) {
        if (IsVisible(object) && HasAll(object, wanted, count)) {
            Script().m_Found.push_back(handle);
        }
    }
    return Noted("C_FindObjectsInit", session);
}

CK_RV FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG capacity, CK_ULONG* count) {
    std::vector<CK_OBJECT_HANDLE>& found = Script().m_Found;
    *count = std::min<CK_ULONG>(capacity, found.size());
    const auto end = found.begin() + static_cast<std::ptrdiff_t>(*count);
    std::copy(found.begin(), end, objects);
    found.erase(found.begin(), end);
    return Noted("C_FindObjects", session);
}

CK_RV GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* asked,
                        CK_ULONG count) {
    CK_RV code = Noted("C_GetAttributeValue", session, handle);
    const auto object = Script().m_Objects.find(handle);
    if (object == Script().m_Objects.end()) {
        return CKR_OBJECT_HANDLE_INVALID;
    }
    for (CK_ULONG i = 0; code == CKR_OK && i < count; ++i) {
        code = Give(object->second, asked[i]);
        WriteLength("C_GetAttributeValue", &asked[i].ulValueLen);
    }
    return code;
}

CK_RV Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG size, CK_BYTE* signature, CK_ULONG* length) {
    const std::string& made = Script().m_Signature;
    const CK_RV code = Noted("C_Sign", session, size);
    if (data == nullptr || signature == nullptr || *length < made.size()) {
        return CKR_BUFFER_TOO_SMALL;
    }
    std::copy(made.begin(), made.end(), signature);
    *length = made.size();
    WriteLength("C_Sign", length);
    return code;
}

// A lambda for each, since a function is told from another by its type alone otherwise.
#define PLAIN(name) list.name = [](auto... arguments) -> CK_RV { return Plain(#name, arguments...); }
#define LACKING(name)                                                                                        \
    if (Script().m_Missing.count(#name) != 0) {                                                              \
        list.name = nullptr;                                                                                 \
    }

void AddOwn(CK_FUNCTION_LIST& list) {
    list.C_GetSlotList = GetSlotList;
    list.C_GetSlotInfo = GetSlotInfo;
    list.C_GetTokenInfo = GetTokenInfo;
    list.C_GetMechanismInfo = GetMechanismInfo;
    list.C_OpenSession = OpenSession;
    list.C_GetSessionInfo = GetSessionInfo;
    list.C_Login = Login;
    list.C_Logout = Logout;
    list.C_FindObjectsInit = FindObjectsInit;
    list.C_FindObjects = FindObjects;
    list.C_GetAttributeValue = GetAttributeValue;
    list.C_Sign = Sign;
}

void AddPlainOfObjects(CK_FUNCTION_LIST& list) {
    PLAIN(C_Initialize);
    PLAIN(C_Finalize);
    PLAIN(C_GetMechanismList);
    PLAIN(C_InitToken);
    PLAIN(C_InitPIN);
    PLAIN(C_SetPIN);
    PLAIN(C_CloseSession);
    PLAIN(C_GetOperationState);
    PLAIN(C_SetOperationState);
    PLAIN(C_CreateObject);
    PLAIN(C_CopyObject);
    PLAIN(C_DestroyObject);
    PLAIN(C_GetObjectSize);
    PLAIN(C_SetAttributeValue);
    PLAIN(C_FindObjectsFinal);
    PLAIN(C_WaitForSlotEvent);
}

void AddPlainOfKeys(CK_FUNCTION_LIST& list) {
    PLAIN(C_EncryptInit);
    PLAIN(C_Encrypt);
    PLAIN(C_EncryptUpdate);
    PLAIN(C_EncryptFinal);
    PLAIN(C_DecryptInit);
    PLAIN(C_Decrypt);
    PLAIN(C_DecryptUpdate);
    PLAIN(C_DecryptFinal);
    PLAIN(C_DigestInit);
    PLAIN(C_Digest);
    PLAIN(C_DigestUpdate);
    PLAIN(C_DigestKey);
    PLAIN(C_DigestFinal);
    PLAIN(C_SignInit);
    PLAIN(C_SignUpdate);
    PLAIN(C_SignFinal);
    PLAIN(C_SignRecoverInit);
    PLAIN(C_SignRecover);
    PLAIN(C_VerifyInit);
    PLAIN(C_Verify);
    PLAIN(C_VerifyUpdate);
    PLAIN(C_VerifyFinal);
    PLAIN(C_VerifyRecoverInit);
    PLAIN(C_VerifyRecover);
}

void AddPlainOfTwoThings(CK_FUNCTION_LIST& list) {
    PLAIN(C_DigestEncryptUpdate);
    PLAIN(C_DecryptDigestUpdate);
    PLAIN(C_SignEncryptUpdate);
    PLAIN(C_DecryptVerifyUpdate);
    PLAIN(C_GenerateKey);
    PLAIN(C_GenerateKeyPair);
    PLAIN(C_WrapKey);
    PLAIN(C_UnwrapKey);
    PLAIN(C_DeriveKey);
    PLAIN(C_SeedRandom);
    PLAIN(C_GenerateRandom);
}

} // namespace

#pragma GCC visibility push(default)
extern "C" ModuleScript* ScriptOfTheModule() {
    return &Script();
}

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** given) {
    static CK_FUNCTION_LIST list;
    list = {};
    list.version = {2, 40};
    AddOwn(list);
    AddPlainOfObjects(list);
    AddPlainOfKeys(list);
    AddPlainOfTwoThings(list);
    LACKING(C_SetPIN)
    LACKING(C_InitPIN)
    *given = &list;
    return CKR_OK;
}
#pragma GCC visibility pop
