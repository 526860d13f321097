// SPDX-License-Identifier: MIT
#include "simulator/deck/PinChange.h"

#include <algorithm>

#include "simulator/deck/CardMaker.h"
#include "simulator/deck/DeckMaker.h"

namespace orselsim {

namespace {

constexpr unsigned defaultPukTries = 10;

void setTries(CountedSecret& secret, unsigned long tries) {
    secret.triesLeft = static_cast<unsigned>(tries);
    secret.maxTries = std::max(secret.maxTries, secret.triesLeft);
}

void setPuk(PinRecord& pin, const std::string& puk) {
    if (!pin.puk) {
        pin.puk.emplace();
        pin.puk->maxTries = defaultPukTries;
    }
    pin.puk->secret = HashedSecret::of(puk);
    pin.puk->triesLeft = pin.puk->maxTries;
}

void changePin(PinRecord& pin, const PinChange& change) {
    if (change.pin && !pin.accepts(*change.pin))
        throw DeckError("This PIN has " + std::to_string(pin.minLength) + " to " +
                        std::to_string(pin.maxLength) + " digits.");
    if (change.pin)
        pin.set(*change.pin);
    if (change.unset)
        pin.pin.secret.reset();
    if (change.tries)
        setTries(pin.pin, *change.tries);
}

void changePuk(PinRecord& pin, const PinChange& change) {
    if (change.removePuk)
        pin.puk.reset();
    if (change.puk)
        setPuk(pin, *change.puk);
    if (change.pukTries && !pin.puk)
        throw DeckError("This PIN has no PUK.");
    if (change.pukTries)
        setTries(*pin.puk, *change.pukTries);
}

} // namespace

void applyPinChange(CardRecord& record, const std::string& pinName, const PinChange& change) {
    const PinRecord* before = record.pin(pinName);
    if (before == nullptr)
        throw DeckError("The card has no PIN \"" + pinName + "\".");
    PinRecord pin = *before;
    changePin(pin, change);
    changePuk(pin, change);
    *record.pin(pinName) = pin;
}

void resetToDemoPins(CardRecord& record) {
    for (auto& [name, pin] : record.pins) {
        pin.set(name == signaturePin ? demoSignaturePin : demoEncryptionPin);
        if (pin.puk)
            setPuk(pin, demoPuk);
    }
}

} // namespace orselsim
