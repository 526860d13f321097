// SPDX-License-Identifier: MIT
#include "simulator/token/Authorisation.h"

#include "simulator/store/Files.h"
#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

std::string displayName(const std::string& pinName) {
    return pinName == signaturePin ? "Signatur-PIN" : "Geheimhaltungs-PIN";
}

std::string cardLine(const CardRecord& card) {
    return "Karte: " + card.label + ", " + card.serial + "\n";
}

Card loadForChange(const std::string& directory) {
    try {
        return loadCard(directory);
    } catch (const std::runtime_error&) {
        throw Refusal{CKR_DEVICE_REMOVED};
    }
}

} // namespace

PinQuestion secretQuestion(const CardRecord& card, const std::string& pinName, SecretKind kind) {
    const PinRecord& pin = *card.pin(pinName);
    const bool isPuk = kind == SecretKind::Puk;
    const std::string name = isPuk ? "PUK" : displayName(pinName);
    const unsigned tries = isPuk ? pin.puk->triesLeft : pin.pin.triesLeft;
    return {cardLine(card) + name + (isPuk ? " zur " + displayName(pinName) : "") +
                " eingeben\nVerbleibende Versuche: " + std::to_string(tries),
            name + ":", false};
}

PinQuestion newPinQuestion(const CardRecord& card, const std::string& pinName) {
    const PinRecord& pin = *card.pin(pinName);
    return {cardLine(card) + "Neue " + displayName(pinName) + " eingeben, " + std::to_string(pin.minLength) +
                " bis " + std::to_string(pin.maxLength) + " Ziffern",
            "Neue PIN:", true};
}

Secret askUser(Call& call, Runtime& runtime, const PinQuestion& question) {
    std::optional<Secret> answer;
    call.withoutLock([&] { answer = runtime.pinEntry().ask(question); });
    if (!answer)
        throw Refusal{CKR_FUNCTION_CANCELED};
    return std::move(*answer);
}

const PinRecord& usablePin(const CardRecord& card, const std::string& pinName) {
    const PinRecord* pin = card.pin(pinName);
    if (pin == nullptr || !pin->isInitialised())
        throw Refusal{CKR_USER_PIN_NOT_INITIALIZED};
    if (pin->pin.isBlocked())
        throw Refusal{CKR_PIN_LOCKED};
    return *pin;
}

CK_RV trySecret(CountedSecret& secret, const Secret& candidate) {
    if (secret.check(candidate.text()))
        return CKR_OK;
    return secret.isBlocked() ? CKR_PIN_LOCKED : CKR_PIN_INCORRECT;
}

void changeCard(Deck& deck, Slot& slot, const std::function<CK_RV(Card&)>& change) {
    CK_RV result = CKR_OK;
    {
        const DirectoryLock lock(slot.directory);
        const Card before = loadForChange(slot.directory);
        Card after = before;
        result = change(after);
        saveChanges(slot.directory, before, after);
    }
    deck.refresh(slot);
    if (result != CKR_OK)
        throw Refusal{result};
}

void checkPin(Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName, const Secret& pin) {
    const SessionView view = runtime.session(session);
    changeCard(runtime.deck(), view.slot, [&](Card& card) {
        usablePin(card.record, pinName);
        return trySecret(card.record.pin(pinName)->pin, pin);
    });
}

void authorise(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName) {
    const SessionView view = runtime.session(session);
    const bool isGiven = pinName == encryptionPin && view.slot.isLoggedIn;
    if (pinName.empty() || isGiven)
        return;
    usablePin(view.card->record(), pinName);
    const Secret pin = askUser(call, runtime, secretQuestion(view.card->record(), pinName, SecretKind::Pin));
    checkPin(runtime, session, pinName, pin);
}

} // namespace orselsim
