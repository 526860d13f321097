// SPDX-License-Identifier: MIT
// Entry points that sign and verify.
#include "simulator/token/Authorisation.h"
#include "simulator/token/Call.h"
#include "simulator/token/Names.h"
#include "simulator/token/Output.h"
#include "simulator/token/Signing.h"

using orselsim::Bytes;
using orselsim::Call;
using orselsim::KeyOperation;
using orselsim::Mechanism;
using orselsim::ObjectKind;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::SessionView;
using orselsim::TokenObject;

namespace {

using OperationMember = std::optional<KeyOperation> orselsim::Session::*;

std::string mechanismText(const CK_MECHANISM* mechanism) {
    return mechanism == nullptr ? "" : orselsim::mechanismName(mechanism->mechanism);
}

const Mechanism& mechanismOf(const CK_MECHANISM* given) {
    orselsim::require(given);
    const Mechanism* mechanism = orselsim::findMechanism(given->mechanism);
    if (mechanism == nullptr)
        throw Refusal{CKR_MECHANISM_INVALID};
    if (given->pParameter != nullptr || given->ulParameterLen != 0)
        throw Refusal{CKR_MECHANISM_PARAM_INVALID};
    return *mechanism;
}

const TokenObject& keyOf(const SessionView& view, CK_OBJECT_HANDLE handle) {
    const TokenObject* object = view.card->object(handle);
    if (object == nullptr || !object->key)
        throw Refusal{CKR_KEY_HANDLE_INVALID};
    return *object;
}

KeyOperation beginOperation(const SessionView& view, const CK_MECHANISM* given, CK_OBJECT_HANDLE handle,
                            ObjectKind wanted) {
    const Mechanism& mechanism = mechanismOf(given);
    const TokenObject& key = keyOf(view, handle);
    if (key.record.kind != wanted)
        throw Refusal{CKR_KEY_FUNCTION_NOT_PERMITTED};
    if (key.attributes.at(CKA_KEY_TYPE) != orselsim::numberValue(mechanism.keyType))
        throw Refusal{CKR_KEY_TYPE_INCONSISTENT};
    return {&mechanism, handle, false};
}

CK_RV initOperation(Call& call, CK_SESSION_HANDLE session, const CK_MECHANISM* mechanism,
                    CK_OBJECT_HANDLE key, ObjectKind wanted, OperationMember member) {
    call.session(session).text("mechanism", mechanismText(mechanism)).number("key", key);
    return call.run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        if (view.session.*member)
            throw Refusal{CKR_OPERATION_ACTIVE};
        view.session.*member = beginOperation(view, mechanism, key, wanted);
    });
}

/// The standard ends an operation with its last call, successful or not.
class OperationEnd {
public:
    OperationEnd(Runtime& runtime, CK_SESSION_HANDLE session, OperationMember member)
        : m_runtime(runtime), m_session(session), m_member(member) {}
    ~OperationEnd() {
        if (orselsim::Session* session = m_runtime.findSession(m_session))
            (session->*m_member).reset();
    }
    OperationEnd(const OperationEnd&) = delete; // ends one operation
    OperationEnd& operator=(const OperationEnd&) = delete;

private:
    Runtime& m_runtime;
    CK_SESSION_HANDLE m_session;
    OperationMember m_member;
};

const KeyOperation& activeOperation(const SessionView& view, OperationMember member) {
    if (!(view.session.*member))
        throw Refusal{CKR_OPERATION_NOT_INITIALIZED};
    return *(view.session.*member);
}

Bytes inputOf(const CK_BYTE* data, CK_ULONG size) {
    if (size > 0)
        orselsim::require(data);
    return data == nullptr ? Bytes() : Bytes(data, data + size);
}

/// What the PIN has to be asked for: nothing when it was given for this operation already.
std::string pinToAsk(const KeyOperation& operation, const TokenObject& key) {
    return operation.isAuthorised ? "" : key.record.pin;
}

Bytes signWithCard(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const Bytes& data) {
    {
        const SessionView view = runtime.session(session);
        const KeyOperation& operation = activeOperation(view, &orselsim::Session::signing);
        const TokenObject& key = keyOf(view, operation.key);
        orselsim::checkDataSize(key.key.get(), *operation.mechanism, data.size());
        orselsim::authorise(call, runtime, session, pinToAsk(operation, key));
    }
    const SessionView view = runtime.session(session);
    const KeyOperation& operation = activeOperation(view, &orselsim::Session::signing);
    return orselsim::signData(keyOf(view, operation.key).key.get(), *operation.mechanism, data);
}

/// Answers a question for the size, which leaves the operation active. True when that was all.
bool answersSize(const SessionView& view, const CK_BYTE* signature, CK_ULONG* signatureLen) {
    const KeyOperation& operation = activeOperation(view, &orselsim::Session::signing);
    orselsim::require(signatureLen);
    const CK_ULONG size = orselsim::signatureSize(keyOf(view, operation.key).key.get());
    const bool isTooSmall = signature != nullptr && *signatureLen < size;
    if (signature == nullptr || isTooSmall)
        *signatureLen = size;
    if (isTooSmall)
        throw Refusal{CKR_BUFFER_TOO_SMALL};
    return signature == nullptr;
}

} // namespace

CK_RV C_SignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    Call call("C_SignInit");
    return initOperation(call, session, mechanism, key, ObjectKind::PrivateKey, &orselsim::Session::signing);
}

CK_RV C_Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* signature,
             CK_ULONG* signatureLen) {
    Call call("C_Sign");
    call.session(session).number("size", dataLen).number("query", signature == nullptr ? 1 : 0);
    if (signature != nullptr)
        call.slow();
    return call.run([&](Runtime& runtime) {
        if (!answersSize(runtime.session(session), signature, signatureLen)) {
            const OperationEnd end(runtime, session, &orselsim::Session::signing);
            orselsim::handOut(signWithCard(call, runtime, session, inputOf(data, dataLen)), signature,
                              signatureLen);
        }
        call.bend(*signatureLen);
    });
}

CK_RV C_VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    Call call("C_VerifyInit");
    return initOperation(call, session, mechanism, key, ObjectKind::PublicKey, &orselsim::Session::verifying);
}

CK_RV C_Verify(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* signature,
               CK_ULONG signatureLen) {
    Call call("C_Verify");
    call.session(session).number("size", dataLen).number("length", signatureLen).slow();
    return call.run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        const KeyOperation operation = activeOperation(view, &orselsim::Session::verifying);
        const OperationEnd end(runtime, session, &orselsim::Session::verifying);
        orselsim::verifyData(keyOf(view, operation.key).key.get(), *operation.mechanism,
                             inputOf(data, dataLen), inputOf(signature, signatureLen));
    });
}
