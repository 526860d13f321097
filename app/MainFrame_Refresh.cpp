// SPDX-License-Identifier: MIT
// The card list's way from the worker to the screen.
#include "app/MainFrame.h"

#include <wx/app.h>
#include <wx/listctrl.h>
#include <wx/utils.h>

#include "app/OrselCardsLogger.h"
#include "app/RefreshCardThread.h"
#include "foundation/Logging.h"

void MainFrame::evt_OnTimer(wxTimerEvent& /*event*/) {
    wxCommandEvent event;
    evt_reload(event);
}

void MainFrame::evt_reload(wxCommandEvent& /*event*/) {
    OrselCardsLogger::GetHandle()->LogMessage("evt_reload");
    MyEnable(false);
    wxBeginBusyCursor(wxHOURGLASS_CURSOR);
    m_pleaseWait.Centre(wxBOTH);
    m_pleaseWait.Show(true);
    wxYield();
    list_cards->DeleteAllItems();
    m_refreshThread = new RefreshCardThread(this, m_p11);
    if (RefreshCardThread::StartThread(*m_refreshThread) == wxTHREAD_NO_ERROR)
        return; // busy until evt_ThreadFinished

    OrselCardsLogger::GetHandle()->LogError("cannot start card refresh thread");
    delete m_refreshThread;
    m_refreshThread = nullptr;
    MyEnable(true);
    wxEndBusyCursor();
    wxYield(); // the busy dialog stays on the screen, on purpose
}

void MainFrame::evt_ThreadFinished(wxCommandEvent& /*event*/) {
    if (m_refreshThread == nullptr)
        return;
    m_refreshThread->Wait();
    const auto rows = m_refreshThread->GetList();
    delete m_refreshThread;
    m_refreshThread = nullptr;

    // Each row goes in where the one before went, so the list shows the reverse of the slot order. Meant.
    long index = 0;
    for (const auto& row : rows) {
        index = list_cards->InsertItem(index, row->cardNumber, m_chipImage);
        list_cards->SetItem(index, 1, row->holder, -1);
        list_cards->SetItem(index, 2, row->cardType, -1);
        list_cards->SetItemPtrData(index, static_cast<wxUIntPtr>(row->tokenType));
    }
    const long top = list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_DONTCARE);
    if (top != -1)
        list_cards->SetItemState(top, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
    MyEnable(true);
    m_pleaseWait.Show(false);
    wxEndBusyCursor();
    wxYield();
}

/// A window that goes during a refresh takes its worker along.
void MainFrame::StopRefresh() {
    if (m_refreshThread == nullptr)
        return;
    m_refreshThread->Wait();
    delete m_refreshThread;
    m_refreshThread = nullptr;
}
