// SPDX-License-Identifier: MIT
// Entry points that these cards have no use for. They are traced and meet faults like any other.
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Refusal.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;

// The functions differ in nothing but their arguments, of which only the first is looked at; a
// macro is the one way to write each of them once.
#define NOT_SUPPORTED(name, Owner, owner, ...)                                                               \
    CK_RV name(__VA_ARGS__) {                                                                                \
        return Call(#name).Owner(owner).Run([](Runtime&) { throw Refusal{CKR_FUNCTION_NOT_SUPPORTED}; });    \
    }

// clang-format off
NOT_SUPPORTED(C_InitToken, Slot, slot, CK_SLOT_ID slot, CK_BYTE*, CK_ULONG, CK_BYTE*)
NOT_SUPPORTED(C_InitPIN, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_SetPIN, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_GetOperationState, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SetOperationState, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_CreateObject, Session, session, CK_SESSION_HANDLE session, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_CopyObject, Session, session, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_DestroyObject, Session, session, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_EncryptInit, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_Encrypt, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_EncryptUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_EncryptFinal, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptInit, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_Decrypt, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptFinal, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DigestInit, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*)
NOT_SUPPORTED(C_Digest, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DigestUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_DigestKey, Session, session, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_DigestFinal, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SignUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_SignFinal, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SignRecoverInit, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_SignRecover, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_VerifyUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_VerifyFinal, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG)
NOT_SUPPORTED(C_VerifyRecoverInit, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE)
NOT_SUPPORTED(C_VerifyRecover, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DigestEncryptUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptDigestUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_SignEncryptUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_DecryptVerifyUpdate, Session, session, CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_GenerateKey, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_GenerateKeyPair, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_ATTRIBUTE*, CK_ULONG, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_WrapKey, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE, CK_BYTE*, CK_ULONG*)
NOT_SUPPORTED(C_UnwrapKey, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE, CK_BYTE*, CK_ULONG, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
NOT_SUPPORTED(C_DeriveKey, Session, session, CK_SESSION_HANDLE session, CK_MECHANISM*, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE*)
// clang-format on

#undef NOT_SUPPORTED

// Left over in the standard from parallel sessions; it fixes this answer.
CK_RV C_GetFunctionStatus(CK_SESSION_HANDLE session) {
    return Call("C_GetFunctionStatus").Session(session).Run([](Runtime&) {
        throw Refusal{CKR_FUNCTION_NOT_PARALLEL};
    });
}

CK_RV C_CancelFunction(CK_SESSION_HANDLE session) {
    return Call("C_CancelFunction").Session(session).Run([](Runtime&) {
        throw Refusal{CKR_FUNCTION_NOT_PARALLEL};
    });
}
