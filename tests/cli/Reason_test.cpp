// SPDX-License-Identifier: MIT
#include "cli/Reason.h"

#include <gmock/gmock.h>

#include <cctype>
#include <map>
#include <set>

using orselcli::Outcome;
using orselcli::Reason;
using orselcli::ReasonOf;
using orselcli::Reasons;
using orselcli::ReasonWords;
using testing::HasSubstr;

TEST(TheReasons, HaveATextAndANameOfTheirOwnEach) {
    std::set<std::string> texts;
    std::set<std::string> ids;
    std::set<Reason> reasons;
    for (const ReasonWords& row : Reasons()) {
        EXPECT_TRUE(texts.insert(row.m_Text).second) << row.m_Text;
        EXPECT_TRUE(ids.insert(row.m_Id).second) << row.m_Id;
        EXPECT_TRUE(reasons.insert(row.m_Reason).second) << row.m_Id;
    }
}

TEST(TheReasons, LeaveNoneOut) {
    EXPECT_EQ(Reasons().size(), static_cast<size_t>(Reason::NO_LIBRARY_FOUND) + 1);
}

TEST(TheReasons, AreWordsAndNoNumbers) {
    for (const ReasonWords& row : Reasons()) {
        const std::string text = row.m_Text;
        EXPECT_EQ(text.find("0x"), std::string::npos) << text;
        EXPECT_EQ(text.find("CKR_"), std::string::npos) << text;
        if (row.m_Reason != Reason::USAGE) {
            EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(text[0])) != 0 || text[0] == '"') << text;
        }
    }
}

TEST(TheReasons, SayWhatToDoNextButForTheFewWhereThereIsNothing) {
    std::set<std::string> silent;
    for (const ReasonWords& row : Reasons()) {
        if (std::string(row.m_Next).empty()) {
            silent.insert(row.m_Id);
        }
    }
    EXPECT_THAT(silent, testing::UnorderedElementsAre("done", "declined", "interrupted", "attribute-secret"));
}

TEST(TheReasons, StandForTheCodesThatCardsGive) {
    const std::map<CK_RV, Reason> expected = {
        {CKR_OK, Reason::DONE},
        {CKR_FUNCTION_CANCELED, Reason::CANCELLED},
        {CKR_PIN_INCORRECT, Reason::WRONG_PIN},
        {CKR_PIN_LOCKED, Reason::PIN_BLOCKED},
        {CKR_FUNCTION_NOT_SUPPORTED, Reason::NOT_SUPPORTED},
        {CKR_DEVICE_REMOVED, Reason::CARD_GONE},
        {CKR_TOKEN_NOT_PRESENT, Reason::NO_CARD_IN_READER},
        {CKR_SIGNATURE_INVALID, Reason::SIGNATURE_INVALID},
        {CKR_VENDOR_DEFINED + 5, Reason::UNKNOWN_CODE},
    };
    for (const auto& [code, reason] : expected) {
        EXPECT_EQ(ReasonOf(code), reason) << code;
    }
}

TEST(AWrongPin, TellsTheTriesThatAreLeft) {
    EXPECT_THAT(Outcome(Reason::WRONG_PIN).WithTries(2).Text(), HasSubstr("2 tries are left"));
    EXPECT_THAT(Outcome(Reason::WRONG_PIN).WithTries(1).Text(), HasSubstr("1 try is left"));
    EXPECT_THAT(Outcome(Reason::WRONG_PIN).WithTries(0).Text(), HasSubstr("blocked now"));
    EXPECT_THAT(Outcome(Reason::WRONG_PIN).Text(), HasSubstr("does not tell"));
}

TEST(AnInterruption, EndsWithTheNumberOfItsSignal) {
    EXPECT_EQ(Outcome(Reason::INTERRUPTED).WithSignal(2).ExitCode(), 130);
}
