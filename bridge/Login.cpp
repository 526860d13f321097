// SPDX-License-Identifier: MIT
#include "bridge/Login.h"

#include "bridge/Serials.h"

namespace orselbridge {

namespace {

struct PinFlags {
    CK_FLAGS m_Locked;
    CK_FLAGS m_FinalTry;
    CK_FLAGS m_CountLow;
};

PinFlags FlagsOf(PinKind kind) {
    return kind == PinKind::USER
               ? PinFlags{CKF_USER_PIN_LOCKED, CKF_USER_PIN_FINAL_TRY, CKF_USER_PIN_COUNT_LOW}
               : PinFlags{CKF_SO_PIN_LOCKED, CKF_SO_PIN_FINAL_TRY, CKF_SO_PIN_COUNT_LOW};
}

std::string CardLine(const CK_TOKEN_INFO& info) {
    return "Karte: " + FieldText(info.label) + ", " + FieldText(info.serialNumber) + "\n";
}

std::string TriesLine(const CK_TOKEN_INFO& info, const PinFlags& flags) {
    if ((info.flags & flags.m_FinalTry) != 0) {
        return "\nLetzter Versuch";
    }
    return (info.flags & flags.m_CountLow) != 0 ? "\nZuletzt falsch eingegeben" : "";
}

std::string LengthLine(const CK_TOKEN_INFO& info) {
    const bool isKnown = info.ulMaxPinLen >= info.ulMinPinLen && info.ulMaxPinLen > 0 &&
                         info.ulMaxPinLen != CK_UNAVAILABLE_INFORMATION;
    return isKnown ? ", " + std::to_string(info.ulMinPinLen) + " bis " + std::to_string(info.ulMaxPinLen) +
                         " Zeichen"
                   : "";
}

} // namespace

bool HasOwnKeypad(const CK_TOKEN_INFO& info) {
    return (info.flags & CKF_PROTECTED_AUTHENTICATION_PATH) != 0;
}

GivenPin AskPin(Call& call, Runtime& runtime, CK_SLOT_ID slot, PinKind kind) {
    const CK_TOKEN_INFO info = runtime.TokenInfo(slot);
    const PinFlags flags = FlagsOf(kind);
    if ((info.flags & flags.m_Locked) != 0) {
        throw Refusal{CKR_PIN_LOCKED};
    }
    if (HasOwnKeypad(info)) {
        return std::nullopt;
    }
    const std::string name = kind == PinKind::USER ? "PIN" : "PUK";
    return call.Ask({CardLine(info) + name + " eingeben" + TriesLine(info, flags), name + ":", false});
}

GivenPin AskNewPin(Call& call, Runtime& runtime, CK_SLOT_ID slot) {
    const CK_TOKEN_INFO info = runtime.TokenInfo(slot);
    if (HasOwnKeypad(info)) {
        return std::nullopt;
    }
    return call.Ask({CardLine(info) + "Neue PIN eingeben" + LengthLine(info), "Neue PIN:", true});
}

void LogIn(const Module& module, CK_SESSION_HANDLE session, CK_USER_TYPE user, const GivenPin& pin) {
    CK_RV code = CKR_OK;
    if (pin) {
        // The standard's interface takes a plain pointer to what it does not change.
        auto* bytes = reinterpret_cast<CK_BYTE*>(const_cast<char*>(pin->Text().data()));
        code = module.Call(&CK_FUNCTION_LIST::C_Login, session, user, bytes, CK_ULONG{pin->Text().size()});
    } else {
        code = module.Call(&CK_FUNCTION_LIST::C_Login, session, user, static_cast<CK_BYTE*>(nullptr),
                           CK_ULONG{0});
    }
    if (code == CKR_PIN_LEN_RANGE || code == CKR_PIN_INVALID) {
        code = CKR_PIN_INCORRECT;
    }
    if (code != CKR_OK) {
        throw Refusal{code};
    }
}

Login::Login(const Module& module, CK_SESSION_HANDLE session, CK_USER_TYPE user, const GivenPin& pin)
    : m_Module(module), m_Session(session) {
    try {
        LogIn(module, session, user, pin);
    } catch (const Refusal& refusal) {
        if (refusal.m_Code != CKR_USER_ALREADY_LOGGED_IN) {
            throw;
        }
        m_IsOurs = false;
    }
}

Login::~Login() {
    if (m_IsOurs) {
        m_Module.Call(&CK_FUNCTION_LIST::C_Logout, m_Session);
    }
}

} // namespace orselbridge
