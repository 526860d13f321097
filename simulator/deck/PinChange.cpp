// SPDX-License-Identifier: MIT
#include "simulator/deck/PinChange.h"

#include <algorithm>

#include "simulator/deck/CardMaker.h"
#include "simulator/deck/DeckMaker.h"

namespace orselsim {

namespace {

constexpr unsigned DEFAULT_PUK_TRIES = 10;

void SetTries(CountedSecret& secret, unsigned long tries) {
    secret.m_TriesLeft = static_cast<unsigned>(tries);
    secret.m_MaxTries = std::max(secret.m_MaxTries, secret.m_TriesLeft);
}

void SetPuk(PinRecord& pin, const std::string& puk) {
    if (!pin.m_Puk) {
        pin.m_Puk.emplace();
        pin.m_Puk->m_MaxTries = DEFAULT_PUK_TRIES;
    }
    pin.m_Puk->m_Secret = HashedSecret::Of(puk);
    pin.m_Puk->m_TriesLeft = pin.m_Puk->m_MaxTries;
}

void ChangePin(PinRecord& pin, const PinChange& change) {
    if (change.m_Pin && !pin.Accepts(*change.m_Pin)) {
        throw DeckError("This PIN has " + std::to_string(pin.m_MinLength) + " to " +
                        std::to_string(pin.m_MaxLength) + " digits.");
    }
    if (change.m_Pin) {
        pin.Set(*change.m_Pin);
    }
    if (change.m_Unset) {
        pin.m_Pin.m_Secret.reset();
    }
    if (change.m_Tries) {
        SetTries(pin.m_Pin, *change.m_Tries);
    }
}

void ChangePuk(PinRecord& pin, const PinChange& change) {
    if (change.m_RemovePuk) {
        pin.m_Puk.reset();
    }
    if (change.m_Puk) {
        SetPuk(pin, *change.m_Puk);
    }
    if (change.m_PukTries && !pin.m_Puk) {
        throw DeckError("This PIN has no PUK.");
    }
    if (change.m_PukTries) {
        SetTries(*pin.m_Puk, *change.m_PukTries);
    }
}

} // namespace

void ApplyPinChange(CardRecord& record, const std::string& pinName, const PinChange& change) {
    const PinRecord* before = record.Pin(pinName);
    if (before == nullptr) {
        throw DeckError("The card has no PIN \"" + pinName + "\".");
    }
    PinRecord pin = *before;
    ChangePin(pin, change);
    ChangePuk(pin, change);
    *record.Pin(pinName) = pin;
}

void ResetToDemoPins(CardRecord& record) {
    for (auto& [name, pin] : record.m_Pins) {
        pin.Set(name == SIGNATURE_PIN ? DEMO_SIGNATURE_PIN : DEMO_ENCRYPTION_PIN);
        if (pin.m_Puk) {
            SetPuk(pin, DEMO_PUK);
        }
    }
}

} // namespace orselsim
