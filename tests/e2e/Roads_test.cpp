// SPDX-License-Identifier: MIT
// The roads that a person takes through the built program, with real pointer and key events.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "images/Images.h"
#include "tests/e2e/Desktop.h"
#include "tests/e2e/Program.h"
#include "tests/support/SimDeck.h"

namespace fs = std::filesystem;
using orseltest::CardOptions;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr const char* MAIN_WINDOW = "^Kartenverwaltung";
constexpr const char* SIGNATURE_TEST = "^Unterschriftentest";
constexpr const char* INFOBOX = "^Infoboxbereich";
constexpr const char* NO_IDENTITY_LINK = "^Keine Personenbindung";

enum Column { SIGNATURE, ENCRYPTION, IDENTITY_LINK };
enum Row { CHANGE_PIN, UNBLOCK_PIN, SHOW, TEST };

class APerson : public testing::Test {
protected:
    void SetUp() override {
        const std::string viewer = m_deck.folder() + "/certViewerApp";
        std::ofstream(viewer) << "#!/bin/sh\ncp \"$1\" '" << Shown() << ".part' && mv '" << Shown()
                              << ".part' '" << Shown() << "'\n";
        fs::permissions(viewer, fs::perms::owner_all);
        m_oldPath = std::getenv("PATH");
        setenv("PATH", (m_deck.folder() + ":" + m_oldPath).c_str(), 1);
        setenv("TMPDIR", m_deck.folder().c_str(), 1);
    }
    void TearDown() override {
        setenv("PATH", m_oldPath.c_str(), 1);
        unsetenv("TMPDIR");
        if (m_program == nullptr || HasFatalFailure())
            return;
        // A window that is still busy with its first refresh does not close yet.
        EXPECT_TRUE(desktop::waitFor([this] {
            for (const std::string& window : desktop::windows(MAIN_WINDOW))
                desktop::close(window);
            return !m_program->runs();
        }));
        EXPECT_EQ(m_program->waitForEnd(), 0);
        EXPECT_EQ(m_program->output(), "");
        EXPECT_THAT(m_deck.trace("C_Finalize"), SizeIs(1));
        EXPECT_EQ(Succeeded("C_OpenSession"), m_deck.trace("C_CloseSession").size());
    }

    void Start(size_t cards) {
        m_program = std::make_unique<Program>(m_deck.folder());
        ASSERT_TRUE(desktop::waitFor([=] {
            return desktop::Screen::capture().find(chip_small_xpm).size() == cards;
        })) << m_program->output();
        const auto reload = desktop::Screen::capture().find(ButtonReload);
        ASSERT_THAT(reload, SizeIs(1));
        m_reload = reload.front();
    }
    /// Presses a button of the three boxes. Their places hang on that of the reload button's picture.
    void Press(Column column, Row row) {
        const int columns[] = {-619, -353, -89};
        const int rows[] = {89, 129, 175, 215};
        desktop::click({m_reload.x + columns[column], m_reload.y + rows[row]});
    }
    static bool WaitForWindow(const char* title) {
        return desktop::waitFor([=] { return !desktop::windows(title).empty(); });
    }
    static void CloseDialog(const char* title) {
        EXPECT_TRUE(desktop::waitFor([=] {
            for (const std::string& window : desktop::windows(title))
                desktop::close(window);
            return desktop::windows(title).empty();
        }));
    }
    size_t Succeeded(const char* function) {
        const auto trace = m_deck.trace(function);
        return static_cast<size_t>(std::count_if(
            trace.begin(), trace.end(), [](const auto& record) { return record.result == "CKR_OK"; }));
    }
    /// Whether the tick or the cross is on the screen.
    static bool Shows(const char* const* picture) {
        return desktop::waitFor([=] { return !desktop::Screen::capture().find(picture).empty(); }, 5);
    }
    std::string Shown() { return m_deck.folder() + "/shown.cer"; }
    std::string WhatTheViewerShows() {
        if (!desktop::waitFor([this] { return fs::exists(Shown()); }))
            return "";
        std::ifstream file(Shown(), std::ios::binary);
        const std::string content(std::istreambuf_iterator<char>(file), {});
        fs::remove(Shown());
        return content;
    }
    std::string OnCard(const std::string& card, const char* label) {
        const auto bytes = m_deck.objectContent(card, label);
        return std::string(bytes.begin(), bytes.end());
    }

    orseltest::SimDeck m_deck;
    std::unique_ptr<Program> m_program;
    desktop::Point m_reload = {};
    std::string m_oldPath;
};

} // namespace

TEST_F(APerson, LooksAtBothCertificates) {
    const std::string card = m_deck.add("ecard-g4");
    Start(1);
    Press(SIGNATURE, SHOW);
    EXPECT_EQ(WhatTheViewerShows(), OnCard(card, "C.CH.SIG"));
    Press(ENCRYPTION, SHOW);
    EXPECT_EQ(WhatTheViewerShows(), OnCard(card, "C.CH.EKEY"));
}

TEST_F(APerson, TriesASignature) {
    m_deck.add("ecard-g3b");
    m_deck.answerPins({"123456"});
    Start(1);
    Press(SIGNATURE, TEST);
    ASSERT_TRUE(WaitForWindow(SIGNATURE_TEST));
    desktop::press("space"); // the focus is on the button that signs
    EXPECT_TRUE(desktop::waitFor([this] { return Succeeded("C_Sign") == 2; }));
    EXPECT_TRUE(Shows(ButtonOk));
    CloseDialog(SIGNATURE_TEST);
}

TEST_F(APerson, ReadsTheInfoboxOfBothKindsOfCard) {
    const std::string first = m_deck.add("acos-a03");
    Start(1);
    Press(IDENTITY_LINK, SHOW);
    ASSERT_TRUE(WaitForWindow(INFOBOX));
    CloseDialog(INFOBOX);
    m_deck.takeOut(first);
    m_deck.add("ecard-g4");
    desktop::click({m_reload.x + 16, m_reload.y + 16});
    ASSERT_TRUE(desktop::waitFor([this] { return m_deck.trace("C_CloseSession").size() == 2; }));
    ASSERT_TRUE(desktop::waitFor([] { return desktop::Screen::capture().find(chip_small_xpm).size() == 1; }));
    Press(IDENTITY_LINK, SHOW);
    ASSERT_TRUE(WaitForWindow(INFOBOX));
    EXPECT_TRUE(desktop::waitFor([this] {
        const auto trace = m_deck.trace("C_FindObjectsInit");
        return std::any_of(trace.begin(), trace.end(), [](const auto& record) {
            return record.value("attributes").find("INFOBOX") != std::string::npos;
        });
    }));
    CloseDialog(INFOBOX);
}

TEST_F(APerson, IsToldThatACardHasNoIdentityLink) {
    const std::string card = m_deck.add("acos-a04");
    m_deck.removeObject(card, "INFOBOX");
    Start(1);
    Press(IDENTITY_LINK, SHOW);
    ASSERT_TRUE(WaitForWindow(NO_IDENTITY_LINK));
    CloseDialog(NO_IDENTITY_LINK);
    CloseDialog(INFOBOX);
}

TEST_F(APerson, IsRefusedOnAnEmptyCard) {
    m_deck.add("empty");
    Start(1);
    Press(SIGNATURE, CHANGE_PIN);
    EXPECT_TRUE(Shows(ButtonCancel));
    EXPECT_THAT(m_deck.trace("C_SetAttributeValue"), IsEmpty());
}

TEST_F(APerson, PullsACardOutAndNothingHappens) {
    const std::string card = m_deck.add("acos-a04");
    Start(1);
    m_deck.takeOut(card);
    const size_t before = m_deck.trace("C_GetSlotList").size();
    Press(SIGNATURE, CHANGE_PIN);
    EXPECT_TRUE(desktop::waitFor([=] { return m_deck.trace("C_GetSlotList").size() > before; }));
    EXPECT_THAT(m_deck.trace("C_SetAttributeValue"), IsEmpty());
}

TEST_F(APerson, ClosesTheWindowRightAfterTheStart) {
    m_deck.add("acos-a04");
    m_program = std::make_unique<Program>(m_deck.folder());
    ASSERT_TRUE(WaitForWindow(MAIN_WINDOW));
}
