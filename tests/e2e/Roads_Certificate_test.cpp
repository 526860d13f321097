// SPDX-License-Identifier: MIT
// From the main window to the certificate viewer that belongs to it, by pointer and by keyboard.
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/e2e/Answer.h"
#include "tests/e2e/Person.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr const char* VIEWER = " – (Zertifikat|Certificate)$";

/// A person whose search path has the viewer itself under the name that the program looks for.
class APersonWithTheViewer : public APerson {
protected:
    void SetUp() override {
        APerson::SetUp();
        const std::string name = m_Deck.Folder() + "/certViewerApp";
        fs::remove(name);
        fs::create_symlink(ORSEL_VIEWER, name);
    }

    void OpenViewer(Column column) {
        Open(column, SHOW, VIEWER);
        ASSERT_TRUE(WaitForFocus(VIEWER));
    }
    /// What the keys copy.
    static std::string Copied(const std::string& keys, const std::string& begin) {
        std::string text;
        const auto isThere = [&] {
            text = desktop::Clipboard();
            return text.compare(0, begin.size(), begin) == 0;
        };
        EXPECT_TRUE(desktop::ActUntil(
            desktop::Windows(VIEWER).front(), [&] { desktop::Press(keys); }, isThere))
            << text;
        return text;
    }
    static bool ViewerIsGone() {
        return desktop::WaitFor([] { return desktop::Windows(VIEWER).empty(); });
    }
    /// The program's children, those included that have ended and that nobody has waited for.
    static std::string Children() {
        return desktop::OutputOf("ps -o stat=,comm= --ppid $(xdotool search --onlyvisible --name '" +
                                 std::string(MAIN_WINDOW) + "' getwindowpid)");
    }
};

} // namespace

TEST_F(APersonWithTheViewer, LooksAtTheSignatureCertificate) {
    m_Deck.Add("ecard-g4", orseltest::CardOptions().Holder("Erika Muster"));
    Start(1);
    OpenViewer(SIGNATURE);
    EXPECT_THAT(TitleOf(VIEWER), StartsWith("Erika Muster"));
    EXPECT_THAT(Copied("ctrl+c", "Name (CN): "), HasSubstr("Erika Muster"));
    desktop::Press("Escape");
    EXPECT_TRUE(ViewerIsGone());
    EXPECT_EQ(Children(), "");
}

TEST_F(APersonWithTheViewer, OpensOneViewerBesideTheOther) {
    m_Deck.Add("acos-a04");
    Start(1);
    OpenViewer(SIGNATURE);
    Press(ENCRYPTION, SHOW);
    ASSERT_TRUE(desktop::WaitFor([] { return desktop::Windows(VIEWER).size() == 2; }));
    CloseWindow(VIEWER);
    EXPECT_EQ(Children(), "");
}

// What the presses of every other test rest on: a program that stands still has not lost the press.
TEST_F(APersonWithTheViewer, OpensOneViewerOfAProgramThatStoodStillForAWhile) {
    m_Deck.Add("acos-a04");
    Start(1);
    m_Program->Kill(SIGSTOP);
    std::thread wakes([this] {
        std::this_thread::sleep_for(
            std::chrono::seconds(8)); // longer than a press waits for its effect, twice
        m_Program->Kill(SIGCONT);
    });
    const size_t before = Calls("C_OpenSession");
    Press(SIGNATURE, SHOW);
    wakes.join();
    ASSERT_TRUE(WaitForWindow(VIEWER));
    for (int answer = 0; answer < 2; ++answer) { // the second stands behind all that was pressed
        ASSERT_TRUE(desktop::WaitForAnswer(desktop::Windows(MAIN_WINDOW).front()));
    }
    EXPECT_EQ(Calls("C_OpenSession"), before + 1);
    EXPECT_EQ(desktop::Windows(VIEWER).size(), 1U);
    CloseWindow(VIEWER);
}

TEST_F(APersonWithTheViewer, OpensItByTheKeyboardFromTheList) {
    m_Deck.Add("acos-a04");
    Start(1);
    ClickIn(MAIN_WINDOW, {200, 205});
    const size_t before = Calls("C_GetSlotList");
    ASSERT_TRUE(ActUntil([] { desktop::Press("Return"); }, [=] { return Calls("C_GetSlotList") > before; }));
    ASSERT_TRUE(WaitForWindow(VIEWER));
    ASSERT_TRUE(WaitForFocus(VIEWER));
    desktop::Press("ctrl+Next");
    desktop::Press("ctrl+w");
    EXPECT_TRUE(ViewerIsGone());
}

TEST_F(APersonWithTheViewer, KeepsTheViewerWhenTheCardManagerIsClosed) {
    m_Deck.Add("acos-a04");
    Start(1);
    OpenViewer(SIGNATURE);
    Close();
    EXPECT_EQ(desktop::Windows(VIEWER).size(), 1U);
    CloseWindow(VIEWER);
    m_Program.reset();
}
