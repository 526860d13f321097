// SPDX-License-Identifier: MIT
// Entry points that sign and verify.
#include "simulator/token/Authorisation.h"
#include "simulator/token/Runtime.h"
#include "simulator/token/Signing.h"
#include "tokenlib/Call.h"
#include "tokenlib/Names.h"
#include "tokenlib/Output.h"

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

std::string MechanismText(const CK_MECHANISM* mechanism) {
    return mechanism == nullptr ? "" : orselsim::MechanismName(mechanism->mechanism);
}

const Mechanism& MechanismOf(const CK_MECHANISM* given) {
    orselsim::Require(given);
    const Mechanism* mechanism = orselsim::FindMechanism(given->mechanism);
    if (mechanism == nullptr) {
        throw Refusal{CKR_MECHANISM_INVALID};
    }
    if (given->pParameter != nullptr || given->ulParameterLen != 0) {
        throw Refusal{CKR_MECHANISM_PARAM_INVALID};
    }
    return *mechanism;
}

const TokenObject& KeyOf(const SessionView& view, CK_OBJECT_HANDLE handle) {
    const TokenObject* object = view.m_Card->Object(handle);
    if (object == nullptr || !object->m_Key) {
        throw Refusal{CKR_KEY_HANDLE_INVALID};
    }
    return *object;
}

KeyOperation BeginOperation(const SessionView& view, const CK_MECHANISM* given, CK_OBJECT_HANDLE handle,
                            ObjectKind wanted) {
    const Mechanism& mechanism = MechanismOf(given);
    const TokenObject& key = KeyOf(view, handle);
    if (key.m_Record.m_Kind != wanted) {
        throw Refusal{CKR_KEY_FUNCTION_NOT_PERMITTED};
    }
    if (key.m_Attributes.at(CKA_KEY_TYPE) != orselsim::NumberValue(mechanism.m_KeyType)) {
        throw Refusal{CKR_KEY_TYPE_INCONSISTENT};
    }
    return {&mechanism, handle, false};
}

CK_RV InitOperation(Call& call, CK_SESSION_HANDLE session, const CK_MECHANISM* mechanism,
                    CK_OBJECT_HANDLE key, ObjectKind wanted, OperationMember member) {
    call.Session(session).Text("mechanism", MechanismText(mechanism)).Number("key", key);
    return call.Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        if (view.m_Session.*member) {
            throw Refusal{CKR_OPERATION_ACTIVE};
        }
        view.m_Session.*member = BeginOperation(view, mechanism, key, wanted);
    });
}

/// The standard ends an operation with its last call, successful or not.
class OperationEnd {
public:
    OperationEnd(Runtime& runtime, CK_SESSION_HANDLE session, OperationMember member)
        : m_Runtime(runtime), m_Session(session), m_Member(member) {}
    ~OperationEnd() {
        if (orselsim::Session* session = m_Runtime.FindSession(m_Session)) {
            (session->*m_Member).reset();
        }
    }
    OperationEnd(const OperationEnd&) = delete; // ends one operation
    OperationEnd& operator=(const OperationEnd&) = delete;

private:
    Runtime& m_Runtime;
    CK_SESSION_HANDLE m_Session;
    OperationMember m_Member;
};

const KeyOperation& ActiveOperation(const SessionView& view, OperationMember member) {
    if (!(view.m_Session.*member)) {
        throw Refusal{CKR_OPERATION_NOT_INITIALIZED};
    }
    return *(view.m_Session.*member);
}

Bytes InputOf(const CK_BYTE* data, CK_ULONG size) {
    if (size > 0) {
        orselsim::Require(data);
    }
    return data == nullptr ? Bytes() : Bytes(data, data + size);
}

/// What the PIN has to be asked for: nothing when it was given for this operation already.
std::string PinToAsk(const KeyOperation& operation, const TokenObject& key) {
    return operation.m_IsAuthorised ? "" : key.m_Record.m_Pin;
}

Bytes SignWithCard(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const Bytes& data) {
    {
        const SessionView view = runtime.ViewOf(session);
        const KeyOperation& operation = ActiveOperation(view, &orselsim::Session::m_Signing);
        const TokenObject& key = KeyOf(view, operation.m_Key);
        orselsim::CheckDataSize(key.m_Key.get(), *operation.m_Mechanism, data.size());
        orselsim::Authorise(call, runtime, session, PinToAsk(operation, key));
    }
    const SessionView view = runtime.ViewOf(session);
    const KeyOperation& operation = ActiveOperation(view, &orselsim::Session::m_Signing);
    return orselsim::SignData(KeyOf(view, operation.m_Key).m_Key.get(), *operation.m_Mechanism, data);
}

/// Answers a question for the size, which leaves the operation active. True when that was all.
bool AnswersSize(const SessionView& view, const CK_BYTE* signature, CK_ULONG* signatureLen) {
    const KeyOperation& operation = ActiveOperation(view, &orselsim::Session::m_Signing);
    orselsim::Require(signatureLen);
    const CK_ULONG size = orselsim::SignatureSize(KeyOf(view, operation.m_Key).m_Key.get());
    const bool isTooSmall = signature != nullptr && *signatureLen < size;
    if (signature == nullptr || isTooSmall) {
        *signatureLen = size;
    }
    if (isTooSmall) {
        throw Refusal{CKR_BUFFER_TOO_SMALL};
    }
    return signature == nullptr;
}

} // namespace

CK_RV C_SignInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    Call call("C_SignInit");
    return InitOperation(call, session, mechanism, key, ObjectKind::PRIVATE_KEY,
                         &orselsim::Session::m_Signing);
}

CK_RV C_Sign(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* signature,
             CK_ULONG* signatureLen) {
    Call call("C_Sign");
    call.Session(session).Number("size", dataLen).Number("query", signature == nullptr ? 1 : 0);
    if (signature != nullptr) {
        call.Slow();
    }
    return call.Run([&](Runtime& runtime) {
        if (!AnswersSize(runtime.ViewOf(session), signature, signatureLen)) {
            const OperationEnd end(runtime, session, &orselsim::Session::m_Signing);
            orselsim::HandOut(SignWithCard(call, runtime, session, InputOf(data, dataLen)), signature,
                              signatureLen);
        }
        call.Bend(*signatureLen);
    });
}

CK_RV C_VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    Call call("C_VerifyInit");
    return InitOperation(call, session, mechanism, key, ObjectKind::PUBLIC_KEY,
                         &orselsim::Session::m_Verifying);
}

CK_RV C_Verify(CK_SESSION_HANDLE session, CK_BYTE* data, CK_ULONG dataLen, CK_BYTE* signature,
               CK_ULONG signatureLen) {
    Call call("C_Verify");
    call.Session(session).Number("size", dataLen).Number("length", signatureLen).Slow();
    return call.Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        const KeyOperation operation = ActiveOperation(view, &orselsim::Session::m_Verifying);
        const OperationEnd end(runtime, session, &orselsim::Session::m_Verifying);
        orselsim::VerifyData(KeyOf(view, operation.m_Key).m_Key.get(), *operation.m_Mechanism,
                             InputOf(data, dataLen), InputOf(signature, signatureLen));
    });
}
