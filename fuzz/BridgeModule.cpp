// SPDX-License-Identifier: MIT
// A PKCS#11 library for the bridge's fuzz target, whose answers are the fuzzer's.
#include "fuzz/LibraryAnswers.h"
#include "tokenlib/Pkcs11.h"

namespace {

using answers::Give;
using answers::NextCode;

CK_FUNCTION_LIST List() {
    CK_FUNCTION_LIST list = {};
    list.version = {2, 40};
    list.C_Initialize = [](void*) { return NextCode(); };
    list.C_Finalize = [](void*) { return NextCode(); };
    list.C_GetSlotList = answers::GetSlotList;
    list.C_GetSlotInfo = [](CK_SLOT_ID, CK_SLOT_INFO* info) { return Give(info); };
    list.C_GetTokenInfo = [](CK_SLOT_ID, CK_TOKEN_INFO* info) { return Give(info); };
    list.C_GetMechanismInfo = [](CK_SLOT_ID, CK_MECHANISM_TYPE, CK_MECHANISM_INFO* info) {
        return Give(info);
    };
    list.C_OpenSession = answers::OpenSession;
    list.C_CloseSession = [](CK_SESSION_HANDLE) { return NextCode(); };
    list.C_GetSessionInfo = [](CK_SESSION_HANDLE, CK_SESSION_INFO* info) { return Give(info); };
    list.C_FindObjectsInit = [](CK_SESSION_HANDLE, CK_ATTRIBUTE*, CK_ULONG) { return NextCode(); };
    list.C_FindObjects = answers::FindObjects;
    list.C_FindObjectsFinal = [](CK_SESSION_HANDLE) { return NextCode(); };
    list.C_GetAttributeValue = answers::GetAttributeValue;
    list.C_Login = [](CK_SESSION_HANDLE, CK_USER_TYPE, CK_BYTE*, CK_ULONG) { return NextCode(); };
    list.C_Logout = [](CK_SESSION_HANDLE) { return NextCode(); };
    list.C_SetPIN = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG) { return NextCode(); };
    list.C_InitPIN = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG) { return NextCode(); };
    list.C_SignInit = [](CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE) { return NextCode(); };
    list.C_Sign = answers::Sign;
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
    answers::Set(data, size);
}
#pragma GCC visibility pop
