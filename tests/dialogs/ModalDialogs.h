// SPDX-License-Identifier: MIT
// Modal dialogs in tests: running one, and answering those that another window opens.
#ifndef ORSEL_TESTS_DIALOGS_MODALDIALOGS_H
#define ORSEL_TESTS_DIALOGS_MODALDIALOGS_H

#include <wx/dialog.h>
#include <wx/modalhook.h>
#include <wx/stopwatch.h>
#include <wx/timer.h>

#include <functional>
#include <utility>

#include "tests/support/GuiTest.h"

/// Presses the control with this id, as the toolkit reports it. False when nobody handles it.
inline bool Press(wxWindow& window, int id) {
    wxCommandEvent click(wxEVT_BUTTON, id);
    return window.GetEventHandler()->ProcessEvent(click);
}

/// The first control of a class in a dialog; null without one.
template <typename Control>
Control* ChildOf(const wxWindow& window) {
    for (wxWindow* child : window.GetChildren()) {
        if (auto* control = dynamic_cast<Control*>(child)) {
            return control;
        }
    }
    return nullptr;
}

/// Runs the dialog modally and acts once, as soon as it is ready. The action has to end the run, and gives
/// the result. A dialog that is not ready within ten seconds fails the test and ends with -99.
inline int RunModal(
    wxDialog& dialog, const std::function<void()>& act,
    const std::function<bool()>& isReady = [] { return true; }) {
    const wxStopWatch watch;
    wxTimer poll;
    poll.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        if (watch.Time() > 10000) {
            ADD_FAILURE() << "the dialog never became ready";
            dialog.EndModal(-99);
        } else if (dialog.IsModal() && isReady()) {
            poll.Stop();
            act();
        }
    });
    poll.Start(5);
    return dialog.ShowModal();
}

/// Presses the closing button of each modal dialog of a class that opens while this lives, as soon as it is
/// ready and has been looked at. A dialog that is not ready within twenty seconds fails the test.
template <typename Dialog>
class ModalDialogsClosed {
public:
    ModalDialogsClosed(
        int closingButton, std::function<void(Dialog&)> look,
        std::function<bool(Dialog&)> isReady = [](Dialog&) { return true; })
        : m_ClosingButton(closingButton), m_Look(std::move(look)), m_IsReady(std::move(isReady)) {
        m_Poll.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Poll(); });
        m_Poll.Start(5);
    }

private:
    void Poll() {
        Dialog* const dialog = FindModal();
        if (dialog == nullptr) {
            m_Watch.Start();
        } else if (m_Watch.Time() > 20000) {
            ADD_FAILURE() << "the dialog never became ready";
            dialog->EndModal(-99);
        } else if (m_IsReady(*dialog)) {
            m_Look(*dialog);
            Press(*dialog, m_ClosingButton);
        }
    }
    static Dialog* FindModal() {
        for (wxWindow* window : wxTopLevelWindows) {
            auto* dialog = dynamic_cast<Dialog*>(window);
            if (dialog != nullptr && dialog->IsModal()) {
                return dialog;
            }
        }
        return nullptr;
    }

    const int m_ClosingButton;
    const std::function<void(Dialog&)> m_Look;
    const std::function<bool(Dialog&)> m_IsReady;
    wxStopWatch m_Watch;
    wxTimer m_Poll;
};

/// Ends every modal dialog of this title at once with this answer, and counts them. They never come on the
/// screen. Other dialogs run as usual.
class ModalDialogsAnswered : public wxModalDialogHook {
public:
    ModalDialogsAnswered(const wxString& title, int reply) : m_Answer(reply), m_Title(title) { Register(); }
    ~ModalDialogsAnswered() override { Unregister(); }

    int m_Answer;
    int m_Count = 0;
    /// Called with each dialog before it is answered.
    std::function<void(wxDialog&)> m_Inspect = [](wxDialog&) {};

protected:
    int Enter(wxDialog* dialog) override {
        if (dialog->GetTitle() != m_Title) {
            return wxID_NONE;
        }
        ++m_Count;
        m_Inspect(*dialog);
        return m_Answer;
    }

private:
    const wxString m_Title;
};

#endif
