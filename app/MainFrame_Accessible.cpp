// SPDX-License-Identifier: MIT
// What the main window says to people who hear it.
#include "app/MainFrame.h"

#include <wx/bmpbuttn.h>
#include <wx/button.h>
#include <wx/listctrl.h>
#include <wx/panel.h>
#include <wx/statbmp.h>
#include <wx/statbox.h>
#include <wx/stattext.h>

#include "app/Accessible.h"
#include "app/I18N.h"

/// Buttons of different boxes have the same labels: the name tells which box.
static void NameAfterBox(const wxStaticBox& box, std::initializer_list<wxButton*> buttons) {
    for (wxButton* button : buttons) {
        SetAccessibleName(*button, button->GetLabelText() + ", " + box.GetLabelText());
    }
}

void MainFrame::NameControls() {
    NameAfterBox(*sizer_sig_box,
                 {button_sig_change_pin, button_sig_puk, button_sig_show_cert, button_sig_test});
    NameAfterBox(*sizer_enc_box, {button_enc_change_pin, button_enc_puk, button_enc_show, button_enc_test});
    NameAfterBox(*sizer_pers_box, {button_pers_change, button_pers_puk, button_pers_show});
    SetAccessibleName(*button_reload, Translate("Karten neu einlesen"));
    MarkAsNotice(*label_status);
    for (wxWindow* decoration : std::initializer_list<wxWindow*>{
             bitmap_banner, bitmap_status, panel_status_left, panel_status_right, panel_status_height}) {
        MarkAsDecoration(*decoration);
    }
    list_cards->Bind(wxEVT_LIST_ITEM_SELECTED, &MainFrame::evt_TellCards, this);
    TellCards();
}

/// Number, holder and kind.
wxString MainFrame::CardInWords(long row) const {
    wxString words;
    for (int column = 0; column < list_cards->GetColumnCount(); ++column) {
        words += (column == 0 ? "" : ", ") + list_cards->GetItemText(row, column).Trim();
    }
    return words;
}

/// The list is drawn by the toolkit and has no rows on the bus: its name has their number, its description
/// the one that is selected.
void MainFrame::TellCards() {
    const long rows = list_cards->GetItemCount();
    const long selected = list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    wxWindow& list = FocusedPartOf(*list_cards);
    SetAccessibleName(list, wxString::Format(Translate("Karten: %ld"), rows));
    if (selected == -1) {
        SetAccessibleDescription(list, Translate("Keine Karte"));
        return;
    }
    SetAccessibleDescription(list, CardInWords(selected) + ", " +
                                       wxString::Format(Translate("Zeile %ld von %ld"), selected + 1, rows));
}

void MainFrame::evt_TellCards(wxListEvent& event) {
    event.Skip();
    TellCards();
    const long selected = list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    if (selected != -1) {
        Announce(FocusedPartOf(*list_cards), CardInWords(selected));
    }
}
