// SPDX-License-Identifier: MIT
// The main window over a deck of its own.
#ifndef ORSEL_TESTS_APP_CARDWINDOW_H
#define ORSEL_TESTS_APP_CARDWINDOW_H

#include "app/ControlIds.h"
#include "tests/app/ProbedFrame.h"
#include "tests/support/GuiTest.h"
#include "tests/support/SimDeck.h"
#include "tests/support/Widgets.h"

/// What the status line says of a command on an empty card.
inline const wxString REFUSAL = Utf8("Dieser Befehl ist mit einer leeren Karte nicht erlaubt!");

/// Lets a test put cards into the reader, open the window and press its buttons.
template <typename Frame = ProbedFrame>
class CardWindowTest : public testing::Test {
protected:
    /// Opens the window and lets it come up and its first refresh end.
    void Open() {
        m_Frame.reset(new Frame);
        m_Frame->Show(true);
        ASSERT_TRUE(RunUntil(
            [this] { return !m_Frame->m_startTimer.IsRunning() && Idle() && widgets::IsUp(*m_Frame); }));
    }
    void Press(int id) {
        wxWindow* button = wxWindow::FindWindowById(id, m_Frame.get());
        ASSERT_NE(button, nullptr) << id;
        wxCommandEvent click(wxEVT_BUTTON, id);
        button->GetEventHandler()->ProcessEvent(click);
    }
    void Reload() {
        Press(ID_RELOAD);
        ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    }
    bool Idle() { return m_Frame->m_refreshThread == nullptr && m_Frame->IsThisEnabled(); }

    void Select(long row) {
        m_Frame->list_cards->SetItemState(row, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
        RunFor(20);
    }
    void Deselect() {
        m_Frame->list_cards->SetItemState(SelectedRow(), 0, wxLIST_STATE_SELECTED);
        RunFor(20);
    }
    long SelectedRow() {
        return m_Frame->list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    }

    /// The status line's text, empty while it is hidden.
    wxString Status() {
        return m_Frame->label_status->IsShown() ? m_Frame->label_status->GetLabel() : wxString();
    }

    /// Whether each session that was opened was closed again.
    bool EverySessionIsClosed() {
        size_t opened = 0;
        for (const auto& record : m_Deck.GetTrace("C_OpenSession")) {
            opened += record.m_Result == "CKR_OK" ? 1 : 0;
        }
        return opened == m_Deck.GetTrace("C_CloseSession").size();
    }

    orseltest::SimDeck m_Deck;
    std::unique_ptr<Frame, DestroyWindow> m_Frame;
};

#endif
