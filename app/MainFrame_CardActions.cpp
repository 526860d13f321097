// SPDX-License-Identifier: MIT
// The selection and the commands on the selected card. Every command finds its card again by number: the slot
// numbers of the last refresh are never trusted.
#include "app/MainFrame.h"

#include <wx/app.h>
#include <wx/button.h>
#include <wx/listctrl.h>
#include <wx/utils.h>

#include <algorithm>

#include "app/I18N.h"
#include "app/OrselCardsLogger.h"
#include "app/StatusLine.h"
#include "app/wxHelper.h"
#include "card/CardLimits.h"
#include "card/SessionGuard.h"
#include "card/tkPKCS11.h"
#include "dialogs/InfoboxBereich.h"
#include "dialogs/TestDialog.h"
#include "formats/NewFile.h"
#include "formats/slCertificate.h"
#include "foundation/FileAndDirectory.h"
#include "foundation/Logging.h"

using Velmor::SlotStruct;
using Velmor::TokenType;

namespace {

/// One file for both certificates and all cards. It stays behind for the viewer; the next one replaces it.
constexpr const char* CERTIFICATE_FILE = "orselcards_cert.cer";

} // namespace

// --- Selection ---------------------------------------------------------------------------------------------

void MainFrame::GetSelectedItem(std::string& cardNumber, TokenType& type) {
    cardNumber.clear();
    long row = list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    if (row == -1) {
        row = list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_DONTCARE);
        if (row == -1) {
            return;
        }
        list_cards->SetItemState(row, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
        wxYield();
    }
    cardNumber = Velmor::WxStr2MB(list_cards->GetItemText(row, 0));
    type = static_cast<TokenType>(list_cards->GetItemData(row));
}

void MainFrame::evt_ItemSelected(wxListEvent& /*event*/) {
    std::string cardNumber;
    TokenType type = Velmor::TOKEN_ACOS_03;
    GetSelectedItem(cardNumber, type);
    if (cardNumber.empty()) {
        return;
    }
    if (type >= 0 && type < Velmor::TOKEN_TYPE_COUNT) {
        const bool hasIdentityLinkPin = Velmor::HasIdentityLinkPin(type);
        button_pers_change->Enable(hasIdentityLinkPin);
        button_pers_puk->Enable(hasIdentityLinkPin);
    }
    // Switched off here and never on: the next refresh does that.
    if (Velmor::IsECardToken(type)) {
        button_sig_puk->Enable(false);
        button_enc_puk->Enable(false);
    }
    wxYield();
}

bool MainFrame::GetSlotIdxForSelectedCard(int& slotIndex, TokenType& type) {
    slotIndex = -1;
    type = Velmor::TOKEN_ACOS_03;
    std::string number;
    GetSelectedItem(number, type);
    if (number.empty() || number == EMPTY_CARD) {
        SetStatus(Translate("Dieser Befehl ist mit einer leeren Karte nicht erlaubt!"), true);
        return false;
    }
    std::vector<SlotStruct*> slots;
    if (!m_p11->GetSlots(slots, true)) {
        OrselCardsLogger::GetHandle()->LogError("cannot load card list");
        return false;
    }
    const auto slot = std::find_if(slots.begin(), slots.end(), [&number](const SlotStruct* candidate) {
        return candidate->m_Serial == number;
    });
    if (slot != slots.end()) {
        slotIndex = static_cast<int>(slot - slots.begin());
    }
    return slotIndex >= 0;
}

bool MainFrame::OpenSessionForSelectedCard() {
    int slotIndex = -1;
    TokenType type = Velmor::TOKEN_ACOS_03;
    if (!GetSlotIdxForSelectedCard(slotIndex, type)) {
        return false;
    }
    const bool opened = m_p11->OpenSession(slotIndex, false);
    if (!opened) {
        OrselCardsLogger::GetHandle()->LogError("Error open pkcs#11 session");
    }
    return opened;
}

// --- PINs --------------------------------------------------------------------------------------------------

/// The result is shown with the session closed.
void MainFrame::RunPinCommand(PinCommand command, Velmor::ApplType appl, PinReport report) {
    Velmor::SessionGuard session(m_p11, OpenSessionForSelectedCard());
    if (!session.IsOpen()) {
        return;
    }
    const Velmor::PKCS11Return result = (m_p11->*command)(appl);
    session.Close();
    (this->*report)(result);
}

void MainFrame::ChangePin(Velmor::ApplType appl) {
    RunPinCommand(&Velmor::tkPKCS11::ChangePIN, appl, &MainFrame::SetStatusPinChange);
}

void MainFrame::UnblockPin(Velmor::ApplType appl) {
    RunPinCommand(&Velmor::tkPKCS11::UnblockPIN, appl, &MainFrame::SetStatusPinUnblock);
}

void MainFrame::evt_sig_change_pin(wxCommandEvent& /*event*/) {
    ChangePin(Velmor::ApplSignature);
}

void MainFrame::evt_enc_change_pin(wxCommandEvent& /*event*/) {
    ChangePin(Velmor::ApplEncryption);
}

void MainFrame::evt_pers_change(wxCommandEvent& /*event*/) {
    ChangePin(Velmor::ApplIdentityLink);
}

void MainFrame::evt_sig_puk(wxCommandEvent& /*event*/) {
    UnblockPin(Velmor::ApplSignature);
}

void MainFrame::evt_enc_puk(wxCommandEvent& /*event*/) {
    UnblockPin(Velmor::ApplEncryption);
}

void MainFrame::evt_pers_puk(wxCommandEvent& /*event*/) {
    UnblockPin(Velmor::ApplIdentityLink);
}

// --- Certificates ------------------------------------------------------------------------------------------

bool MainFrame::ShowCert(bool signature) {
    std::string path = Velmor::GetTempDir();
    const wxBusyCursor busy;
    path = Velmor::CombinePaths(path, CERTIFICATE_FILE);
    Velmor::RemoveFile(path);
    const Velmor::SessionGuard session(m_p11, OpenSessionForSelectedCard());
    if (!session.IsOpen()) {
        return false;
    }
    unsigned char buffer[Velmor::MAX_OBJECT_VALUE];
    unsigned long size = sizeof(buffer);
    const bool shown = m_p11->LoadSigningCertificate(signature) &&
                       m_p11->GetSigningCertificate(buffer, size) &&
                       Velmor::WriteNewFile(path, buffer, size) && Velmor::ShowCertificate(path);
    if (!shown) {
        OrselCardsLogger::GetHandle()->LogError("error writing cert to file");
    }
    return shown;
}

void MainFrame::evt_sig_show_cert(wxCommandEvent& /*event*/) {
    ShowCert(true);
}

void MainFrame::evt_enc_show(wxCommandEvent& /*event*/) {
    ShowCert(false);
}

void MainFrame::evt_ItemDoubleClick(wxListEvent& /*event*/) {
    if (!ShowCert(false)) {
        ShowCert(true);
    }
}

// --- Dialogs -----------------------------------------------------------------------------------------------

// A result told in the dialog disabled this window for a moment, which costs it the keyboard.
void MainFrame::ShowDialog(wxDialog& dialog) {
    dialog.ShowModal();
    list_cards->SetFocus();
}

void MainFrame::TestSignature(const char* title, Velmor::ApplType appl) {
    int slotIndex = -1;
    TokenType type = Velmor::TOKEN_ACOS_03;
    if (!GetSlotIdxForSelectedCard(slotIndex, type)) {
        return;
    }
    TestDialog dialog(this, wxID_ANY, Translate(title), wxDefaultPosition, wxDefaultSize,
                      wxDEFAULT_DIALOG_STYLE);
    dialog.SetP11(m_p11, slotIndex, appl);
    ShowDialog(dialog);
}

void MainFrame::evt_sig_test(wxCommandEvent& /*event*/) {
    TestSignature("Unterschriftentest mit Signaturschlüssel (6-stellige PIN)", Velmor::ApplSignature);
}

void MainFrame::evt_enc_test(wxCommandEvent& /*event*/) {
    TestSignature("Unterschriftentest mit Geheimhaltungsschlüssel (4-stellige PIN)", Velmor::ApplEncryption);
}

void MainFrame::evt_pers_show(wxCommandEvent& /*event*/) {
    int slotIndex = -1;
    TokenType type = Velmor::TOKEN_ACOS_03;
    if (!GetSlotIdxForSelectedCard(slotIndex, type)) {
        return;
    }
    InfoboxBereich dialog(this, type);
    dialog.SetP11(m_p11, slotIndex);
    dialog.Centre(wxBOTH | wxCENTRE_ON_SCREEN);
    YieldAndKeepFocus();
    ShowDialog(dialog);
}
