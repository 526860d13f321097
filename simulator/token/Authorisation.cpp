// SPDX-License-Identifier: MIT
#include "simulator/token/Authorisation.h"

#include "simulator/store/Files.h"
#include "tokenlib/Refusal.h"

namespace orselsim {

namespace {

std::string DisplayName(const std::string& pinName) {
    return pinName == SIGNATURE_PIN ? "Signatur-PIN" : "Geheimhaltungs-PIN";
}

std::string CardLine(const CardRecord& card) {
    return "Karte: " + card.m_Label + ", " + card.m_Serial + "\n";
}

Card LoadForChange(const std::string& directory) {
    try {
        return LoadCard(directory);
    } catch (const std::runtime_error&) {
        throw Refusal{CKR_DEVICE_REMOVED};
    }
}

} // namespace

PinQuestion SecretQuestion(const CardRecord& card, const std::string& pinName, SecretKind kind) {
    const PinRecord& pin = *card.Pin(pinName);
    const bool isPuk = kind == SecretKind::PUK;
    const std::string name = isPuk ? "PUK" : DisplayName(pinName);
    const unsigned tries = isPuk ? pin.m_Puk->m_TriesLeft : pin.m_Pin.m_TriesLeft;
    return {CardLine(card) + name + (isPuk ? " zur " + DisplayName(pinName) : "") +
                " eingeben\nVerbleibende Versuche: " + std::to_string(tries),
            name + ":", false};
}

PinQuestion NewPinQuestion(const CardRecord& card, const std::string& pinName) {
    const PinRecord& pin = *card.Pin(pinName);
    return {CardLine(card) + "Neue " + DisplayName(pinName) + " eingeben, " +
                std::to_string(pin.m_MinLength) + " bis " + std::to_string(pin.m_MaxLength) + " Ziffern",
            "Neue PIN:", true};
}

const PinRecord& UsablePin(const CardRecord& card, const std::string& pinName) {
    const PinRecord* pin = card.Pin(pinName);
    if (pin == nullptr || !pin->IsInitialised()) {
        throw Refusal{CKR_USER_PIN_NOT_INITIALIZED};
    }
    if (pin->m_Pin.IsBlocked()) {
        throw Refusal{CKR_PIN_LOCKED};
    }
    return *pin;
}

CK_RV TrySecret(CountedSecret& secret, const Secret& candidate) {
    if (secret.Check(candidate.Text())) {
        return CKR_OK;
    }
    return secret.IsBlocked() ? CKR_PIN_LOCKED : CKR_PIN_INCORRECT;
}

void ChangeCard(Deck& deck, Slot& slot, const std::function<CK_RV(Card&)>& change) {
    CK_RV result = CKR_OK;
    {
        const DirectoryLock lock(slot.m_Directory);
        const Card before = LoadForChange(slot.m_Directory);
        Card after = before;
        result = change(after);
        SaveChanges(slot.m_Directory, before, after);
    }
    deck.Refresh(slot);
    if (result != CKR_OK) {
        throw Refusal{result};
    }
}

void CheckPin(Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName, const Secret& pin) {
    const SessionView view = runtime.ViewOf(session);
    ChangeCard(runtime.GetDeck(), view.m_Slot, [&](Card& card) {
        UsablePin(card.m_Record, pinName);
        return TrySecret(card.m_Record.Pin(pinName)->m_Pin, pin);
    });
}

void Authorise(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName) {
    const SessionView view = runtime.ViewOf(session);
    const bool isGiven = pinName == ENCRYPTION_PIN && view.m_Slot.m_IsLoggedIn;
    if (pinName.empty() || isGiven) {
        return;
    }
    UsablePin(view.m_Card->Record(), pinName);
    const Secret pin = call.Ask(SecretQuestion(view.m_Card->Record(), pinName, SecretKind::PIN));
    CheckPin(runtime, session, pinName, pin);
}

} // namespace orselsim
