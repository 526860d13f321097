// SPDX-License-Identifier: MIT
// Every entry point that the program asks for, passed on to the simulated library. An animal's own definition
// takes the place of the one here.
#include "tests/zoo/Sound.h"

#define PASS_ON(name, parameters, arguments)                                                                 \
    extern "C" __attribute__((weak)) CK_RV name parameters {                                                 \
        return ORSEL_SOUND(name) arguments;                                                                  \
    }

PASS_ON(C_Initialize, (void* arguments), (arguments))
PASS_ON(C_Finalize, (void* reserved), (reserved))
PASS_ON(C_GetInfo, (CK_INFO * info), (info))
PASS_ON(C_GetFunctionList, (CK_FUNCTION_LIST * *list), (list))
PASS_ON(C_GetSlotList, (unsigned char present, CK_SLOT_ID* slots, CK_ULONG* count), (present, slots, count))
PASS_ON(C_GetSlotInfo, (CK_SLOT_ID slot, CK_SLOT_INFO* info), (slot, info))
PASS_ON(C_GetTokenInfo, (CK_SLOT_ID slot, CK_TOKEN_INFO* info), (slot, info))
PASS_ON(C_OpenSession,
        (CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session),
        (slot, flags, application, notify, session))
PASS_ON(C_CloseSession, (CK_SESSION_HANDLE session), (session))
PASS_ON(C_Login, (CK_SESSION_HANDLE session, CK_USER_TYPE user, unsigned char* pin, CK_ULONG size),
        (session, user, pin, size))
PASS_ON(C_Logout, (CK_SESSION_HANDLE session), (session))
PASS_ON(C_FindObjectsInit, (CK_SESSION_HANDLE session, CK_ATTRIBUTE* wanted, CK_ULONG count),
        (session, wanted, count))
PASS_ON(C_FindObjects, (CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG most, CK_ULONG* count),
        (session, objects, most, count))
PASS_ON(C_FindObjectsFinal, (CK_SESSION_HANDLE session), (session))
PASS_ON(C_GetAttributeValue,
        (CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* asked, CK_ULONG count),
        (session, object, asked, count))
PASS_ON(C_SetAttributeValue,
        (CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* changes, CK_ULONG count),
        (session, object, changes, count))
PASS_ON(C_SignInit, (CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key),
        (session, mechanism, key))
PASS_ON(C_Sign,
        (CK_SESSION_HANDLE session, unsigned char* data, CK_ULONG size, unsigned char* signature,
         CK_ULONG* length),
        (session, data, size, signature, length))
PASS_ON(C_VerifyInit, (CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key),
        (session, mechanism, key))
PASS_ON(C_Verify,
        (CK_SESSION_HANDLE session, unsigned char* data, CK_ULONG size, unsigned char* signature,
         CK_ULONG length),
        (session, data, size, signature, length))
PASS_ON(C_CardTransmit,
        (CK_SESSION_HANDLE session, const unsigned char* command, CK_ULONG size, unsigned char* answer,
         CK_ULONG* length),
        (session, command, size, answer, length))
PASS_ON(C_CardAttribute,
        (CK_SESSION_HANDLE session, const char* name, unsigned char* value, CK_ULONG* length),
        (session, name, value, length))
