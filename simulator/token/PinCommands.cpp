// SPDX-License-Identifier: MIT
#include "simulator/token/PinCommands.h"

#include "simulator/token/Authorisation.h"
#include "tokenlib/Refusal.h"

namespace orselsim {

namespace {

/// What a command needs to know throughout.
struct Context {
    Call& m_Call;
    Runtime& m_Runtime;
    CK_SESSION_HANDLE m_Session;
    const std::string& m_PinName;

    CardRecord Record() const { return m_Runtime.ViewOf(m_Session).m_Card->Record(); }

    void Change(const std::function<CK_RV(PinRecord&)>& work) const {
        const SessionView view = m_Runtime.ViewOf(m_Session);
        ChangeCard(m_Runtime.GetDeck(), view.m_Slot, [&](Card& card) {
            PinRecord* pin = card.m_Record.Pin(m_PinName);
            return pin == nullptr ? CKR_DEVICE_REMOVED : work(*pin);
        });
    }
};

/// A new PIN that the card will take.
Secret AskNewPin(const Context& context) {
    const CardRecord card = context.Record();
    Secret newPin = context.m_Call.Ask(NewPinQuestion(card, context.m_PinName));
    const PinRecord& pin = *card.Pin(context.m_PinName);
    if (newPin.Text().size() < pin.m_MinLength || newPin.Text().size() > pin.m_MaxLength) {
        throw Refusal{CKR_PIN_LEN_RANGE};
    }
    if (!pin.Accepts(newPin.Text())) {
        throw Refusal{CKR_PIN_INVALID};
    }
    return newPin;
}

void InitialisePin(const Context& context) {
    const Secret newPin = AskNewPin(context);
    context.Change([&](PinRecord& pin) {
        if (pin.IsInitialised()) {
            return CKR_FUNCTION_REJECTED;
        }
        pin.Set(newPin.Text());
        return CKR_OK;
    });
}

void ChangePin(const Context& context) {
    const CardRecord card = context.Record();
    UsablePin(card, context.m_PinName);
    const Secret oldPin = context.m_Call.Ask(SecretQuestion(card, context.m_PinName, SecretKind::PIN));
    const Secret newPin = AskNewPin(context);
    context.Change([&](PinRecord& pin) {
        const CK_RV result = TrySecret(pin.m_Pin, oldPin);
        if (result == CKR_OK) {
            pin.Set(newPin.Text());
        }
        return result;
    });
}

void UnblockPin(const Context& context) {
    const CardRecord card = context.Record();
    const PinRecord& before = *card.Pin(context.m_PinName);
    if (!before.m_Puk) {
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    }
    if (!before.IsInitialised() || !before.m_Puk->m_Secret) {
        throw Refusal{CKR_USER_PIN_NOT_INITIALIZED};
    }
    if (before.m_Puk->IsBlocked()) {
        throw Refusal{CKR_PIN_LOCKED};
    }
    const Secret puk = context.m_Call.Ask(SecretQuestion(card, context.m_PinName, SecretKind::PUK));
    const Secret newPin = AskNewPin(context);
    context.Change([&](PinRecord& pin) {
        if (!pin.m_Puk) {
            return CKR_FUNCTION_NOT_SUPPORTED;
        }
        const CK_RV result = TrySecret(*pin.m_Puk, puk);
        if (result == CKR_OK) {
            pin.Set(newPin.Text());
        }
        return result;
    });
}

} // namespace

void RunPinCommand(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName,
                   const PinCommand& command) {
    const Context context = {call, runtime, session, pinName};
    const CardRecord card = context.Record();
    const PinRecord* pin = card.Pin(pinName);
    if (pin == nullptr) {
        throw Refusal{CKR_ATTRIBUTE_TYPE_INVALID}; // nothing protects this object
    }
    if (command.m_WantsSoftwarePin && !card.m_AllowsSoftwarePin) {
        throw Refusal{CKR_FUNCTION_FAILED};
    }
    if (command.m_Type == UNBLOCK_PIN_COMMAND) {
        UnblockPin(context);
    } else if (!pin->IsInitialised()) {
        InitialisePin(context);
    } else {
        if (command.m_Value) {
            throw Refusal{CKR_FUNCTION_REJECTED}; // a PIN is set for the first time once
        }
        ChangePin(context);
    }
}

} // namespace orselsim
