// SPDX-License-Identifier: MIT
// Modal dialogs in tests: running one, and answering those that another window opens.
#ifndef ORSEL_TESTS_DIALOGS_MODALDIALOGS_H
#define ORSEL_TESTS_DIALOGS_MODALDIALOGS_H

#include <wx/dialog.h>
#include <wx/modalhook.h>

#include <functional>
#include <vector>

#include "tests/app/GuiTest.h"

/// Presses the control with this id, as the toolkit reports it. False when nobody handles it.
inline bool Press(wxWindow& window, int id) {
    wxCommandEvent click(wxEVT_BUTTON, id);
    return window.GetEventHandler()->ProcessEvent(click);
}

/// Runs the dialog modally and does this as soon as its event loop runs. The result of the run, which has to
/// be ended by what is done.
inline int RunModal(wxDialog& dialog, const std::function<void()>& whileOpen) {
    dialog.CallAfter(whileOpen);
    return dialog.ShowModal();
}

/// Ends every modal dialog at once with this answer, and counts them. They never come on the screen.
class ModalDialogsAnswered : public wxModalDialogHook {
public:
    explicit ModalDialogsAnswered(int answer) : m_answer(answer) { Register(); }
    ~ModalDialogsAnswered() override { Unregister(); }

    /// Called with each dialog before it is answered.
    std::function<void(wxDialog&)> inspect = [](wxDialog&) {};
    std::vector<wxString> titles;

protected:
    int Enter(wxDialog* dialog) override {
        titles.push_back(dialog->GetTitle());
        inspect(*dialog);
        return m_answer;
    }

private:
    int m_answer;
};

#endif
