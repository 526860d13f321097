// SPDX-License-Identifier: MIT
// The commands on the selected card.
#include "app/MainFrame.h"

void MainFrame::evt_sig_change_pin(wxCommandEvent& /*event*/) {}
void MainFrame::evt_sig_puk(wxCommandEvent& /*event*/) {}
void MainFrame::evt_sig_show_cert(wxCommandEvent& /*event*/) {}
void MainFrame::evt_sig_test(wxCommandEvent& /*event*/) {}
void MainFrame::evt_enc_change_pin(wxCommandEvent& /*event*/) {}
void MainFrame::evt_enc_puk(wxCommandEvent& /*event*/) {}
void MainFrame::evt_enc_show(wxCommandEvent& /*event*/) {}
void MainFrame::evt_enc_test(wxCommandEvent& /*event*/) {}
void MainFrame::evt_pers_change(wxCommandEvent& /*event*/) {}
void MainFrame::evt_pers_puk(wxCommandEvent& /*event*/) {}
void MainFrame::evt_pers_show(wxCommandEvent& /*event*/) {}
void MainFrame::evt_ItemSelected(wxListEvent& /*event*/) {}
void MainFrame::evt_ItemRightClick(wxListEvent& /*event*/) {}
void MainFrame::evt_ItemDoubleClick(wxListEvent& /*event*/) {}
void MainFrame::evt_ListKeyDown(wxListEvent& /*event*/) {}
void MainFrame::evt_OnPopupClick(wxCommandEvent& /*event*/) {}
