// SPDX-License-Identifier: MIT
// Every operation of the card class with its card pulled out of the reader before and after each call that it
// makes, and with another card put in at that moment. When the card is back, the same operation gives what it
// should.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <iostream>

#include "tests/card/CallWatcher.h"
#include "tests/card/FaultMatrix.h"

namespace {

/// Those that have to do with a card.
std::vector<MatrixOperation> OperationsOnACard() {
    std::vector<MatrixOperation> operations = MatrixOperations();
    operations.erase(std::remove_if(operations.begin(), operations.end(),
                                    [](const MatrixOperation& operation) {
                                        return operation.m_Name == "Init" || operation.m_Name == "Destroy";
                                    }),
                     operations.end());
    return operations;
}

/// What happens to the card at a call.
enum class Event { PULLED_BEFORE, PULLED_AFTER, EXCHANGED };

class AnOperationWhoseCardLeaves : public testing::TestWithParam<MatrixOperation> {
protected:
    void SetUp() override {
        orseltest::SimDeck& deck = m_Context.m_Deck;
        m_Context.m_CardName =
            deck.Add(GetParam().m_Kind, orseltest::CardOptions().Serial(m_Context.m_Serial));
        if (GetParam().m_Prepare) {
            GetParam().m_Prepare(m_Context);
            m_Context.LetGo();
        }
        for (int run = 0; run < 2; ++run) { // one that is cut short, and the one after it
            deck.AnswerPins(GetParam().m_Pins);
        }
        m_Pristine = deck.Read(m_Context.m_CardName);
        m_Other = deck.Add("acos-a04", orseltest::CardOptions().Serial("8004000099998888"));
        m_OtherRecord = orselsim::PrintCardRecord(deck.Read(m_Other).m_Record);
        deck.TakeOut(m_Other);
    }
    void TearDown() override { CallWatcher::Reset(); }

    size_t CountCalls() {
        EXPECT_EQ(Run(), GetParam().m_Good);
        const size_t calls = CallWatcher::m_Calls;
        m_Context.LetGo();
        return calls;
    }

    /// The operation, cut short at a call. What comes back is whatever is stated of the calls behind it; it
    /// is over, and the other card is as it was.
    void CutShort(size_t call, Event event) {
        const auto happen = [this, call, event](size_t number) {
            if (number == call) {
                m_Context.m_Deck.TakeOut(m_Context.m_CardName);
                if (event == Event::EXCHANGED) {
                    m_Context.m_Deck.PutBack(m_Other);
                }
            }
        };
        CallWatcher::Reset();
        (event == Event::PULLED_AFTER ? CallWatcher::m_After : CallWatcher::m_Before) = happen;
        m_Context.m_Deck.Change(m_Context.m_CardName, [this](orselsim::Card& card) { card = m_Pristine; });
        RunOnIt();
        if (event == Event::EXCHANGED) {
            EXPECT_EQ(orselsim::PrintCardRecord(m_Context.m_Deck.Read(m_Other).m_Record), m_OtherRecord);
            m_Context.m_Deck.TakeOut(m_Other);
        }
        m_Context.m_Deck.PutBack(m_Context.m_CardName);
        if (m_Context.m_Card) {
            m_Context.m_Card->CloseSession(); // as its caller does
        }
    }

    /// The same object once more, and a new one where the operation is about that.
    void ExpectThatItWorksAgain() {
        CallWatcher::Reset();
        if (!ProbedCard::m_bInitialized || GetParam().m_Stage == Stage::UNBOUND) {
            m_Context.LetGo();
        }
        m_Context.m_Deck.Change(m_Context.m_CardName, [this](orselsim::Card& card) { card = m_Pristine; });
        EXPECT_EQ(RunOnIt(), GetParam().m_Good);
        m_Context.LetGo();
    }

private:
    std::string Run() {
        CallWatcher::Reset();
        m_Context.m_Deck.Change(m_Context.m_CardName, [this](orselsim::Card& card) { card = m_Pristine; });
        return RunOnIt();
    }
    /// Counts from the operation's first call.
    std::string RunOnIt() {
        const auto before = std::exchange(CallWatcher::m_Before, [](size_t) {});
        const auto after = std::exchange(CallWatcher::m_After, [](size_t) {});
        m_Context.GoTo(GetParam().m_Stage);
        if (m_Context.m_Card) {
            m_Context.m_Card->ClearCertVector();
        }
        CallWatcher::Watch();
        CallWatcher::m_Calls = 0;
        CallWatcher::m_Before = before;
        CallWatcher::m_After = after;
        return GetParam().m_Run(m_Context);
    }

    MatrixContext m_Context;
    orselsim::Card m_Pristine;
    std::string m_Other; ///< a card that is no business of the operation's
    orselsim::Bytes m_OtherRecord;
};

} // namespace

TEST_P(AnOperationWhoseCardLeaves, WorksAgainWhenItIsBack) {
    const size_t calls = CountCalls();
    ASSERT_NE(calls, 0U);
    size_t cases = 0;
    for (size_t call = 1; call <= calls; ++call) {
        for (const Event event : {Event::PULLED_BEFORE, Event::PULLED_AFTER, Event::EXCHANGED}) {
            SCOPED_TRACE("call " + std::to_string(call) + ", event " +
                         std::to_string(static_cast<int>(event)));
            CutShort(call, event);
            ExpectThatItWorksAgain();
            ++cases;
        }
    }
    std::cout << GetParam().m_Name << ": " << calls << " calls, " << cases << " cases\n";
}

INSTANTIATE_TEST_SUITE_P(Of, AnOperationWhoseCardLeaves, testing::ValuesIn(OperationsOnACard()),
                         [](const testing::TestParamInfo<MatrixOperation>& operation) {
                             return operation.param.m_Name;
                         });
