// SPDX-License-Identifier: MIT
#include "simulator/token/PinCommands.h"

#include "simulator/token/Authorisation.h"
#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

/// What a command needs to know throughout.
struct Context {
    Call& call;
    Runtime& runtime;
    CK_SESSION_HANDLE session;
    const std::string& pinName;

    CardRecord record() const { return runtime.session(session).card->record(); }

    void change(const std::function<CK_RV(PinRecord&)>& work) const {
        const SessionView view = runtime.session(session);
        changeCard(runtime.deck(), view.slot, [&](Card& card) {
            PinRecord* pin = card.record.pin(pinName);
            return pin == nullptr ? CKR_DEVICE_REMOVED : work(*pin);
        });
    }
};

/// A new PIN that the card will take.
Secret askNewPin(const Context& context) {
    const CardRecord card = context.record();
    Secret newPin = askUser(context.call, context.runtime, newPinQuestion(card, context.pinName));
    const PinRecord& pin = *card.pin(context.pinName);
    if (newPin.text().size() < pin.minLength || newPin.text().size() > pin.maxLength)
        throw Refusal{CKR_PIN_LEN_RANGE};
    if (!pin.accepts(newPin.text()))
        throw Refusal{CKR_PIN_INVALID};
    return newPin;
}

void initialisePin(const Context& context) {
    const Secret newPin = askNewPin(context);
    context.change([&](PinRecord& pin) {
        if (pin.isInitialised())
            return CKR_FUNCTION_REJECTED;
        pin.set(newPin.text());
        return CKR_OK;
    });
}

void changePin(const Context& context) {
    const CardRecord card = context.record();
    usablePin(card, context.pinName);
    const Secret oldPin =
        askUser(context.call, context.runtime, secretQuestion(card, context.pinName, SecretKind::Pin));
    const Secret newPin = askNewPin(context);
    context.change([&](PinRecord& pin) {
        const CK_RV result = trySecret(pin.pin, oldPin);
        if (result == CKR_OK)
            pin.set(newPin.text());
        return result;
    });
}

void unblockPin(const Context& context) {
    const CardRecord card = context.record();
    const PinRecord& before = *card.pin(context.pinName);
    if (!before.puk)
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    if (!before.isInitialised() || !before.puk->secret)
        throw Refusal{CKR_USER_PIN_NOT_INITIALIZED};
    if (before.puk->isBlocked())
        throw Refusal{CKR_PIN_LOCKED};
    const Secret puk =
        askUser(context.call, context.runtime, secretQuestion(card, context.pinName, SecretKind::Puk));
    const Secret newPin = askNewPin(context);
    context.change([&](PinRecord& pin) {
        if (!pin.puk)
            return CKR_FUNCTION_NOT_SUPPORTED;
        const CK_RV result = trySecret(*pin.puk, puk);
        if (result == CKR_OK)
            pin.set(newPin.text());
        return result;
    });
}

} // namespace

void runPinCommand(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName,
                   const PinCommand& command) {
    const Context context = {call, runtime, session, pinName};
    const CardRecord card = context.record();
    const PinRecord* pin = card.pin(pinName);
    if (pin == nullptr)
        throw Refusal{CKR_ATTRIBUTE_TYPE_INVALID}; // nothing protects this object
    if (command.wantsSoftwarePin && !card.allowsSoftwarePin)
        throw Refusal{CKR_FUNCTION_FAILED};
    if (command.type == unblockPinCommand) {
        unblockPin(context);
    } else if (!pin->isInitialised()) {
        initialisePin(context);
    } else {
        if (command.value)
            throw Refusal{CKR_FUNCTION_REJECTED}; // a PIN is set for the first time once
        changePin(context);
    }
}

} // namespace orselsim
