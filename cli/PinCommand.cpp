// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/DataObjects.h"
#include "cli/Names.h"
#include "cli/PinState.h"
#include "cli/Table.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;
using Velmor::ApplType;

Outcome ShowStates(Context& context, const CardRow& row) {
    Json states = Json::array();
    std::vector<std::pair<std::string, std::string>> lines;
    for (const PinState& state : PinStates(context.m_Cards)) {
        if (!state.m_Problem.IsDone()) {
            return state.m_Problem;
        }
        states.push_back(state.AsJson());
        lines.emplace_back(PinInWords(state.m_Pin), state.InWords());
    }
    if (context.m_Request.m_Json) {
        context.m_Console.PrintJson({{"card", row.m_Number}, {"pins", states}});
    } else {
        context.m_Console.Print(Fields(lines));
    }
    return {};
}

/// The outcome of a PIN command, which the card class tells by a result of its own.
Outcome OutcomeOf(Cards& cards, ApplType pin, Velmor::PKCS11Return result) {
    if (result == Velmor::P11_OK) {
        return {};
    }
    const Outcome outcome = FailureOfPin(cards, pin, Reason::NO_KEY);
    const bool isMissingLink = outcome.Why() == Reason::NO_KEY && pin == Velmor::ApplIdentityLink;
    return isMissingLink ? MissingIdentityLink(cards) : outcome;
}

} // namespace

Outcome RunPin(Context& context) {
    return WithSession(context, [&context](const CardRow& row) {
        if (context.m_Request.m_Words.empty()) {
            return ShowStates(context, row);
        }
        if (row.m_IsEmpty) {
            return Outcome(Reason::EMPTY_CARD);
        }
        const bool isChange = context.m_Request.Word(0) == "change";
        const ApplType pin = ApplicationOf(context.m_Request.Word(1));
        const Velmor::PKCS11Return result =
            isChange ? context.m_Cards.ChangePIN(pin) : context.m_Cards.UnblockPIN(pin);
        const Outcome outcome = OutcomeOf(context.m_Cards, pin, result);
        if (!outcome.IsDone()) {
            return outcome;
        }
        context.m_HasActed = true;
        if (context.m_Request.m_Json) {
            context.m_Console.PrintJson({{"card", row.m_Number},
                                         {"pin", context.m_Request.Word(1)},
                                         {"done", context.m_Request.Word(0)}});
        } else if (!context.m_Request.m_Quiet) {
            context.m_Console.Print((isChange ? Tr("The PIN is changed.") : Tr("The PIN is unblocked.")) +
                                    "\n");
        }
        return outcome;
    });
}

} // namespace orselcli
