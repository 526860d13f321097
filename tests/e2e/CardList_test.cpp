// SPDX-License-Identifier: MIT
// The built program on decks of its own, with real pointer events.
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

#include "images/Images.h"
#include "tests/e2e/Desktop.h"
#include "tests/e2e/Program.h"
#include "tests/support/RefreshCalls.h"
#include "tests/support/SimDeck.h"

using orseltest::CardOptions;
using orseltest::SimDeck;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr const char* GERMAN_WINDOW = "^Kartenverwaltung";
constexpr const char* BUSY_DIALOG = "^Bitte warten";
constexpr int ENDED_AS_A_SECOND_ONE = 255; ///< the toolkit's exit code for a start that is refused

class TheProgram : public testing::Test {
protected:
    /// Starts it and waits until its list shows this many cards.
    void Start(size_t cards) {
        m_Program = std::make_unique<Program>(m_Deck.Folder());
        ASSERT_TRUE(desktop::WaitFor([] { return !desktop::Windows(GERMAN_WINDOW).empty(); }))
            << m_Program->Output();
        ASSERT_TRUE(desktop::WaitFor([=] { return ShownCards() == cards; }))
            << ShownCards() << m_Program->Output();
        // While the busy dialog is there, the window hears nothing.
        ASSERT_TRUE(desktop::WaitFor([] { return desktop::Windows(BUSY_DIALOG).empty(); }));
    }
    /// Closes its window and returns its exit code.
    int Close() {
        EXPECT_TRUE(desktop::CloseAll(GERMAN_WINDOW));
        return m_Program->WaitForEnd();
    }
    static size_t ShownCards() { return desktop::Screen::Capture().Find(chip_small_xpm).size(); }
    static void PressReload() {
        const auto places = desktop::Screen::Capture().Find(ButtonReload);
        ASSERT_THAT(places, SizeIs(1));
        desktop::Click({places[0].m_X + 16, places[0].m_Y + 16});
    }
    SimDeck m_Deck;
    std::unique_ptr<Program> m_Program;
};

} // namespace

TEST_F(TheProgram, ShowsEveryCardAndSeesANewOneAfterThePersonPressesReload) {
    m_Deck.Add("acos-a04");
    m_Deck.Add("ecard-g4");
    Start(2);
    m_Deck.Add("cardos-53");
    PressReload();
    EXPECT_TRUE(desktop::WaitFor([] { return ShownCards() == 3; }));
    EXPECT_TRUE(desktop::WaitFor([] { return desktop::Windows(BUSY_DIALOG).empty(); }));
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(m_Program->Output(), "");
}

TEST_F(TheProgram, AsksTheLibraryForWhatARefreshNeedsAndNothingElse) {
    m_Deck.Add("acos-a04");
    m_Deck.Add("ecard-g4");
    Start(2);
    PressReload();
    ASSERT_TRUE(desktop::WaitFor([this] { return m_Deck.GetTrace("C_CloseSession").size() == 4; }));
    ASSERT_TRUE(desktop::WaitFor([] { return ShownCards() == 2; }));
    EXPECT_EQ(Close(), 0);

    std::vector<std::string> expected = {"C_Initialize", "C_GetInfo"};
    for (int refresh = 0; refresh < 2; ++refresh) {
        const auto calls = orseltest::CallsOfOneRefresh({"1", "2"});
        expected.insert(expected.end(), calls.begin(), calls.end());
    }
    expected.push_back("C_Finalize");
    EXPECT_THAT(orseltest::CallsIn(m_Deck.GetTrace()), testing::ElementsAreArray(expected));
    for (const auto& record : m_Deck.GetTrace()) {
        EXPECT_EQ(record.m_Result, "CKR_OK") << record.m_Function;
    }
}

TEST_F(TheProgram, ShowsTheBusyDialogWhileACardTakesItsTime) {
    m_Deck.Add("acos-a04", CardOptions().DelayMs(700));
    m_Program = std::make_unique<Program>(m_Deck.Folder());
    EXPECT_TRUE(desktop::WaitFor([] { return !desktop::Windows(BUSY_DIALOG).empty(); }));
    EXPECT_TRUE(desktop::WaitFor([] { return ShownCards() == 1; }));
    EXPECT_TRUE(desktop::WaitFor([] { return desktop::Windows(BUSY_DIALOG).empty(); }));
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, EndsASecondInstanceOfTheSameUserSilently) {
    m_Deck.Add("acos-a04");
    Start(1);
    const auto windowsBefore = desktop::Windows(".*");
    const auto callsBefore = orseltest::CallsIn(m_Deck.GetTrace());
    const std::string home = m_Deck.Folder();
    Program second(home);
    EXPECT_EQ(second.WaitForEnd(), ENDED_AS_A_SECOND_ONE);
    EXPECT_EQ(second.Output(), "");
    EXPECT_EQ(desktop::Windows(".*"), windowsBefore);
    EXPECT_EQ(orseltest::CallsIn(m_Deck.GetTrace()), callsBefore); // it did not even load the library
    EXPECT_TRUE(m_Program->Runs());
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, StartsAgainAfterACrashWithoutAWordAboutTheTraceItLeft) {
    m_Deck.Add("acos-a04");
    Start(1);
    m_Program->Kill(SIGKILL);
    ASSERT_EQ(m_Program->WaitForEnd(), 1000 + SIGKILL);
    ASSERT_TRUE(desktop::WaitFor([] { return desktop::Windows(GERMAN_WINDOW).empty(); }));
    Start(1);
    EXPECT_THAT(desktop::Windows("Information|Warning|Error|OrselClient"), IsEmpty());
    EXPECT_EQ(m_Program->Output(), "");
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, ComesUpEmptyWithoutADeck) {
    std::filesystem::remove_all(m_Deck.GetPath());
    Start(0);
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, KnowsNoOptionsOfItsOwn) {
    EXPECT_THAT(desktop::OutputOf(std::string(ORSEL_PROGRAM) + " --help 2>&1"),
                testing::HasSubstr("--verbose"));
    EXPECT_NE(desktop::OutputOf(std::string(ORSEL_PROGRAM) + " --wrong 2>&1"), "");
}
