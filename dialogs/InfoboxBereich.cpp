// SPDX-License-Identifier: MIT
// Construction and layout of the infobox dialog.
#include "dialogs/InfoboxBereich.h"

#include <wx/button.h>
#include <wx/font.h>
#include <wx/icon.h>
#include <wx/listbox.h>
#include <wx/notebook.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include <algorithm>

#include "app/Accessible.h"
#include "app/ControlIds.h"
#include "app/GrowToFit.h"
#include "app/I18N.h"
#include "app/wxHelper.h"
#include "images/Images.h"

// clang-format off
wxBEGIN_EVENT_TABLE(InfoboxBereich, wxDialog)
    EVT_BUTTON(ID_INFOBOX_ENCRYPT, InfoboxBereich::evt_encrypt)
    EVT_BUTTON(ID_INFOBOX_CLOSE, InfoboxBereich::evt_button_close)
    EVT_LISTBOX(ID_INFOBOX_LIST, InfoboxBereich::evt_listbox)
    EVT_TIMER(ID_START_TIMER, InfoboxBereich::evt_OnTimer)
wxEND_EVENT_TABLE()
// clang-format on

InfoboxBereich::InfoboxBereich(wxWindow* parent, Velmor::TokenType type)
    : wxDialog(parent, wxID_ANY, Translate("Infoboxbereich"), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE),
      m_TokenType(type) {
    CreateControls();
    set_properties();
    do_layout();
    SetEscapeId(ID_INFOBOX_CLOSE);
    list_box->MoveBeforeInTabOrder(notebook); // the list is read first
    SetIcon(Velmor::IconOf(IconXpm));
    notebook->RemovePage(2); // "Text": filled like the others, but shown to nobody
    NameControls();
    Bind(wxEVT_CHAR_HOOK, &InfoboxBereich::evt_CharHook, this);
}

static wxPanel* NewPage(wxWindow* parent) {
    return new wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxNO_BORDER | wxTAB_TRAVERSAL);
}

static wxTextCtrl* NewTextView(wxWindow* parent, long style) {
    return new wxTextCtrl(parent, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                          wxTE_CHARWRAP | wxTE_MULTILINE | wxTE_READONLY | style);
}

// Labels and page names stand in no catalogue.
void InfoboxBereich::CreateControls() {
    notebook = new wxNotebook(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, 0);
    panel_inhalt = NewPage(notebook);
    panel_binary = NewPage(notebook);
    panel_text = NewPage(notebook);
    list_box =
        new wxListBox(this, ID_INFOBOX_LIST, wxDefaultPosition, wxDefaultSize, 0, nullptr, wxLB_SINGLE);
    text_inhalt = NewTextView(panel_inhalt, wxTE_PROCESS_ENTER | wxTE_PROCESS_TAB);
    text_binary = NewTextView(panel_binary, 0);
    text_text = NewTextView(panel_text, 0);
    button_encrypt = new wxButton(this, ID_INFOBOX_ENCRYPT);
    LabelEncryptButton(LibInfobox::INFOBOX_ATTR_ENCRYPTED);
    button_close = new wxButton(this, ID_INFOBOX_CLOSE, L"Schließen");
}

void InfoboxBereich::set_properties() {
    SetTitle(L"Infoboxbereich"); // the untranslated word is what stays
    SetSize(wxSize(600, 400));
    // Columns of hexadecimal digits line up.
    text_binary->SetFont(
        wxFont(10, wxFONTFAMILY_TELETYPE, wxFONTSTYLE_NORMAL, wxFONTWEIGHT_NORMAL, false, "Courier New"));
}

static void FillPage(wxPanel* page, wxTextCtrl* text) {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(text, 1, wxEXPAND | wxALL, 3);
    page->SetSizer(row);
}

void InfoboxBereich::do_layout() {
    FillPage(panel_inhalt, text_inhalt);
    FillPage(panel_binary, text_binary);
    FillPage(panel_text, text_text);
    notebook->AddPage(panel_inhalt, L"Inhalt");
    notebook->AddPage(panel_binary, L"Binary");
    notebook->AddPage(panel_text, L"Text");

    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(notebook, 1, wxEXPAND | wxALL, 3);
    content->Add(button_encrypt, 0, wxALL, 6);

    auto* columns = new wxBoxSizer(wxHORIZONTAL);
    columns->Add(list_box, 1, wxEXPAND | wxALL, 3);
    columns->Add(content, 3, wxEXPAND, 0);

    auto* outer = new wxBoxSizer(wxVERTICAL);
    outer->Add(columns, 1, wxEXPAND, 0);
    outer->Add(button_close, 0, wxALIGN_CENTER_HORIZONTAL | wxALL, 12);
    SetSizer(outer);
    GrowToFit(*this);
    Centre(wxBOTH);
}

void InfoboxBereich::NameControls() {
    SetAccessibleName(*list_box, L"Einträge");
    SetAccessibleName(*notebook, L"Ansichten");
    SetAccessibleName(*text_inhalt, L"Inhalt");
    SetAccessibleName(*text_binary, L"Binary");
}

/// A list that is too narrow for its rows takes nothing from the pages: the window grows along.
void InfoboxBereich::MakeRoomForRows() {
    constexpr int MARGIN = 12; // around the text of a row, the frame included
    int needed = 0;
    for (const wxString& row : list_box->GetStrings()) {
        needed = std::max(needed, list_box->GetTextExtent(row).x + MARGIN);
    }
    const int missing = needed - list_box->GetSize().x;
    if (missing > 0) {
        list_box->SetMinSize(wxSize(needed, -1));
        Widen(*this, missing);
        Layout();
    }
}

void InfoboxBereich::SetP11(Velmor::tkPKCS11* p11, int slot) {
    m_pP11 = p11;
    m_nSlot = slot;
}

int InfoboxBereich::ShowModal() {
    m_startTimer.SetOwner(this, ID_START_TIMER);
    m_startTimer.Start(2, wxTIMER_ONE_SHOT); // the card is read with the dialog already shown
    return wxDialog::ShowModal();
}

void InfoboxBereich::MyEnable(bool enable) {
    for (wxWindow* const control :
         std::initializer_list<wxWindow*>{list_box, text_inhalt, panel_inhalt, text_binary, panel_text,
                                          text_text, notebook, button_close}) {
        if (control == nullptr) {
            return; // those behind a control that is missing stay as they are
        }
        control->Enable(enable);
    }
}

/// F6 changes something here as in the main window: the entry's protection.
void InfoboxBereich::evt_CharHook(wxKeyEvent& event) {
    if (event.GetKeyCode() == WXK_F6 && event.GetModifiers() == wxMOD_NONE) {
        Velmor::PressButton(*button_encrypt);
    } else {
        event.Skip();
    }
}

void InfoboxBereich::evt_button_close(wxCommandEvent& /*event*/) {
    EndModal(0);
}
