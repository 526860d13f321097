// SPDX-License-Identifier: MIT
// A PKCS#11 library for the bridge's fuzz target: each answer of it, code, number, length or value, is taken
// from the fuzzer's input, and is zero behind its end. It writes nowhere beyond the room that it is given.
#include <algorithm>
#include <cstdint>
#include <iterator>

#include "tokenlib/Pkcs11.h"

namespace {

const std::uint8_t* g_Next = nullptr;
const std::uint8_t* g_End = nullptr;

std::uint8_t NextByte() {
    return g_Next == g_End ? std::uint8_t{0} : *g_Next++;
}

/// Mostly success, else one of the codes that the bridge treats in its own way, or any.
CK_RV NextCode() {
    static constexpr CK_RV CODES[] = {
        CKR_OPERATION_ACTIVE, CKR_USER_ALREADY_LOGGED_IN, CKR_USER_NOT_LOGGED_IN,     CKR_PIN_LEN_RANGE,
        CKR_BUFFER_TOO_SMALL, CKR_GENERAL_ERROR,          CKR_FUNCTION_NOT_SUPPORTED, CKR_DEVICE_REMOVED};
    const std::uint8_t byte = NextByte();
    return byte < 0xE0 ? CKR_OK : (byte < 0xF8 ? CODES[byte % std::size(CODES)] : CK_RV{byte});
}

/// Mostly small, at times beyond all reason.
CK_ULONG NextNumber() {
    const std::uint8_t byte = NextByte();
    return byte < 0xF0 ? byte : (byte == 0xFF ? CK_UNAVAILABLE_INFORMATION : CK_ULONG{1} << (byte & 0x1F));
}

void Fill(void* out, CK_ULONG size) {
    auto* bytes = static_cast<std::uint8_t*>(out);
    std::generate(bytes, bytes + size, NextByte);
}

template <class Answer>
CK_RV Give(Answer* answer) {
    Fill(answer, sizeof *answer);
    return NextCode();
}

CK_RV Any(CK_BYTE* out, CK_ULONG* length) {
    const CK_ULONG wanted = NextNumber();
    if (out != nullptr) {
        Fill(out, std::min(wanted, *length));
    }
    *length = wanted;
    return NextCode();
}

CK_RV GetSlotList(CK_BBOOL /*present*/, CK_SLOT_ID* list, CK_ULONG* count) {
    const CK_ULONG wanted = NextNumber();
    for (CK_ULONG i = 0; list != nullptr && i < std::min(wanted, *count); ++i) {
        list[i] = NextByte();
    }
    *count = wanted;
    return NextCode();
}

CK_RV FindObjects(CK_SESSION_HANDLE /*session*/, CK_OBJECT_HANDLE* objects, CK_ULONG capacity,
                  CK_ULONG* count) {
    *count = NextNumber();
    for (CK_ULONG i = 0; i < std::min(*count, capacity); ++i) {
        objects[i] = NextByte();
    }
    return NextCode();
}

CK_RV GetAttributeValue(CK_SESSION_HANDLE /*session*/, CK_OBJECT_HANDLE /*object*/, CK_ATTRIBUTE* attributes,
                        CK_ULONG count) {
    for (CK_ULONG i = 0; i < count; ++i) {
        const CK_ULONG wanted = NextNumber();
        if (attributes[i].pValue != nullptr) {
            Fill(attributes[i].pValue, std::min(wanted, attributes[i].ulValueLen));
        }
        attributes[i].ulValueLen = wanted;
    }
    return NextCode();
}

CK_FUNCTION_LIST List() {
    CK_FUNCTION_LIST list = {};
    list.version = {2, 40};
    list.C_Initialize = [](void*) { return NextCode(); };
    list.C_Finalize = [](void*) { return NextCode(); };
    list.C_GetSlotList = GetSlotList;
    list.C_GetSlotInfo = [](CK_SLOT_ID, CK_SLOT_INFO* info) { return Give(info); };
    list.C_GetTokenInfo = [](CK_SLOT_ID, CK_TOKEN_INFO* info) { return Give(info); };
    list.C_GetMechanismInfo = [](CK_SLOT_ID, CK_MECHANISM_TYPE, CK_MECHANISM_INFO* info) {
        return Give(info);
    };
    list.C_OpenSession = [](CK_SLOT_ID, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
        *session = NextByte();
        return NextCode();
    };
    list.C_CloseSession = [](CK_SESSION_HANDLE) { return NextCode(); };
    list.C_GetSessionInfo = [](CK_SESSION_HANDLE, CK_SESSION_INFO* info) { return Give(info); };
    list.C_FindObjectsInit = [](CK_SESSION_HANDLE, CK_ATTRIBUTE*, CK_ULONG) { return NextCode(); };
    list.C_FindObjects = FindObjects;
    list.C_FindObjectsFinal = [](CK_SESSION_HANDLE) { return NextCode(); };
    list.C_GetAttributeValue = GetAttributeValue;
    list.C_Login = [](CK_SESSION_HANDLE, CK_USER_TYPE, CK_BYTE*, CK_ULONG) { return NextCode(); };
    list.C_Logout = [](CK_SESSION_HANDLE) { return NextCode(); };
    list.C_SetPIN = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG) { return NextCode(); };
    list.C_InitPIN = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG) { return NextCode(); };
    list.C_SignInit = [](CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE) { return NextCode(); };
    list.C_Sign = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE* out, CK_ULONG* length) {
        return Any(out, length);
    };
    return list;
}

} // namespace

#pragma GCC visibility push(default)
CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
    static CK_FUNCTION_LIST functions = List();
    *list = &functions;
    return CKR_OK;
}

/// Where the answers come from until the next call.
extern "C" void SetAnswers(const std::uint8_t* data, std::size_t size) {
    g_Next = data;
    g_End = data + size;
}
#pragma GCC visibility pop
