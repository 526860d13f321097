// SPDX-License-Identifier: MIT
// A person before the built program: a deck of its own, the windows by their titles, real presses and keys.
#ifndef ORSEL_TESTS_E2E_PERSON_H
#define ORSEL_TESTS_E2E_PERSON_H

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>

#include "tests/e2e/Desktop.h"
#include "tests/e2e/Program.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SimDeck.h"

/// Titles of the windows, as regular expressions.
constexpr const char* MAIN_WINDOW = "^(Kartenverwaltung|Card manager)";
constexpr const char* SIGNATURE_TEST = "^(Unterschriftentest|Signature test)";
constexpr const char* INFOBOX = "^Infoboxbereich";
constexpr const char* NO_IDENTITY_LINK = "^(Keine Personenbindung|No identity link)";

/// The main window's three boxes of buttons.
enum Column { SIGNATURE, ENCRYPTION, IDENTITY_LINK };
enum Row { CHANGE_PIN, UNBLOCK_PIN, SHOW, TEST };

/// Places in the dialogs, from the upper left corner of their content. The infobox' list is laid out once
/// without its rows and once with them, so that everything on its right may stand a little farther.
constexpr desktop::Point SIGN_BUTTON = {176, 261};
constexpr desktop::Point VERIFY_BUTTON = {297, 261};
constexpr desktop::Point DOCUMENT = {297, 55};
constexpr desktop::Point ENCRYPT_BUTTON = {251, 297};
constexpr desktop::Point CONTENT = {374, 154};
constexpr desktop::Point BINARY_TAB = {284, 22};

class APerson : public testing::Test {
protected:
    void SetUp() override;

    /// Closes the program and expects that nothing is amiss: no output, no open session.
    void TearDown() override;

    /// Starts the program, with a text for the system's configuration file if there is one, and waits until
    /// the list shows this many cards.
    void Start(size_t cards, const std::string& configuration = "");

    /// Closes the main window and expects a good end.
    void Close();

    /// Presses a button of the three boxes once.
    void PressOn(Column column, Row row);
    /// Presses it, and again if the press is lost, until the program turns to the card for the command.
    void Press(Column column, Row row);
    void PressReload();
    /// Presses that button until the window that it opens is there.
    void Open(Column column, Row row, const char* title);
    /// Waits until the main window's buttons look as they did at the start.
    bool ButtonsAreReady();

    /// Acts until the effect shows, and again only when the program has not heard of it.
    bool ActUntil(const std::function<void()>& act, const std::function<bool()>& hasEffect);
    /// Clicks into a window. False when there is none of this title.
    static bool ClickIn(const char* title, desktop::Point place);
    static bool WaitForWindow(const char* title);
    /// Waits until keys go to the window of this title.
    static bool WaitForFocus(const char* title);
    static void CloseWindow(const char* title);
    /// The whole title.
    static std::string TitleOf(const char* title);
    /// The whole text of the field at this place, as far as the window takes a click and keys right now.
    static std::string TextIn(const char* title, desktop::Point place);

    /// Whether the tick or the cross comes on the screen, where it stays for a second and a half only.
    bool Shows(const char* const* picture);

    /// How many calls of a function ended like this.
    size_t Calls(const char* function, const char* result = "CKR_OK");
    /// How often an object with this label was searched for.
    size_t Searches(const std::string& label);
    bool WaitForCalls(const char* function, const char* result, size_t count);

    /// What the certificate viewer was shown last; empty when nothing was.
    std::string WhatTheViewerShows();
    std::string OnCard(const std::string& card, const char* label);

    orseltest::SimDeck m_Deck;
    std::unique_ptr<Program> m_Program;

private:
    desktop::Point PlaceOf(Column column, Row row) const;
    std::string Shown() const { return m_Deck.Folder() + "/shown.cer"; }
    void PointAway() const;

    std::string m_MainWindow;
    desktop::Point m_Reload = {}; ///< the reload button's picture
    desktop::Screen m_AtStart;
    const FolderOnPath m_Path{m_Deck.Folder()};
    const ScopedVariable m_Temp{"TMPDIR", m_Deck.Folder()};
};

#endif
