// SPDX-License-Identifier: MIT
// The built card manager over every library of the zoo: the stated list, also after a reload, a window that
// answers a command, and a good end.
#include <gmock/gmock.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "images/Images.h"
#include "tests/e2e/Answer.h"
#include "tests/e2e/Desktop.h"
#include "tests/e2e/Program.h"
#include "tests/support/SimDeck.h"
#include "tests/zoo/Animals.h"

using orseltest::CardOptions;
using orseltest::SimDeck;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* MAIN_WINDOW = "^Kartenverwaltung";
constexpr const char* BUSY_DIALOG = "^Bitte warten";

class AWindowInTheZoo : public testing::Test {
protected:
    AWindowInTheZoo() { m_Deck.Add("acos-a04", CardOptions().Holder(HOLDER)); }

    void Start(const char* animal) {
        m_Program = std::make_unique<Program>(m_Deck.Folder(), "", std::string(ORSEL_ZOO_DIR) + "/" + animal);
        // It may be off the screen again for a moment while it is first shown.
        ASSERT_TRUE(desktop::WaitFor([this] {
            const auto windows = desktop::Windows(MAIN_WINDOW);
            m_Window = windows.empty() ? "" : windows.front();
            return !m_Window.empty();
        })) << m_Program->Output();
    }
    /// Waits until no refresh runs any more and the list has so many rows.
    static bool HasRows(size_t rows) {
        return desktop::WaitFor([=] {
            return desktop::Windows(BUSY_DIALOG).empty() &&
                   desktop::Screen::Capture().Find(chip_small_xpm).size() == rows;
        });
    }
    /// Clicks as far as that from the reload button's picture.
    void Click(int right, int down) {
        std::vector<desktop::Point> reload;
        ASSERT_TRUE(desktop::WaitFor([&reload] { // it looks otherwise as long as it may not be pressed
            reload = desktop::Screen::Capture().Find(ButtonReload);
            return reload.size() == 1;
        }));
        desktop::Click({reload.front().m_X + right, reload.front().m_Y + down});
        for (int answer = 0; answer < 2; ++answer) { // the second stands behind what the click has done
            ASSERT_TRUE(desktop::WaitForAnswer(m_Window)) << m_Program->Output();
        }
    }
    void Reload() { Click(16, 16); }
    void ShowSignatureCertificate() { Click(-619, 175); }

    void ExpectAGoodEnd() {
        EXPECT_TRUE(desktop::CloseAll(MAIN_WINDOW));
        EXPECT_EQ(m_Program->WaitForEnd(), 0);
        EXPECT_THAT(m_Program->Output(), Not(HasSubstr("Sanitizer")));
        EXPECT_THAT(m_Program->Output(), Not(HasSubstr("runtime error")));
    }

    SimDeck m_Deck;
    std::unique_ptr<Program> m_Program;
    std::string m_Window;
};

class TheWindow : public AWindowInTheZoo, public testing::WithParamInterface<Animal> {};

INSTANTIATE_TEST_SUITE_P(Zoo, TheWindow, testing::ValuesIn(ANIMALS),
                         [](const auto& row) { return row.param.m_Name; });

} // namespace

TEST_P(TheWindow, ShowsWhatCanBeShownAndAnswers) {
    Start(GetParam().m_Name);
    ASSERT_TRUE(HasRows(GetParam().m_Rows));
    ShowSignatureCertificate();
    Reload();
    EXPECT_TRUE(HasRows(GetParam().m_Rows));
    ExpectAGoodEnd();
}

// Nobody can call the library back: the window says that it is busy, repaints, and a signal ends the program.
TEST_F(AWindowInTheZoo, StaysBusyWhileTheLibraryDoesNotComeBack) {
    Start("NeverReturns");
    ASSERT_TRUE(desktop::WaitFor([] { return !desktop::Windows(BUSY_DIALOG).empty(); }));
    EXPECT_TRUE(desktop::WaitForAnswer(m_Window));
    EXPECT_TRUE(m_Program->Runs());
    m_Program->Kill(SIGTERM);
    EXPECT_EQ(m_Program->WaitForEnd(), 1000 + SIGTERM);
}
