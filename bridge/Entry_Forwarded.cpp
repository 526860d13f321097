// SPDX-License-Identifier: MIT
// Entry points that lead straight to the module: nothing about them is the bridge's own but the
// session, and the key where there is one.
#include "bridge/Forwarding.h"

using orselbridge::DoOutput;
using orselbridge::InnerOf;
using orselbridge::Runtime;
using tokenlib::Call;

// The functions differ in nothing but their arguments; a macro is the one way to write each of them
// once. FORWARD takes the arguments behind the session, with their types and without; FORWARD_OUTPUT
// is for those whose last argument is the length of the one before; FORWARD_KEY for those that begin
// an operation with a key.
#define FORWARD(name, parameters, ...)                                                                       \
    CK_RV name parameters {                                                                                  \
        return Call(#name).Session(session).Run([&](Runtime& runtime) {                                      \
            runtime.GetModule().Do(&CK_FUNCTION_LIST::name, InnerOf(runtime, session), __VA_ARGS__);         \
        });                                                                                                  \
    }
#define FORWARD_OUTPUT(name, parameters, out, length, ...)                                                   \
    CK_RV name parameters {                                                                                  \
        Call call(#name);                                                                                    \
        return call.Session(session).Run([&](Runtime& runtime) {                                             \
            DoOutput(call, runtime, #name, &CK_FUNCTION_LIST::name, length, out, InnerOf(runtime, session),  \
                     __VA_ARGS__);                                                                           \
        });                                                                                                  \
    }
#define FORWARD_KEY(name)                                                                                    \
    CK_RV name(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {                   \
        Call call(#name);                                                                                    \
        call.Session(session).Text("mechanism", orselbridge::MechanismText(mechanism)).Number("key", key);   \
        return call.Run([&](Runtime& runtime) {                                                              \
            const orselbridge::Session& known = runtime.SessionOf(session);                                  \
            runtime.GetModule().Do(&CK_FUNCTION_LIST::name, known.m_Inner.Handle(), mechanism,               \
                                   runtime.InnerObject(known, key));                                         \
        });                                                                                                  \
    }

// clang-format off
FORWARD(C_InitPIN, (CK_SESSION_HANDLE session, CK_BYTE* pin, CK_ULONG pinLen), pin, pinLen)
FORWARD(C_SetPIN, (CK_SESSION_HANDLE session, CK_BYTE* oldPin, CK_ULONG oldLen, CK_BYTE* newPin, CK_ULONG newLen), oldPin, oldLen, newPin, newLen)
FORWARD_OUTPUT(C_GetOperationState, (CK_SESSION_HANDLE session, CK_BYTE* state, CK_ULONG* stateLen), state, stateLen, state)
FORWARD(C_DigestInit, (CK_SESSION_HANDLE session, CK_MECHANISM* mechanism), mechanism)
FORWARD_OUTPUT(C_Digest, (CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* digest, CK_ULONG* digestLen), digest, digestLen, data, dataLen, digest)
FORWARD(C_DigestUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen), part, partLen)
FORWARD_OUTPUT(C_DigestFinal, (CK_SESSION_HANDLE session, CK_BYTE* digest, CK_ULONG* digestLen), digest, digestLen, digest)
FORWARD_KEY(C_EncryptInit)
FORWARD_OUTPUT(C_Encrypt, (CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, data, dataLen, out)
FORWARD_OUTPUT(C_EncryptUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, part, partLen, out)
FORWARD_OUTPUT(C_EncryptFinal, (CK_SESSION_HANDLE session, CK_BYTE* out, CK_ULONG* outLen), out, outLen, out)
FORWARD_KEY(C_DecryptInit)
FORWARD_OUTPUT(C_Decrypt, (CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, data, dataLen, out)
FORWARD_OUTPUT(C_DecryptUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, part, partLen, out)
FORWARD_OUTPUT(C_DecryptFinal, (CK_SESSION_HANDLE session, CK_BYTE* out, CK_ULONG* outLen), out, outLen, out)
FORWARD_KEY(C_SignRecoverInit)
FORWARD_OUTPUT(C_SignRecover, (CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, data, dataLen, out)
FORWARD(C_VerifyUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen), part, partLen)
FORWARD(C_VerifyFinal, (CK_SESSION_HANDLE session, CK_BYTE* signature, CK_ULONG signatureLen), signature, signatureLen)
FORWARD_KEY(C_VerifyRecoverInit)
FORWARD_OUTPUT(C_VerifyRecover, (CK_SESSION_HANDLE session, CK_BYTE* signature, CK_ULONG signatureLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, signature, signatureLen, out)
FORWARD_OUTPUT(C_DigestEncryptUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, part, partLen, out)
FORWARD_OUTPUT(C_DecryptDigestUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, part, partLen, out)
FORWARD_OUTPUT(C_SignEncryptUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, part, partLen, out)
FORWARD_OUTPUT(C_DecryptVerifyUpdate, (CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen, CK_BYTE* out, CK_ULONG* outLen), out, outLen, part, partLen, out)
FORWARD(C_GenerateKey, (CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* key), mechanism, attributes, count, key)
FORWARD(C_GenerateKeyPair, (CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* publicTemplate, CK_ULONG publicCount, CK_ATTRIBUTE* privateTemplate, CK_ULONG privateCount, CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey), mechanism, publicTemplate, publicCount, privateTemplate, privateCount, publicKey, privateKey)
FORWARD(C_SeedRandom, (CK_SESSION_HANDLE session, CK_BYTE* seed, CK_ULONG seedLen), seed, seedLen)
FORWARD(C_GenerateRandom, (CK_SESSION_HANDLE session, CK_BYTE* random, CK_ULONG randomLen), random, randomLen)
// clang-format on

#undef FORWARD
#undef FORWARD_OUTPUT
#undef FORWARD_KEY

CK_RV C_SetOperationState(CK_SESSION_HANDLE session, CK_BYTE* state, CK_ULONG stateLen,
                          CK_OBJECT_HANDLE encryptionKey, CK_OBJECT_HANDLE authenticationKey) {
    return Call("C_SetOperationState").Session(session).Run([&](Runtime& runtime) {
        const orselbridge::Session& known = runtime.SessionOf(session);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_SetOperationState, known.m_Inner.Handle(), state,
                               stateLen, runtime.InnerObject(known, encryptionKey),
                               runtime.InnerObject(known, authenticationKey));
    });
}

CK_RV C_DigestKey(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE key) {
    return Call("C_DigestKey").Session(session).Number("key", key).Run([&](Runtime& runtime) {
        const orselbridge::Session& known = runtime.SessionOf(session);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_DigestKey, known.m_Inner.Handle(),
                               runtime.InnerObject(known, key));
    });
}

CK_RV C_WrapKey(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE wrappingKey,
                CK_OBJECT_HANDLE key, CK_BYTE* wrapped, CK_ULONG* wrappedLen) {
    Call call("C_WrapKey");
    return call.Session(session).Number("key", key).Run([&](Runtime& runtime) {
        const orselbridge::Session& known = runtime.SessionOf(session);
        DoOutput(call, runtime, "C_WrapKey", &CK_FUNCTION_LIST::C_WrapKey, wrappedLen, wrapped,
                 known.m_Inner.Handle(), mechanism, runtime.InnerObject(known, wrappingKey),
                 runtime.InnerObject(known, key), wrapped);
    });
}

CK_RV C_UnwrapKey(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE unwrappingKey,
                  CK_BYTE* wrapped, CK_ULONG wrappedLen, CK_ATTRIBUTE* attributes, CK_ULONG count,
                  CK_OBJECT_HANDLE* key) {
    return Call("C_UnwrapKey").Session(session).Number("key", unwrappingKey).Run([&](Runtime& runtime) {
        const orselbridge::Session& known = runtime.SessionOf(session);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_UnwrapKey, known.m_Inner.Handle(), mechanism,
                               runtime.InnerObject(known, unwrappingKey), wrapped, wrappedLen, attributes,
                               count, key);
    });
}

CK_RV C_DeriveKey(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE baseKey,
                  CK_ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* key) {
    return Call("C_DeriveKey").Session(session).Number("key", baseKey).Run([&](Runtime& runtime) {
        const orselbridge::Session& known = runtime.SessionOf(session);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_DeriveKey, known.m_Inner.Handle(), mechanism,
                               runtime.InnerObject(known, baseKey), attributes, count, key);
    });
}

// Left over in the standard from parallel sessions; it fixes this answer.
CK_RV C_GetFunctionStatus(CK_SESSION_HANDLE session) {
    return Call("C_GetFunctionStatus").Session(session).Run([](Runtime&) {
        throw tokenlib::Refusal{CKR_FUNCTION_NOT_PARALLEL};
    });
}

CK_RV C_CancelFunction(CK_SESSION_HANDLE session) {
    return Call("C_CancelFunction").Session(session).Run([](Runtime&) {
        throw tokenlib::Refusal{CKR_FUNCTION_NOT_PARALLEL};
    });
}
