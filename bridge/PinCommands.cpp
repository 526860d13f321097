// SPDX-License-Identifier: MIT
#include "bridge/PinCommands.h"

#include "bridge/Login.h"

namespace orselbridge {

namespace {

constexpr CK_FLAGS READ_WRITE = CKF_SERIAL_SESSION | CKF_RW_SESSION;

/// The bytes of a PIN for the standard's interface, which takes a plain pointer to what it does not change.
struct PinBytes {
    explicit PinBytes(const GivenPin& pin)
        : m_Start(pin ? reinterpret_cast<CK_BYTE*>(const_cast<char*>(pin->Text().data())) : nullptr),
          m_Size(pin ? pin->Text().size() : 0) {}

    CK_BYTE* m_Start;
    CK_ULONG m_Size;
};

/// Closes every session of a slot and opens them again in the end: the security officer cannot log in
/// beside a session that only reads, and the card manager's own is one. The module may give its objects
/// other handles afterwards.
class SessionsAside {
public:
    SessionsAside(Runtime& runtime, CK_SLOT_ID slot)
        : m_Runtime(runtime), m_Sessions(runtime.SessionsOn(slot)) {
        for (Session* session : m_Sessions) {
            session->m_Inner.Close();
        }
    }
    ~SessionsAside() {
        for (Session* session : m_Sessions) {
            try {
                session->m_Inner.Reopen();
                session->m_View.reset();
                m_Runtime.ViewOf(*session);
            } catch (const Refusal&) {
                // The token has gone: the next call in the session says so.
            }
        }
    }
    SessionsAside(const SessionsAside&) = delete; // opens them once
    SessionsAside& operator=(const SessionsAside&) = delete;

private:
    Runtime& m_Runtime;
    const std::vector<Session*> m_Sessions;
};

CK_RV SetPin(const Module& module, CK_SESSION_HANDLE session, const GivenPin& before, const GivenPin& after) {
    const PinBytes oldPin(before);
    const PinBytes newPin(after);
    return module.Call(&CK_FUNCTION_LIST::C_SetPIN, session, oldPin.m_Start, oldPin.m_Size, newPin.m_Start,
                       newPin.m_Size);
}

void ChangePin(Call& call, Runtime& runtime, CK_SLOT_ID slot) {
    const Module& module = runtime.GetModule();
    if (!module.Has(&CK_FUNCTION_LIST::C_SetPIN)) {
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    }
    const GivenPin oldPin = AskPin(call, runtime, slot, PinKind::USER);
    const GivenPin newPin = AskNewPin(call, runtime, slot);
    const InnerSession session(module, slot, READ_WRITE);
    CK_RV code = SetPin(module, session.Handle(), oldPin, newPin);
    if (code == CKR_USER_NOT_LOGGED_IN) { // some modules want a login, although the standard wants none
        const Login login(module, session.Handle(), CKU_USER, oldPin);
        code = SetPin(module, session.Handle(), oldPin, newPin);
    }
    if (code != CKR_OK) {
        throw Refusal{code};
    }
}

void SetPinAsOfficer(Call& call, Runtime& runtime, CK_SLOT_ID slot) {
    const Module& module = runtime.GetModule();
    if (!module.Has(&CK_FUNCTION_LIST::C_InitPIN)) {
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    }
    const GivenPin officerPin = AskPin(call, runtime, slot, PinKind::OFFICER);
    const GivenPin newPin = AskNewPin(call, runtime, slot);
    const SessionsAside aside(runtime, slot);
    const InnerSession session(module, slot, READ_WRITE);
    const Login login(module, session.Handle(), CKU_SO, officerPin);
    const PinBytes pin(newPin);
    module.Do(&CK_FUNCTION_LIST::C_InitPIN, session.Handle(), pin.m_Start, pin.m_Size);
}

} // namespace

void RunPinCommand(Call& call, Runtime& runtime, CK_SESSION_HANDLE handle, const PinCommand& command) {
    const CK_SLOT_ID slot = runtime.SessionOf(handle).m_Slot;
    const CK_TOKEN_INFO info = runtime.ModulesTokenInfo(slot);
    if (command.m_WantsSoftwarePin && HasOwnKeypad(info)) {
        throw Refusal{CKR_FUNCTION_FAILED};
    }
    const bool isSet = (info.flags & CKF_USER_PIN_INITIALIZED) != 0;
    if (command.m_Type == tokenlib::CHANGE_PIN_COMMAND && isSet) {
        ChangePin(call, runtime, slot);
    } else {
        SetPinAsOfficer(call, runtime, slot); // also where a PIN is set for the first time
    }
}

} // namespace orselbridge
