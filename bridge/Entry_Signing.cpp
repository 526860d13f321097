// SPDX-License-Identifier: MIT
// Entry points that sign and verify.
#include "bridge/Forwarding.h"
#include "bridge/Signing.h"

using orselbridge::Bytes;
using orselbridge::Runtime;
using orselbridge::Session;
using tokenlib::Call;
using tokenlib::Refusal;

namespace {

/// A signature in parts is kept here until its end; nobody signs as much on a card.
constexpr std::size_t LARGEST_DATA = 67108864;

Bytes InputOf(const CK_BYTE* data, CK_ULONG size) {
    if (size > 0) {
        tokenlib::Require(data);
    }
    return data == nullptr ? Bytes() : Bytes(data, data + size);
}

/// Answers a question for the size, which leaves the signature pending. True when that was all.
bool AnswersSize(Runtime& runtime, const Session& session, const CK_BYTE* signature, CK_ULONG* signatureLen) {
    tokenlib::Require(signatureLen);
    const CK_ULONG room = orselbridge::RoomForSignature(runtime, session);
    if (signature != nullptr && *signatureLen >= room) {
        return false;
    }
    *signatureLen = room;
    if (signature != nullptr) {
        throw Refusal{CKR_BUFFER_TOO_SMALL};
    }
    return true;
}

void SignPending(Call& call, Runtime& runtime, CK_SESSION_HANDLE handle, const Bytes& data,
                 CK_BYTE* signature, CK_ULONG* signatureLen) {
    if (!AnswersSize(runtime, runtime.SessionOf(handle), signature, signatureLen)) {
        tokenlib::HandOut(orselbridge::MakeSignature(call, runtime, handle, data), signature, signatureLen);
    }
    call.Bend(*signatureLen);
}

} // namespace

CK_RV C_SignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    Call call("C_SignInit");
    call.Session(session).Text("mechanism", orselbridge::MechanismText(mechanism)).Number("key", key);
    return call.Run([&](Runtime& runtime) {
        orselbridge::BeginSignature(runtime, runtime.SessionOf(session), mechanism, key);
    });
}

CK_RV C_Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* signature,
             CK_ULONG* signatureLen) {
    Call call("C_Sign");
    call.Session(session).Number("size", dataLen).Number("query", signature == nullptr ? 1 : 0);
    return call.Run([&](Runtime& runtime) {
        const Session& known = runtime.SessionOf(session);
        if (known.m_Signature) {
            SignPending(call, runtime, session, InputOf(data, dataLen), signature, signatureLen);
            return;
        }
        orselbridge::DoOutput(call, runtime, "C_Sign", &CK_FUNCTION_LIST::C_Sign, signatureLen, signature,
                              known.m_Inner.Handle(), data, dataLen, signature);
    });
}

CK_RV C_SignUpdate(CK_SESSION_HANDLE session, CK_BYTE* part, CK_ULONG partLen) {
    Call call("C_SignUpdate");
    return call.Session(session).Number("size", partLen).Run([&](Runtime& runtime) {
        Session& known = runtime.SessionOf(session);
        if (!known.m_Signature) {
            runtime.GetModule().Do(&CK_FUNCTION_LIST::C_SignUpdate, known.m_Inner.Handle(), part, partLen);
            return;
        }
        const Bytes input = InputOf(part, partLen);
        Bytes& kept = known.m_Signature->m_Data;
        if (input.size() > LARGEST_DATA - kept.size()) {
            known.m_Signature.reset();
            throw Refusal{CKR_DATA_LEN_RANGE};
        }
        kept.insert(kept.end(), input.begin(), input.end());
    });
}

CK_RV C_SignFinal(CK_SESSION_HANDLE session, CK_BYTE* signature, CK_ULONG* signatureLen) {
    Call call("C_SignFinal");
    return call.Session(session).Number("query", signature == nullptr ? 1 : 0).Run([&](Runtime& runtime) {
        const Session& known = runtime.SessionOf(session);
        if (known.m_Signature) {
            SignPending(call, runtime, session, Bytes(known.m_Signature->m_Data), signature, signatureLen);
            return;
        }
        orselbridge::DoOutput(call, runtime, "C_SignFinal", &CK_FUNCTION_LIST::C_SignFinal, signatureLen,
                              signature, known.m_Inner.Handle(), signature);
    });
}

CK_RV C_VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    Call call("C_VerifyInit");
    call.Session(session).Text("mechanism", orselbridge::MechanismText(mechanism)).Number("key", key);
    return call.Run([&](Runtime& runtime) {
        const Session& known = runtime.SessionOf(session);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_VerifyInit, known.m_Inner.Handle(), mechanism,
                               runtime.InnerObject(known, key));
    });
}

CK_RV C_Verify(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* signature,
               CK_ULONG signatureLen) {
    Call call("C_Verify");
    call.Session(session).Number("size", dataLen).Number("length", signatureLen);
    return call.Run([&](Runtime& runtime) {
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_Verify, orselbridge::InnerOf(runtime, session), data,
                               dataLen, signature, signatureLen);
    });
}
