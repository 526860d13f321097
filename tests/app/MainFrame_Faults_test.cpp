// SPDX-License-Identifier: MIT
// Every call that a command of the window makes goes wrong once, in each of the ways in which token libraries
// fail, and once takes two seconds. The window stays alive and enabled, says what it has to say and no more,
// leaves no session open, and the same command works the next time.
#include "tests/app/WindowCommands.h"

#include <iostream>
#include <set>

using orseltest::CardCall;
using orseltest::CardFault;
using testing::IsEmpty;
using testing::Not;

INSTANTIATE_TEST_SUITE_P(Commands, ACommandOfTheWindow, testing::ValuesIn(WindowCommands()),
                         [](const auto& command) { return command.param.m_Name; });

TEST_P(ACommandOfTheWindow, HasTheStatedOutcomeWhicheverCallFails) {
    const std::vector<CardCall> calls = FindCalls();
    ASSERT_THAT(calls, Not(IsEmpty()));
    size_t cases = 0;
    for (const CardCall& call : calls) {
        for (const CardFault& fault : orseltest::FaultsOf(call)) {
            ExpectStatedOutcome(fault);
            ++cases;
        }
    }
    std::cout << GetParam().m_Name << ": " << calls.size() << " calls, " << cases << " cases\n";
}

TEST_P(ACommandOfTheWindow, WaitsForACardThatTakesItsTimeForACall) {
    constexpr int MILLISECONDS = 100; // many times what a call takes otherwise
    std::set<std::string> delayed;
    for (const CardCall& call : FindCalls()) {
        if (!delayed.insert(call.m_Function).second) {
            continue;
        }
        SCOPED_TRACE(call.m_Function);
        EXPECT_EQ(RunAnew({call.m_Function + " call=" + std::to_string(call.m_NumberInTotal) +
                           " delay=" + std::to_string(MILLISECONDS)}),
                  GetParam().m_Done);
        EXPECT_GE(m_Deck.GetTrace(call.m_Function).front().m_Microseconds, MILLISECONDS * 1000);
        ExpectAlive();
    }
    std::cout << GetParam().m_Name << ": " << delayed.size() << " delays\n";
}
