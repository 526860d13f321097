// SPDX-License-Identifier: MIT
// The other ways to the commands: the list's context menu and the keyboard.
#include "app/MainFrame.h"

#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/listctrl.h>
#include <wx/menu.h>
#include <wx/utils.h>

#include <algorithm>

#include "app/ControlIds.h"
#include "app/I18N.h"
#include "card/CardTypes.h"

namespace {

constexpr int ASCII_CASE_BIT = 32;

using Handler = void (MainFrame::*)(wxCommandEvent&);

struct PopupCommand {
    int m_Id;
    Handler m_Handler;
};

constexpr PopupCommand POPUP_COMMANDS[] = {
    {ID_POPUP_ENC_CHANGE, &MainFrame::evt_enc_change_pin},
    {ID_POPUP_SIG_CHANGE, &MainFrame::evt_sig_change_pin},
    {ID_POPUP_PERS_CHANGE, &MainFrame::evt_pers_change},
    {ID_POPUP_ENC_PUK, &MainFrame::evt_enc_puk},
    {ID_POPUP_SIG_PUK, &MainFrame::evt_sig_puk},
    {ID_POPUP_PERS_PUK, &MainFrame::evt_pers_puk},
    {ID_POPUP_ENC_SHOW, &MainFrame::evt_enc_show},
    {ID_POPUP_SIG_SHOW, &MainFrame::evt_sig_show_cert},
    {ID_POPUP_INFOBOX, &MainFrame::evt_pers_show},
    {ID_POPUP_ENC_TEST, &MainFrame::evt_enc_test},
    {ID_POPUP_SIG_TEST, &MainFrame::evt_sig_test},
};

/// A submenu with an entry for each of the card's two certificates. The menu owns it.
wxMenu* AppendCertificateMenu(wxMenu& menu, const char* label, int encId, int sigId) {
    auto* submenu = new wxMenu;
    submenu->Append(encId, Translate("Geheimhaltungszertifikat"));
    submenu->Append(sigId, Translate("Signaturzertifikat"));
    menu.AppendSubMenu(submenu, Translate(label));
    return submenu;
}

} // namespace

/// The card's commands. Not reduced for cards whose unblock buttons are disabled.
void MainFrame::FillCardMenu(wxMenu& menu, Velmor::TokenType type) {
    const bool identityLink = Velmor::HasIdentityLinkPin(type);
    wxMenu* change = AppendCertificateMenu(menu, "PIN ändern", ID_POPUP_ENC_CHANGE, ID_POPUP_SIG_CHANGE);
    if (identityLink) {
        change->Append(ID_POPUP_PERS_CHANGE, Translate("Personenbindung"));
    }
    // The spelling stands as written.
    wxMenu* unblock = AppendCertificateMenu(menu, "PIN ensperren", ID_POPUP_ENC_PUK, ID_POPUP_SIG_PUK);
    if (identityLink) {
        unblock->Append(ID_POPUP_PERS_PUK, Translate("Personenbindung"));
    }
    menu.AppendSeparator();
    AppendCertificateMenu(menu, "Zertifikat anzeigen", ID_POPUP_ENC_SHOW, ID_POPUP_SIG_SHOW);
    menu.Append(ID_POPUP_INFOBOX, Translate("Infobox anzeigen"));
    menu.AppendSeparator();
    AppendCertificateMenu(menu, "Signatur testen", ID_POPUP_ENC_TEST, ID_POPUP_SIG_TEST);
}

void MainFrame::evt_ItemRightClick(wxListEvent& /*event*/) {
    ShowCardMenu(wxDefaultPosition);
}

/// At the pointer with the default position.
void MainFrame::ShowCardMenu(const wxPoint& place) {
    std::string number;
    Velmor::TokenType type = Velmor::TOKEN_ACOS_03;
    GetSelectedItem(number, type);
    wxMenu menu;
    FillCardMenu(menu, type);
    menu.Bind(wxEVT_MENU, &MainFrame::evt_OnPopupClick, this);
    for (const wxMenuItem* item : menu.GetMenuItems()) {
        if (item->IsSubMenu()) { // wxWidgets 3.0 asks the menu that an entry stands in, and none above
            item->GetSubMenu()->Bind(wxEVT_MENU, &MainFrame::evt_OnPopupClick, this);
        }
    }
    PopupMenu(&menu, place);
}

void MainFrame::evt_OnPopupClick(wxCommandEvent& event) {
    const int id = event.GetId();
    const auto command = std::find_if(std::begin(POPUP_COMMANDS), std::end(POPUP_COMMANDS),
                                      [id](const PopupCommand& candidate) { return candidate.m_Id == id; });
    if (command == std::end(POPUP_COMMANDS)) {
        return;
    }
    wxCommandEvent fresh;
    (this->*command->m_Handler)(fresh);
}

void MainFrame::evt_ListKeyDown(wxListEvent& event) {
    if ((event.GetKeyCode() & ~ASCII_CASE_BIT) == 'C' && wxGetKeyState(WXK_CONTROL)) {
        std::string number;
        Velmor::TokenType type = Velmor::TOKEN_ACOS_03;
        GetSelectedItem(number, type);
        if (number.empty()) {
            return;
        }
        if (wxTheClipboard->Open()) {
            wxTheClipboard->SetData(new wxTextDataObject(wxString::FromUTF8(number.c_str())));
            wxTheClipboard->Close();
        }
    }
    event.Skip();
}
