// SPDX-License-Identifier: MIT
// The card is pulled out of its reader, or exchanged for another, before and within each command of the
// window.
#include "tests/app/WindowCommands.h"

#include <iostream>
#include <set>

using orseltest::CardCall;
using testing::IsEmpty;
using testing::Not;

namespace {

/// A command during which the card leaves its reader.
class ACommandWhoseCardLeaves : public ACommandOfTheWindow {
protected:
    /// What a library answers from one call on when the card has gone: for the list of slots none, for all
    /// else that the card is not there. Calls that the command then makes besides are for closing.
    static std::vector<std::string> GoneFrom(std::size_t position, const std::vector<CardCall>& calls) {
        std::vector<std::string> faults = {"C_CloseSession rv=CKR_DEVICE_REMOVED"};
        std::set<std::string> functions;
        for (std::size_t i = position; i < calls.size(); ++i) {
            const CardCall& call = calls[i];
            if (call.m_Function == "C_CloseSession") {
                continue;
            }
            faults.push_back(call.m_Function + " call=" + std::to_string(call.m_NumberInTotal) +
                             (call.m_Function == "C_GetSlotList" ? " length=0" : " rv=CKR_DEVICE_REMOVED"));
        }
        return faults;
    }

    /// Everything that the command may tell of a card that does not answer.
    std::set<std::string> StatedOutcomes() const {
        std::set<std::string> outcomes = {GetParam().m_Done, GetParam().m_Failed, ""};
        if (GetParam().m_Button == ID_RELOAD) { // neither its holder nor its type
            outcomes.insert("8004000011112222 | unbekannt | Karte von Erika, mit 32 Zeichen.");
        }
        for (const auto& [call, outcome] : GetParam().m_Otherwise) {
            outcomes.insert(outcome);
        }
        return outcomes;
    }

    void ExpectThatItWorksAgain() {
        m_Deck.PlanFaults({});
        BindAnew(); // which reads the plan
        Reload();
        ExpectAlive();
        EXPECT_EQ(RunAnew({}), GetParam().m_Done);
        ExpectAlive();
    }
};

INSTANTIATE_TEST_SUITE_P(Commands, ACommandWhoseCardLeaves, testing::ValuesIn(WindowCommands()),
                         [](const auto& command) { return command.param.m_Name; });

} // namespace

TEST_P(ACommandWhoseCardLeaves, EndsWithAStatedOutcomeAndWorksWhenItIsBack) {
    const std::vector<CardCall> calls = FindCalls();
    ASSERT_THAT(calls, Not(IsEmpty()));
    for (const CardCall& call : calls) {
        SCOPED_TRACE("gone from " + call.m_Function + " on, call " + std::to_string(call.m_Position));
        EXPECT_THAT(StatedOutcomes(), testing::Contains(RunAnew(GoneFrom(call.m_Position, calls))));
        ExpectAlive();
        ExpectThatItWorksAgain();
    }
    std::cout << GetParam().m_Name << ": pulled, " << calls.size() << " calls, " << calls.size()
              << " cases\n";
}

TEST_P(ACommandWhoseCardLeaves, FindsNoCardInAnEmptyReader) {
    m_Deck.Remove(m_Card);
    const std::string outcome = RunAnewOnWhatIsThere();
    EXPECT_THAT(StatedOutcomes(), testing::Contains(outcome));
    EXPECT_NE(outcome, GetParam().m_Done);
    EXPECT_THAT(m_Deck.GetTrace("C_OpenSession"), IsEmpty()) << "there is nothing to open";

    m_Card = AddCard(SERIAL);
    ExpectThatItWorksAgain();
}

TEST_P(ACommandWhoseCardLeaves, LeavesAnotherCardInItsReaderAlone) {
    m_Deck.Remove(m_Card);
    m_Card = AddCard("8004000099998888");
    const orselsim::Card other = m_Deck.Read(m_Card);
    const std::string outcome = RunAnewOnWhatIsThere();
    if (GetParam().m_Button == ID_RELOAD) {
        EXPECT_EQ(outcome, "8004000099998888 | Erika Probe | Orsel Carta ACOS 03");
    } else {
        EXPECT_THAT(StatedOutcomes(), testing::Contains(outcome));
        EXPECT_NE(outcome, GetParam().m_Done);
        EXPECT_THAT(m_Deck.GetTrace("C_OpenSession"), IsEmpty()) << "the other card is not the selected one";
    }
    EXPECT_EQ(orselsim::PrintCardRecord(m_Deck.Read(m_Card).m_Record),
              orselsim::PrintCardRecord(other.m_Record));
    ExpectAlive();

    Reload();
    EXPECT_THAT(CardList(), testing::HasSubstr("8004000099998888"));
}
