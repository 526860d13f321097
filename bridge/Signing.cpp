// SPDX-License-Identifier: MIT
#include "bridge/Signing.h"

#include "bridge/Login.h"
#include "tokenlib/Output.h"

namespace orselbridge {

namespace {

/// Room for the signature of a key that shows nothing of itself: twice that of the largest RSA key in use.
constexpr CK_ULONG ROOM_FOR_ANY = 2048;

/// No mechanism that signs has longer parameters.
constexpr CK_ULONG LARGEST_PARAMETER = 256;

bool NeedsLogin(const Runtime& runtime, const Session& session) {
    const CK_TOKEN_INFO info = runtime.ModulesTokenInfo(session.m_Slot);
    return (info.flags & CKF_LOGIN_REQUIRED) != 0 && !session.m_Inner.IsLoggedIn();
}

/// What can be known of a key before the login.
CK_RV Suitability(Runtime& runtime, const Session& session, CK_OBJECT_HANDLE key) {
    if (const ShownObject* shown = runtime.GetShown().Find(key)) {
        const bool isHere = shown->m_Slot == session.m_Slot;
        const bool isPrivateKey = shown->m_Class == CKO_PRIVATE_KEY;
        return !isHere ? CKR_KEY_HANDLE_INVALID : (isPrivateKey ? CKR_OK : CKR_KEY_FUNCTION_NOT_PERMITTED);
    }
    const auto objectClass = session.m_Inner.ReadNumber(key, CKA_CLASS);
    if (!objectClass) {
        return CKR_KEY_HANDLE_INVALID;
    }
    return *objectClass == CKO_PRIVATE_KEY || *objectClass == CKO_SECRET_KEY ? CKR_OK
                                                                             : CKR_KEY_FUNCTION_NOT_PERMITTED;
}

/// The user is not to be asked for a PIN for nothing.
void CheckMechanism(const Runtime& runtime, const Session& session, const CK_MECHANISM& mechanism) {
    CK_MECHANISM_INFO info = {};
    const CK_RV code = runtime.GetModule().Call(&CK_FUNCTION_LIST::C_GetMechanismInfo, session.m_Slot,
                                                mechanism.mechanism, &info);
    const bool isUnfit = code == CKR_OK && (info.flags & CKF_SIGN) == 0;
    if (code == CKR_MECHANISM_INVALID || isUnfit) {
        throw Refusal{CKR_MECHANISM_INVALID};
    }
    // Those of an Edwards curve hold a pointer, whose target need not last until C_Sign.
    if (mechanism.ulParameterLen > LARGEST_PARAMETER ||
        (mechanism.ulParameterLen > 0 && mechanism.mechanism == CKM_EDDSA)) {
        throw Refusal{CKR_MECHANISM_PARAM_INVALID};
    }
    if (mechanism.ulParameterLen > 0) {
        tokenlib::Require(mechanism.pParameter);
    }
}

PendingSignature PendingOf(const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE key) {
    PendingSignature pending;
    pending.m_Mechanism = mechanism.mechanism;
    pending.m_Key = key;
    const auto* parameter = static_cast<const unsigned char*>(mechanism.pParameter);
    if (mechanism.ulParameterLen > 0) {
        pending.m_Parameter.assign(parameter, parameter + mechanism.ulParameterLen);
    }
    return pending;
}

/// The numbers of a key that say how long its signatures are.
AttributeMap NumbersOf(Runtime& runtime, const Session& session, CK_OBJECT_HANDLE key) {
    const ShownObject* shown = runtime.GetShown().Find(key);
    if (shown != nullptr && shown->m_Inner == 0) {
        return shown->m_Made;
    }
    const CK_OBJECT_HANDLE inner = shown != nullptr ? shown->m_Inner : key;
    AttributeMap numbers;
    for (const CK_ATTRIBUTE_TYPE type : {CKA_MODULUS, CKA_EC_PARAMS}) {
        if (const auto value = session.m_Inner.Read(inner, type)) {
            numbers[type] = *value;
        }
    }
    return numbers;
}

/// Signs in the module, where the operation has begun.
Bytes SignInModule(const Module& module, CK_SESSION_HANDLE session, Bytes data, CK_ULONG room) {
    Bytes signature(room);
    CK_ULONG length = signature.size();
    module.Do(&CK_FUNCTION_LIST::C_Sign, session, data.data(), CK_ULONG{data.size()}, signature.data(),
              &length);
    module.CheckLength("C_Sign", length, signature.size());
    signature.resize(length);
    return signature;
}

/// The standard ends an operation with its last call, successful or not.
class PendingEnd {
public:
    PendingEnd(Runtime& runtime, CK_SESSION_HANDLE session) : m_Runtime(runtime), m_Session(session) {}
    ~PendingEnd() {
        if (m_Runtime.SlotIdOf(m_Session)) {
            m_Runtime.SessionOf(m_Session).m_Signature.reset();
        }
    }
    PendingEnd(const PendingEnd&) = delete; // ends one signature
    PendingEnd& operator=(const PendingEnd&) = delete;

private:
    Runtime& m_Runtime;
    CK_SESSION_HANDLE m_Session;
};

PendingSignature& PendingIn(Session& session) {
    if (!session.m_Signature) {
        throw Refusal{CKR_OPERATION_NOT_INITIALIZED}; // another thread ended it while the user was asked
    }
    return *session.m_Signature;
}

/// Without a PIN where somebody has logged in before.
Bytes SignWithKey(Runtime& runtime, Session& session, const Bytes& data, const GivenPin* pin) {
    const Module& module = runtime.GetModule();
    const CK_SESSION_HANDLE inner = session.m_Inner.Handle();
    PendingSignature& pending = PendingIn(session);
    const CK_ULONG room = RoomForSignature(runtime, session);
    const CK_OBJECT_HANDLE key = runtime.InnerObject(session, pending.m_Key);
    const bool asksAgain = session.m_Inner.ReadFlag(key, CKA_ALWAYS_AUTHENTICATE);
    CK_MECHANISM mechanism = {pending.m_Mechanism, pending.m_Parameter.data(), pending.m_Parameter.size()};
    if (pending.m_Parameter.empty()) {
        mechanism.pParameter = nullptr;
    }
    module.Do(&CK_FUNCTION_LIST::C_SignInit, inner, &mechanism, key);
    if (asksAgain && pin != nullptr) {
        LogIn(module, inner, CKU_CONTEXT_SPECIFIC, *pin);
    }
    return SignInModule(module, inner, data, room);
}

} // namespace

void BeginSignature(Runtime& runtime, Session& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
    tokenlib::Require(mechanism);
    if (session.m_Signature) {
        throw Refusal{CKR_OPERATION_ACTIVE};
    }
    if (!NeedsLogin(runtime, session)) {
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_SignInit, session.m_Inner.Handle(), mechanism,
                               runtime.InnerObject(session, key));
        return;
    }
    const CK_RV suitability = Suitability(runtime, session, key);
    if (suitability != CKR_OK) {
        throw Refusal{suitability};
    }
    CheckMechanism(runtime, session, *mechanism);
    session.m_Signature = PendingOf(*mechanism, key);
}

CK_ULONG RoomForSignature(Runtime& runtime, const Session& session) {
    const AttributeMap numbers = NumbersOf(runtime, session, session.m_Signature->m_Key);
    if (const auto modulus = numbers.find(CKA_MODULUS); modulus != numbers.end()) {
        return modulus->second.size();
    }
    if (const auto curve = numbers.find(CKA_EC_PARAMS); curve != numbers.end()) {
        const CK_ULONG size = tokenlib::EcSignatureSize(curve->second);
        return size == 0 ? ROOM_FOR_ANY : size;
    }
    return ROOM_FOR_ANY;
}

Bytes MakeSignature(tokenlib::Call& call, Runtime& runtime, CK_SESSION_HANDLE handle, const Bytes& data) {
    const PendingEnd end(runtime, handle);
    if (!NeedsLogin(runtime, runtime.SessionOf(handle))) {
        return SignWithKey(runtime, runtime.SessionOf(handle), data, nullptr);
    }
    const GivenPin pin = AskPin(call, runtime, runtime.SessionOf(handle).m_Slot, PinKind::USER);
    Session& session = runtime.SessionOf(handle);
    const Login login(runtime.GetModule(), session.m_Inner.Handle(), CKU_USER, pin);
    return SignWithKey(runtime, session, data, &pin);
}

} // namespace orselbridge
