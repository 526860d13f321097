// SPDX-License-Identifier: MIT
// A PKCS#11 library of few entry points that answers in the way that ORSEL_STUB names. Its slot is called as
// ORSEL_STUB_READER says.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "tokenlib/Output.h"

namespace {

constexpr CK_SLOT_ID SLOT = 5;
constexpr CK_ULONG ABSURD = 1000000000;

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool Is(const char* way) {
    return Variable("ORSEL_STUB") == way;
}

CK_RV Initialize(void* arguments) {
    if (Is("breaks at the start")) {
        return CKR_DEVICE_ERROR;
    }
    return Is("cannot lock") && arguments != nullptr ? CKR_CANT_LOCK : CKR_OK;
}

CK_RV Finalize(void* /*reserved*/) {
    return CKR_OK;
}

CK_RV GetSlotList(CK_BBOOL /*present*/, CK_SLOT_ID* list, CK_ULONG* count) {
    const bool hasRoom = list != nullptr && *count > 0;
    if (hasRoom) {
        list[0] = SLOT;
    }
    *count = Is("has slots without end") || (Is("grows") && hasRoom) ? ABSURD : 1;
    return CKR_OK;
}

CK_RV GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
    *info = {};
    tokenlib::FillField(info->slotDescription, Variable("ORSEL_STUB_READER"));
    info->flags = CKF_TOKEN_PRESENT;
    return slot == SLOT ? CKR_OK : CKR_SLOT_ID_INVALID;
}

CK_RV GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
    *info = {};
    tokenlib::FillField(info->label, "Stub");
    info->flags = CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED;
    if (Is("has a blocked PIN")) {
        info->flags |= CKF_USER_PIN_LOCKED;
    }
    return slot == SLOT ? CKR_OK : CKR_SLOT_ID_INVALID;
}

CK_RV OpenSession(CK_SLOT_ID slot, CK_FLAGS /*flags*/, void* /*application*/, CK_NOTIFY /*notify*/,
                  CK_SESSION_HANDLE* session) {
    *session = Is("gives no handle") ? 0 : 1;
    return slot == SLOT ? CKR_OK : CKR_SLOT_ID_INVALID;
}

CK_RV CloseSession(CK_SESSION_HANDLE /*session*/) {
    return CKR_OK;
}

CK_RV FindObjectsInit(CK_SESSION_HANDLE /*session*/, CK_ATTRIBUTE* /*wanted*/, CK_ULONG /*count*/) {
    return CKR_OK;
}

CK_RV FindObjects(CK_SESSION_HANDLE /*session*/, CK_OBJECT_HANDLE* objects, CK_ULONG capacity,
                  CK_ULONG* count) {
    std::fill(objects, objects + capacity, 1);
    *count = Is("finds too many") ? ABSURD : capacity; // and never comes to an end
    return CKR_OK;
}

CK_RV FindObjectsFinal(CK_SESSION_HANDLE /*session*/) {
    return CKR_OK;
}

CK_FUNCTION_LIST* List() {
    static CK_FUNCTION_LIST list;
    list = {}; // nothing is left of what it was before
    list.version = {static_cast<CK_BYTE>(Is("is of version 1") ? 1 : 2), 40};
    list.C_Initialize = Is("lacks C_Initialize") ? nullptr : Initialize;
    list.C_Finalize = Finalize;
    list.C_GetSlotList = GetSlotList;
    list.C_GetSlotInfo = GetSlotInfo;
    list.C_GetTokenInfo = GetTokenInfo;
    list.C_OpenSession = OpenSession;
    list.C_CloseSession = CloseSession;
    if (!Is("lacks the rest")) {
        list.C_FindObjectsInit = FindObjectsInit;
        list.C_FindObjects = FindObjects;
        list.C_FindObjectsFinal = FindObjectsFinal;
    }
    return &list;
}

} // namespace

#pragma GCC visibility push(default)
CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
    *list = Is("has no list") ? nullptr : List();
    return Is("refuses its list") ? CKR_GENERAL_ERROR : CKR_OK;
}
#pragma GCC visibility pop
