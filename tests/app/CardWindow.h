// SPDX-License-Identifier: MIT
// The main window over a deck of its own.
#ifndef ORSEL_TESTS_APP_CARDWINDOW_H
#define ORSEL_TESTS_APP_CARDWINDOW_H

#include "app/ControlIds.h"
#include "tests/app/GuiTest.h"
#include "tests/app/ProbedFrame.h"
#include "tests/support/SimDeck.h"

/// Lets a test put cards into the reader, open the window and press its buttons.
template <typename Frame = ProbedFrame>
class CardWindowTest : public testing::Test {
protected:
    /// Opens the window and lets its first refresh end.
    void Open() {
        m_frame.reset(new Frame);
        m_frame->Show(true);
        ASSERT_TRUE(RunUntil([this] { return !m_frame->m_startTimer.IsRunning() && Idle(); }));
    }
    void Press(int id) {
        wxWindow* button = wxWindow::FindWindowById(id, m_frame.get());
        ASSERT_NE(button, nullptr) << id;
        wxCommandEvent click(wxEVT_BUTTON, id);
        button->GetEventHandler()->ProcessEvent(click);
    }
    void Reload() {
        Press(ID_RELOAD);
        ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    }
    bool Idle() { return m_frame->m_refreshThread == nullptr && m_frame->IsThisEnabled(); }

    void Select(long row) {
        m_frame->list_cards->SetItemState(row, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
        RunFor(20);
    }
    void Deselect() {
        m_frame->list_cards->SetItemState(SelectedRow(), 0, wxLIST_STATE_SELECTED);
        RunFor(20);
    }
    long SelectedRow() {
        return m_frame->list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    }

    /// The status line's text, empty while it is hidden.
    wxString Status() {
        return m_frame->label_status->IsShown() ? m_frame->label_status->GetLabel() : wxString();
    }

    /// Whether each session that was opened was closed again.
    bool EverySessionIsClosed() {
        size_t opened = 0;
        for (const auto& record : m_deck.trace("C_OpenSession"))
            opened += record.result == "CKR_OK" ? 1 : 0;
        return opened == m_deck.trace("C_CloseSession").size();
    }

    orseltest::SimDeck m_deck;
    std::unique_ptr<Frame, DestroyWindow> m_frame;
};

#endif
