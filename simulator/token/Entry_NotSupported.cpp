// SPDX-License-Identifier: MIT
// Entry points that these cards have no use for. They are traced and meet faults like any other.
#include "simulator/token/Call.h"
#include "simulator/token/Refusal.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;

// The functions differ in nothing but their arguments, of which only the first is looked at; a
// macro is the one way to write each of them once.
#define NOT_SUPPORTED(name, first, ...)                                                                      \
    CK_RV name(__VA_ARGS__) {                                                                                \
        return Call(#name).first(first).run([](Runtime&) { throw Refusal{CKR_FUNCTION_NOT_SUPPORTED}; });    \
    }

// clang-format off
NOT_SUPPORTED(C_InitToken, slot, CK_SLOT_ID slot, CK_BYTE*, CK_ULONG, CK_BYTE*)
NOT_SUPPORTED(C_InitPIN, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_SetPIN, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_GetOperationState, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SetOperationState, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_CreateObject, session, CK_SESSION_HANDLE session, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_CopyObject, session, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_DestroyObject, session, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_EncryptInit, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_Encrypt, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_EncryptUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_EncryptFinal, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptInit, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_Decrypt, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptFinal, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DigestInit, session, CK_SESSION_HANDLE session, CK_MECHANISM*)
NOT_SUPPORTED(C_Digest, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DigestUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_DigestKey, session, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_DigestFinal, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SignUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_SignFinal, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SignRecoverInit, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_SignRecover, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_VerifyUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_VerifyFinal, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_VerifyRecoverInit, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_VerifyRecover, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DigestEncryptUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptDigestUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SignEncryptUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptVerifyUpdate, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_GenerateKey, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_GenerateKeyPair, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_ATTRIBUTE*, CK_ULONG, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_WrapKey, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_UnwrapKey, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE, CK_BYTE*, CK_ULONG, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_DeriveKey, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
// clang-format on

#undef NOT_SUPPORTED

// Left over in the standard from parallel sessions; it fixes this answer.
CK_RV C_GetFunctionStatus(CK_SESSION_HANDLE session) {
    return Call("C_GetFunctionStatus").session(session).run([](Runtime&) {
        throw Refusal{CKR_FUNCTION_NOT_PARALLEL};
    });
}

CK_RV C_CancelFunction(CK_SESSION_HANDLE session) {
    return Call("C_CancelFunction").session(session).run([](Runtime&) {
        throw Refusal{CKR_FUNCTION_NOT_PARALLEL};
    });
}
