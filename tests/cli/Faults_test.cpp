// SPDX-License-Identifier: MIT
// Every command with every call that it makes going wrong in every way: nothing falls over, no session stays
// open, a command that says it is done has given what it gives without a fault, and one that is not says why.
#include <cstdio>
#include <iostream>

#include "cli/Reason.h"
#include "tests/cli/CommandCases.h"

using orseltest::CardCall;
using orseltest::CardFault;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class AFaultyLibrary : public ACommand {
protected:
    void ExpectAGoodEnd(const CardFault& fault) {
        m_Deck.PlanFaults({fault.GetLine()});
        std::remove(PathOf("OUT").c_str());
        const CliResult result = Run();
        EXPECT_TRUE(fault.IsMetIn(m_Deck.GetTrace()));
        ExpectNoSession();
        ExpectNoRemains();
        EXPECT_THAT(result.m_Code, testing::AnyOf(0, 1, 3, 4));
        if (result.m_Code == 0 && !GetParam().m_MayBePartial) {
            EXPECT_EQ(result.m_Out, m_Good.m_Out);
            EXPECT_EQ(Out(), m_GoodFile);
        }
        if (result.m_Code != 0) {
            EXPECT_THAT(result.m_Error,
                        testing::AnyOf(HasSubstr("orselcards-cli: "), HasSubstr("{\"error\":")));
            EXPECT_THAT(result.m_Error, Not(HasSubstr("cannot be used: Done.")));
            EXPECT_EQ(Out(), "");
        }
    }

    CliResult m_Good;
    std::string m_GoodFile;
};

} // namespace

TEST_P(AFaultyLibrary, LetsEveryCommandEndWell) {
    m_Good = Run();
    m_GoodFile = Out();
    ASSERT_EQ(m_Good.m_Code, 0) << m_Good.m_Error;
    const std::vector<CardCall> calls = orseltest::CallsOfCommand(m_Deck.GetTrace(), 0);
    ASSERT_THAT(calls, Not(IsEmpty()));
    size_t cases = 0;
    for (const CardCall& call : calls) {
        for (const CardFault& fault : orseltest::FaultsOf(call)) {
            SCOPED_TRACE(fault.GetLine());
            ExpectAGoodEnd(fault);
            ++cases;
        }
    }
    std::cout << GetParam().m_Name << ": " << calls.size() << " calls, " << cases << " cases\n";
}

INSTANTIATE_TEST_SUITE_P(Under, AFaultyLibrary,
                         testing::ValuesIn(CommandCasesWithout({"InfoboxUnprotect", "IdentityLinkToAFile"})),
                         NameOfCase);

namespace {

class ACardThatGoes : public CliTest {};

} // namespace

TEST_F(ACardThatGoes, InTheMiddleIsToldAsSuch) {
    m_Deck.Add("acos-a04");
    FileOf("text", "a text");
    m_Deck.AnswerPins({"123456"});
    for (const char* function :
         {"C_OpenSession", "C_FindObjectsInit", "C_GetAttributeValue", "C_SignInit", "C_Sign"}) {
        m_Deck.PlanFaults({std::string(function) + " rv=CKR_DEVICE_REMOVED"});
        const CliResult result =
            RunCli({"sign", "signature", PathOf("text"), "--hash", "sha256", "--out", PathOf("out")});
        EXPECT_EQ(result.m_Code, 1) << function;
        EXPECT_THAT(result.m_Error, HasSubstr("The card was taken out.")) << function;
        EXPECT_EQ(ContentOf(PathOf("out")), "");
        ExpectNoSession();
    }
}

TEST_F(ACardThatGoes, LeavesTheOthersInTheList) {
    m_Deck.Add("acos-a04", orseltest::CardOptions().Serial("0512380917624502"));
    m_Deck.Add("ecard-g4", orseltest::CardOptions().Serial("8004000445566778"));
    m_Deck.PlanFaults({"C_OpenSession call=1 rv=CKR_DEVICE_REMOVED"});
    const CliResult result = RunCli({"list"});
    EXPECT_EQ(result.m_Code, 0);
    EXPECT_THAT(result.m_Out, testing::AllOf(HasSubstr("0512380917624502"), HasSubstr("8004000445566778")));
    EXPECT_THAT(result.m_Error, HasSubstr("@1: The card was taken out."));
}
