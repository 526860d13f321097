// SPDX-License-Identifier: MIT
// What the windows tell the application's logger, which the program keeps switched off.
#include "app/MainFrame.h"

#include "app/OrselCardsLogger.h"
#include "foundation/Logging.h"
#include "tests/app/CardWindow.h"
#include "tests/app/ThreadStart.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TheLogOfTheWindow : public CardWindowTest<> {
protected:
    void SetUp() override {
        m_Deck.Add("acos-a04");
        Velmor::LibLogging* const logger = OrselCardsLogger::GetHandle();
        logger->Init(m_Deck.Folder() + "/window.log", 1000, false);
        logger->LogToBuffer(Velmor::LOG_BUFFER_ONLY, 1000);
        logger->Enabled(true);
    }
    void TearDown() override {
        m_Frame.reset();
        OrselCardsLogger::GetHandle()->Destroy();
    }

    /// The lines since the last question, oldest first, errors with "E " and messages with "M " before them.
    std::vector<std::string> Lines() {
        std::vector<std::string> lines;
        for (const Velmor::LogEntry& entry : OrselCardsLogger::GetHandle()->GetLogBuffer()) {
            const bool isError = entry.m_Level == Velmor::DEBUG_LEVEL_ERROR;
            EXPECT_TRUE(isError || entry.m_Level == Velmor::DEBUG_LEVEL_MESSAGE);
            lines.insert(lines.begin(), (isError ? "E " : "M ") + entry.m_Text);
        }
        OrselCardsLogger::GetHandle()->ClearLogBuffer();
        return lines;
    }
    /// Opens the window with these faults ahead; the log of its first refresh is what the test gets.
    void OpenWith(const std::vector<std::string>& faults) {
        m_Deck.PlanFaults(faults);
        Open();
    }
};

} // namespace

TEST_F(TheLogOfTheWindow, HasALineForEachRefresh) {
    Open();
    EXPECT_THAT(Lines(), ElementsAre("M evt_reload"));
    Reload();
    EXPECT_THAT(Lines(), ElementsAre("M evt_reload"));
}

TEST_F(TheLogOfTheWindow, TellsOfARefreshWithoutSlots) {
    OpenWith({"C_GetSlotList call=1 rv=CKR_DEVICE_ERROR"});
    EXPECT_THAT(Lines(), ElementsAre("M evt_reload", "E Error pkcs#11 GetSlots"));
}

TEST_F(TheLogOfTheWindow, TellsOfACardThatDoesNotOpenInARefresh) {
    OpenWith({"C_OpenSession call=1 rv=CKR_DEVICE_ERROR"});
    EXPECT_THAT(Lines(), ElementsAre("M evt_reload", "E Error open pkcs#11 session"));
}

TEST_F(TheLogOfTheWindow, TellsOfARefreshThatDoesNotStart) {
    Open();
    Lines();
    const NoThreadStarts none;
    Reload();
    EXPECT_THAT(Lines(), ElementsAre("M evt_reload", "E cannot start card refresh thread"));
}

TEST_F(TheLogOfTheWindow, TellsOfACommandWithoutSlots) {
    OpenWith({"C_GetSlotList call=5 rv=CKR_DEVICE_ERROR"}); // four belong to the first refresh
    Lines();
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_THAT(Lines(), ElementsAre("E cannot load card list"));
}

TEST_F(TheLogOfTheWindow, TellsOfACommandWhoseCardDoesNotOpen) {
    OpenWith({"C_OpenSession call=2 rv=CKR_DEVICE_ERROR"});
    Lines();
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_THAT(Lines(), ElementsAre("E Error open pkcs#11 session"));
}

TEST_F(TheLogOfTheWindow, TellsOfACertificateThatItCannotShow) {
    OpenWith({"C_FindObjectsInit call=2 rv=CKR_DEVICE_ERROR"}); // one belongs to the first refresh
    Lines();
    Press(ID_SIG_SHOW_CERT);
    EXPECT_THAT(Lines(), ElementsAre("E error writing cert to file"));
}

TEST_F(TheLogOfTheWindow, HasNothingOfACommandThatSucceeds) {
    Open();
    Lines();
    m_Deck.AnswerPins({"123456", "654321", "654321"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TheLogOfTheWindow, StaysEmptyWhileTheLoggerIsOff) {
    OrselCardsLogger::GetHandle()->Enabled(false);
    Open();
    EXPECT_THAT(Lines(), IsEmpty());
}
