// SPDX-License-Identifier: MIT
// The card list's way from the worker to the screen.
#include "app/MainFrame.h"

#include <wx/app.h>
#include <wx/listctrl.h>
#include <wx/utils.h>

#include <utility>

#include "app/GrowToFit.h"
#include "app/OrselCardsLogger.h"
#include "app/RefreshCardThread.h"
#include "foundation/Logging.h"

void MainFrame::evt_OnTimer(wxTimerEvent& /*event*/) {
    wxCommandEvent event;
    evt_reload(event);
}

void MainFrame::evt_reload(wxCommandEvent& /*event*/) {
    OrselCardsLogger::GetHandle()->LogMessage("evt_reload");
    if (m_refreshThread != nullptr) {
        return; // the running worker has the card to itself
    }
    MyEnable(false);
    wxBeginBusyCursor(wxHOURGLASS_CURSOR);
    m_pleaseWait.Centre(wxBOTH);
    m_pleaseWait.Show(true);
    wxYield();
    list_cards->DeleteAllItems();
    auto worker = std::make_unique<RefreshCardThread>(this, m_p11);
    if (worker->Start() == wxTHREAD_NO_ERROR) {
        m_refreshThread = worker.release();
        return; // busy until evt_ThreadFinished
    }
    OrselCardsLogger::GetHandle()->LogError("cannot start card refresh thread");
    worker.reset();
    MyEnable(true);
    wxEndBusyCursor();
    wxYield(); // the busy dialog stays: the next refresh that works takes it away
}

void MainFrame::evt_ThreadFinished(wxCommandEvent& /*event*/) {
    std::unique_ptr<RefreshCardThread> worker = JoinedWorker();
    if (worker == nullptr) {
        return;
    }
    ShowRows(worker->GetList());
    worker.reset();
    MyEnable(true);
    m_pleaseWait.Show(false);
    wxEndBusyCursor();
    wxYield();
    GiveFocusBack();
    TellCards();
}

/// Each row goes in where the one before went: the card that came last stands on top and is selected.
void MainFrame::ShowRows(const std::vector<std::shared_ptr<ListEntryData>>& rows) {
    long index = 0;
    for (const auto& row : rows) {
        index = list_cards->InsertItem(index, row->cardNumber, m_chipImage);
        list_cards->SetItem(index, 1, row->holder, -1);
        list_cards->SetItem(index, 2, row->cardType, -1);
        list_cards->SetItemPtrData(index, static_cast<wxUIntPtr>(row->tokenType));
    }
    GrowColumns(*list_cards);
    Widen(*this, MissingForColumns(*list_cards));
    const long top = list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_DONTCARE);
    if (top != -1) {
        list_cards->SetItemState(top, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
    }
}

/// Waits for the worker and hands it over; null when none runs.
std::unique_ptr<RefreshCardThread> MainFrame::JoinedWorker() {
    if (m_refreshThread != nullptr) {
        m_refreshThread->Wait();
    }
    return std::unique_ptr<RefreshCardThread>(std::exchange(m_refreshThread, nullptr));
}
