// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/CallWitness.h"
#include "cli/Commands.h"
#include "cli/Interruption.h"
#include "cli/Table.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;

/// What the list says of one card.
struct ListedCard {
    CardRow m_Row;
    std::string m_Kind;
    std::string m_Holder; ///< empty: not known
    Outcome m_Problem;    ///< why the card could not be opened
};

ListedCard Look(Cards& cards, const CardRow& row) {
    ListedCard listed{row, cards.KindOf(row), "", {}};
    const CardSession session(cards, row);
    if (session.IsOpen()) {
        listed.m_Holder = cards.Holder();
    } else {
        listed.m_Problem = FailureOf();
    }
    return listed;
}

Json JsonOf(const ListedCard& card) {
    Json json = {{"position", card.m_Row.Position()},
                 {"number", card.m_Row.m_Number},
                 {"kind", card.m_Kind},
                 {"label", card.m_Row.m_Label},
                 {"holder", card.m_Holder.empty() ? Json(nullptr) : Json(card.m_Holder)},
                 {"empty", card.m_Row.m_IsEmpty}};
    if (!card.m_Problem.IsDone()) {
        json["problem"] = card.m_Problem.Id();
    }
    return json;
}

void PrintTable(const std::vector<ListedCard>& cards, Console& console) {
    Table table({"", Tr("Number"), Tr("Kind"), Tr("Label"), Tr("Holder")});
    for (const ListedCard& card : cards) {
        const std::string holder = card.m_Holder.empty() ? Tr("unknown") : Harmless(card.m_Holder);
        table.Add({"@" + std::to_string(card.m_Row.Position()), Harmless(card.m_Row.m_Number),
                   Harmless(card.m_Kind), Harmless(card.m_Row.m_Label), holder});
    }
    table.PrintTo(console);
}

void PrintNumbers(const std::vector<ListedCard>& cards, Console& console) {
    for (const ListedCard& card : cards) {
        console.Print(Harmless(card.m_Row.m_Number) + "\n");
    }
}

} // namespace

Outcome RunList(Context& context) {
    std::vector<CardRow> rows;
    Outcome outcome = context.m_Cards.List(rows);
    if (outcome.IsDone() && rows.empty() && context.m_Request.m_WaitSeconds > 0) {
        CardRow any;
        outcome = ChooseCard(context, any);
        outcome = outcome.Why() == Reason::SEVERAL_CARDS ? Outcome() : outcome;
        outcome = outcome.IsDone() ? context.m_Cards.List(rows) : outcome;
    }
    if (!outcome.IsDone()) {
        return outcome;
    }
    std::vector<ListedCard> cards;
    for (const CardRow& row : rows) {
        cards.push_back(Look(context.m_Cards, row));
        if (Interruption::HasCome()) {
            return FailureOf();
        }
    }
    if (context.m_Request.m_Json) {
        Json list = Json::array();
        for (const ListedCard& card : cards) {
            list.push_back(JsonOf(card));
        }
        context.m_Console.PrintJson({{"cards", list}});
    } else if (context.m_Request.m_Quiet) {
        PrintNumbers(cards, context.m_Console);
    } else if (cards.empty()) {
        context.m_Console.Note(Outcome(Reason::NO_CARDS).Text());
    } else {
        PrintTable(cards, context.m_Console);
    }
    for (const ListedCard& card : cards) {
        if (!card.m_Problem.IsDone()) {
            context.m_Console.Note("@" + std::to_string(card.m_Row.Position()) + ": " +
                                   card.m_Problem.Text());
        }
    }
    return {};
}

} // namespace orselcli
