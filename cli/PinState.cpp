// SPDX-License-Identifier: MIT
#include "cli/PinState.h"

#include <nlohmann/json.hpp>

#include "cli/CallWitness.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;

/// The command line's words for the PINs, by application.
constexpr const char* PIN_NAMES[] = {"signature", "encryption", "identity-link"};

PinState StateOf(Cards& cards, Velmor::ApplType pin) {
    PinState state;
    state.m_Pin = pin;
    CallWitness::Forget();
    const int result = cards.GetPINStatus(pin, state.m_State, state.m_Tries);
    state.m_IsTold = result == 0;
    if (!state.m_IsTold) {
        state.m_State = Velmor::PIN_STATE_UNKNOWN; // a failed query reads as a blocked PIN
        state.m_Tries = -1;
    }
    if (CallWitness::HasSeenFailure() && result != -2) {
        state.m_Problem = FailureOf();
    }
    return state;
}

} // namespace

std::string PinState::InWords() const {
    if (!m_Problem.IsDone()) {
        return m_Problem.Text();
    }
    if (!m_IsTold) {
        return Tr("the card does not tell");
    }
    switch (m_State) {
    case Velmor::PIN_STATE_BLOCKED:
        return Tr("blocked");
    case Velmor::PIN_STATE_OK:
        return Filled(
            TrCount("good, {} try is left", "good, {} tries are left", static_cast<unsigned long>(m_Tries)),
            {std::to_string(m_Tries)});
    default:
        return Tr("not set yet");
    }
}

Json PinState::AsJson() const {
    const char* state = "not-told";
    if (m_IsTold) {
        state = m_State == Velmor::PIN_STATE_BLOCKED ? "blocked"
                : m_State == Velmor::PIN_STATE_OK    ? "good"
                                                     : "not-set";
    }
    Json json = {{"pin", PIN_NAMES[m_Pin]},
                 {"state", state},
                 {"triesLeft", m_Tries >= 0 ? Json(m_Tries) : Json(nullptr)}};
    if (!m_Problem.IsDone()) {
        json["problem"] = m_Problem.Id();
    }
    return json;
}

// The type of the card decides whether it is asked, and the class keeps that of the card before.
std::vector<PinState> PinStates(Cards& cards) {
    CallWitness::Forget();
    const bool hasAtr = !cards.ReadATR(true).empty();
    const Outcome problem = hasAtr || !CallWitness::HasSeenFailure() ? Outcome() : FailureOf();
    cards.LoadCardType();
    std::vector<PinState> states;
    for (const Velmor::ApplType pin :
         {Velmor::ApplSignature, Velmor::ApplEncryption, Velmor::ApplIdentityLink}) {
        states.push_back(StateOf(cards, pin));
        if (!problem.IsDone()) {
            states.back().m_Problem = problem;
        }
    }
    return states;
}

} // namespace orselcli
