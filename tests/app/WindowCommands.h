// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_APP_WINDOWCOMMANDS_H
#define ORSEL_TESTS_APP_WINDOWCOMMANDS_H

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "app/MainFrame.h"
#include "dialogs/InfoboxBereich.h"
#include "dialogs/TestDialog.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ModalDialogs.h"
#include "tests/support/FaultCases.h"
#include "tests/support/ScopedVariable.h"

using Table = std::map<std::string, std::string>;

/// A command of the window. Its outcome is everything that a person sees of it, as one text.
struct WindowCommand {
    std::string m_Name;
    int m_Button;    ///< none: a double click on the list
    int m_MenuEntry; ///< the same command in the context menu; none: only the button
    std::string m_Done;
    std::string m_Failed;                    ///< after a fault in a call
    Table m_Otherwise = {};                  ///< that is not one of these
    std::vector<std::string> m_Answers = {}; ///< to its questions for PINs
    std::string m_Card = "acos-a03";
};

void PrintTo(const WindowCommand& command, std::ostream* out);

/// Every command that the window has for a card, and the reload.
const std::vector<WindowCommand>& WindowCommands();

/// One command after another over a card of its own.
class ACommandOfTheWindow : public CardWindowTest<>, public testing::WithParamInterface<WindowCommand> {
protected:
    ACommandOfTheWindow();
    void SetUp() override;

    /// Runs the command by its button on the card as it was, over a library that is bound anew.
    std::string RunAnew(const std::vector<std::string>& faults);
    /// The same on the reader as it is now, whichever card is in it.
    std::string RunAnewOnWhatIsThere();
    void BindAnew();
    /// Runs it again, by the context menu where that offers it.
    std::string RunAgain();

    /// The window as it was, and no session left open.
    void ExpectAlive();

    /// The calls of a run without faults, which has to end well.
    std::vector<orseltest::CardCall> FindCalls();
    void ExpectStatedOutcome(const orseltest::CardFault& fault);

    std::string CardList();

    static constexpr const char* SERIAL = "8004000011112222";
    /// Puts in a card of the command's kind; its name in the deck.
    std::string AddCard(const std::string& serial);

    std::string m_Card;
    orselsim::Card m_Pristine;

private:
    std::string Run(const std::function<void()>& command);
    void PressOrDoubleClick();
    /// The status line, the certificate that the viewer got, the dialogs that came up, and the list if it was
    /// to be read.
    std::string Outcome();

    std::string m_Dialogs; ///< titles and rows of those that came up
    std::vector<bool> m_Enabled;
    const ScopedVariable m_Path{"PATH", "/nowhere"}; ///< there is no viewer, which nobody notices
    const ScopedVariable m_Temp{"TMPDIR", m_Deck.Folder()};
    ModalDialogsAnswered m_NoPersB{"Keine Personenbindung", 0};
    ModalDialogsClosed<TestDialog> m_Tests;
    ModalDialogsClosed<InfoboxBereich> m_Infoboxes;
};

#endif
