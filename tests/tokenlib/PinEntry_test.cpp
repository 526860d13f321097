// SPDX-License-Identifier: MIT
// Questions to the program pinentry are tested through the simulated library.
#include "tokenlib/PinEntry.h"

#include <gmock/gmock.h>

#include "tests/support/TempDir.h"
#include "tokenlib/Refusal.h"

using tokenlib::PinEntry;
using tokenlib::Refusal;
using tokenlib::Secret;

namespace {

std::string AnswerTo(PinEntry& entry, bool isNew = false) {
    const std::optional<Secret> answer = entry.Ask({"card", "PIN:", isNew});
    return answer ? answer->Text() : "(cancelled)";
}

} // namespace

TEST(AScriptOfAnswers, IsUsedLineByLine) {
    const TempDir folder;
    PinEntry entry(folder.File("answers", "1234\r\n\ncancel\n4321"));
    EXPECT_EQ("1234", AnswerTo(entry));
    EXPECT_EQ("", AnswerTo(entry));
    EXPECT_EQ("(cancelled)", AnswerTo(entry));
    EXPECT_EQ("4321", AnswerTo(entry));
    EXPECT_EQ("(cancelled)", AnswerTo(entry)) << "behind its end";
}

TEST(AScriptOfAnswers, GivesANewPinTwice) {
    const TempDir folder;
    PinEntry entry(folder.File("answers", "1234\n1234\n1234\n4321\n"));
    EXPECT_EQ("1234", AnswerTo(entry, true));
    try {
        AnswerTo(entry, true);
        FAIL() << "two different PINs";
    } catch (const Refusal& refusal) {
        EXPECT_EQ(CKR_PIN_INVALID, refusal.m_Code);
    }
    PinEntry cancelled(folder.File("others", "1234\ncancel\n"));
    EXPECT_EQ("(cancelled)", AnswerTo(cancelled, true));
}

TEST(AScriptOfAnswers, ThatIsNotThereLeavesNobodyToAsk) {
    PinEntry entry("/no/such/file");
    testing::internal::CaptureStderr();
    EXPECT_THROW(AnswerTo(entry), Refusal);
    EXPECT_EQ("OrselP11: no PIN script: /no/such/file: No such file or directory\n",
              testing::internal::GetCapturedStderr());
}
