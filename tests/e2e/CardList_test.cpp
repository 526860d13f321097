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

constexpr const char* MAIN_WINDOW = "^Kartenverwaltung";
constexpr const char* BUSY_DIALOG = "^Bitte warten";
constexpr int ENDED_AS_A_SECOND_ONE = 255; ///< the toolkit's exit code for a start that is refused

class TheProgram : public testing::Test {
protected:
    /// Starts it and waits until its list shows this many cards.
    void Start(size_t cards) {
        m_program = std::make_unique<Program>(m_deck.folder());
        ASSERT_TRUE(desktop::waitFor([] { return !desktop::windows(MAIN_WINDOW).empty(); }))
            << m_program->output();
        ASSERT_TRUE(desktop::waitFor([=] { return ShownCards() == cards; }))
            << ShownCards() << m_program->output();
        // While the busy dialog is there, the window hears nothing.
        ASSERT_TRUE(desktop::waitFor([] { return desktop::windows(BUSY_DIALOG).empty(); }));
    }
    /// Closes its window and returns its exit code.
    int Close() {
        EXPECT_TRUE(desktop::closeAll(MAIN_WINDOW));
        return m_program->waitForEnd();
    }
    static size_t ShownCards() { return desktop::Screen::capture().find(chip_small_xpm).size(); }
    static void PressReload() {
        const auto places = desktop::Screen::capture().find(ButtonReload);
        ASSERT_THAT(places, SizeIs(1));
        desktop::click({places[0].x + 16, places[0].y + 16});
    }
    SimDeck m_deck;
    std::unique_ptr<Program> m_program;
};

} // namespace

TEST_F(TheProgram, ShowsEveryCardAndSeesANewOneAfterThePersonPressesReload) {
    m_deck.add("acos-a04");
    m_deck.add("ecard-g4");
    Start(2);
    m_deck.add("cardos-53");
    PressReload();
    EXPECT_TRUE(desktop::waitFor([] { return ShownCards() == 3; }));
    EXPECT_TRUE(desktop::waitFor([] { return desktop::windows(BUSY_DIALOG).empty(); }));
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(m_program->output(), "");
}

TEST_F(TheProgram, AsksTheLibraryForWhatARefreshNeedsAndNothingElse) {
    m_deck.add("acos-a04");
    m_deck.add("ecard-g4");
    Start(2);
    PressReload();
    ASSERT_TRUE(desktop::waitFor([this] { return m_deck.trace("C_CloseSession").size() == 4; }));
    ASSERT_TRUE(desktop::waitFor([] { return ShownCards() == 2; }));
    EXPECT_EQ(Close(), 0);

    std::vector<std::string> expected = {"C_Initialize", "C_GetInfo"};
    for (int refresh = 0; refresh < 2; ++refresh) {
        const auto calls = orseltest::callsOfOneRefresh({"1", "2"});
        expected.insert(expected.end(), calls.begin(), calls.end());
    }
    expected.push_back("C_Finalize");
    EXPECT_THAT(orseltest::callsIn(m_deck.trace()), testing::ElementsAreArray(expected));
    for (const auto& record : m_deck.trace())
        EXPECT_EQ(record.result, "CKR_OK") << record.function;
}

TEST_F(TheProgram, ShowsTheBusyDialogWhileACardTakesItsTime) {
    m_deck.add("acos-a04", CardOptions().delayMs(700));
    m_program = std::make_unique<Program>(m_deck.folder());
    EXPECT_TRUE(desktop::waitFor([] { return !desktop::windows(BUSY_DIALOG).empty(); }));
    EXPECT_TRUE(desktop::waitFor([] { return ShownCards() == 1; }));
    EXPECT_TRUE(desktop::waitFor([] { return desktop::windows(BUSY_DIALOG).empty(); }));
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, EndsASecondInstanceOfTheSameUserSilently) {
    m_deck.add("acos-a04");
    Start(1);
    const auto windowsBefore = desktop::windows(".*");
    const auto callsBefore = orseltest::callsIn(m_deck.trace());
    const std::string home = m_deck.folder();
    Program second(home);
    EXPECT_EQ(second.waitForEnd(), ENDED_AS_A_SECOND_ONE);
    EXPECT_EQ(second.output(), "");
    EXPECT_EQ(desktop::windows(".*"), windowsBefore);
    EXPECT_EQ(orseltest::callsIn(m_deck.trace()), callsBefore); // it did not even load the library
    EXPECT_TRUE(m_program->runs());
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, StartsAgainAfterACrashWithoutAWordAboutTheTraceItLeft) {
    m_deck.add("acos-a04");
    Start(1);
    m_program->kill(SIGKILL);
    ASSERT_EQ(m_program->waitForEnd(), 1000 + SIGKILL);
    ASSERT_TRUE(desktop::waitFor([] { return desktop::windows(MAIN_WINDOW).empty(); }));
    Start(1);
    EXPECT_THAT(desktop::windows("Information|Warning|Error|OrselClient"), IsEmpty());
    EXPECT_EQ(m_program->output(), "");
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, ComesUpEmptyWithoutADeck) {
    std::filesystem::remove_all(m_deck.path());
    Start(0);
    EXPECT_EQ(Close(), 0);
}

TEST_F(TheProgram, KnowsNoOptionsOfItsOwn) {
    EXPECT_THAT(desktop::outputOf(std::string(ORSEL_PROGRAM) + " --help 2>&1"),
                testing::HasSubstr("--verbose"));
    EXPECT_NE(desktop::outputOf(std::string(ORSEL_PROGRAM) + " --wrong 2>&1"), "");
}
