// SPDX-License-Identifier: MIT
// Construction, layout and status line of the signature test.
#include "dialogs/TestDialog.h"

#include <wx/app.h>
#include <wx/bitmap.h>
#include <wx/button.h>
#include <wx/combobox.h>
#include <wx/icon.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/utils.h>

#include "app/Accessible.h"
#include "app/ControlIds.h"
#include "app/GrowToFit.h"
#include "app/I18N.h"
#include "app/StatusLine.h"
#include "app/wxHelper.h"
#include "images/Images.h"

// clang-format off
wxBEGIN_EVENT_TABLE(TestDialog, wxDialog)
    EVT_BUTTON(ID_TEST_SIGN, TestDialog::evt_sign)
    EVT_BUTTON(ID_TEST_VERIFY, TestDialog::evt_verify)
    EVT_BUTTON(ID_TEST_CLOSE, TestDialog::evt_closedlg)
    EVT_TIMER(ID_FADE_TIMER, TestDialog::evt_OnFadeOut)
wxEND_EVENT_TABLE()
// clang-format on

TestDialog::TestDialog(wxWindow* parent, int id, const wxString& title, const wxPoint& pos,
                       const wxSize& size, long style)
    : wxDialog(parent, id, title, pos, size, style) {
    CreateControls();
    set_properties();
    do_layout();
    NameControls();
    SetEscapeId(ID_TEST_CLOSE);
    SetIcon(Velmor::IconOf(IconXpm));
    SetStatus(wxEmptyString, false);
}

static wxTextCtrl* NewTextField(wxWindow* parent, const wxString& text, long style) {
    return new wxTextCtrl(parent, wxID_ANY, text, wxDefaultPosition, wxDefaultSize,
                          wxTE_PROCESS_ENTER | wxTE_PROCESS_TAB | wxTE_MULTILINE | style);
}

static wxPanel* NewPanel(wxWindow* parent) {
    return new wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxNO_BORDER | wxTAB_TRAVERSAL);
}

static wxButton* NewButton(wxWindow* parent, int id, const char* label) {
    return new wxButton(parent, id, Translate(label), wxDefaultPosition, wxDefaultSize, 0);
}

void TestDialog::CreateControls() {
    text_document = NewTextField(this,
                                 Translate("Das ist ein Test!\n\nDie Signatur dieses Textes wird nur "
                                           "virtuell erstellt und nicht abgespeichert."),
                                 0);
    text_signature = NewTextField(this, wxEmptyString, wxTE_READONLY);
    const wxString hashes[] = {"SHA-1", "RIPEMD-160"};
    combo_hash = new wxComboBox(this, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, 2, hashes,
                                wxCB_DROPDOWN | wxCB_READONLY | wxCB_SIMPLE);
    panel_gap = NewPanel(this);
    label_algorithm = new wxStaticText(this, wxID_ANY, "ECC");
    panel_left = NewPanel(this);
    bitmap_status = new wxStaticBitmap(this, wxID_ANY, wxNullBitmap);
    label_status =
        new wxStaticText(this, wxID_ANY, "Fehler beim ", wxDefaultPosition, wxDefaultSize, wxALIGN_CENTRE);
    panel_right = NewPanel(this);
    button_sign = NewButton(this, ID_TEST_SIGN, "Unterschreiben");
    button_verify = NewButton(this, ID_TEST_VERIFY, "Prüfen");
    button_close = NewButton(this, ID_TEST_CLOSE, "Dialog schließen");
    panel_height = NewPanel(this);
}

void TestDialog::set_properties() {
    SetSize(wxSize(600, 350));
    combo_hash->SetSelection(0);
    LeaveOutFades(*combo_hash);
    panel_gap->SetMinSize(wxSize(75, 25));
    panel_height->SetSize(wxSize(1, 38));
    panel_height->SetMinSize(wxSize(1, 38)); // the size alone is lost at the first layout
    text_document->SetMinSize(wxSize(572, 100));
    text_signature->SetMinSize(wxSize(572, 80));
    panel_left->SetMinSize(wxSize(5, 38));
    panel_right->SetMinSize(wxSize(5, 38));
    combo_hash->SetMinSize(wxSize(94, 22));
    button_sign->SetFocus();
}

static wxStaticText* NewCaption(wxWindow* parent, const char* word) {
    return new wxStaticText(parent, wxID_ANY, wxString::Format("%s:", Translate(word)));
}

void TestDialog::do_layout() {
    auto* algorithms = new wxBoxSizer(wxHORIZONTAL);
    algorithms->Add(NewCaption(this, "Hashalgorithmus"), 0, wxALIGN_CENTER_VERTICAL | wxALL, 6);
    algorithms->Add(NewGrowingItem(combo_hash, wxSizerFlags().Border(wxRIGHT | wxTOP | wxBOTTOM, 6)));
    algorithms->Add(panel_gap, 0, 0, 0);
    algorithms->Add(NewCaption(this, "Signaturalgorithmus"), 0, wxALIGN_CENTER_VERTICAL | wxALL, 6);
    algorithms->Add(label_algorithm, 0, wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM, 6);

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    for (wxButton* button : {button_sign, button_verify, button_close}) {
        buttons->Add(button, 0, wxALL, 6);
    }

    auto* status = new wxBoxSizer(wxHORIZONTAL);
    status->Add(panel_left, 1, wxEXPAND, 0);
    status->Add(bitmap_status, 0, 0, 0);
    status->Add(label_status, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, 6);
    status->Add(panel_right, 1, wxEXPAND, 0);
    status->Add(panel_height, 0, 0, 0);

    auto* outer = new wxBoxSizer(wxVERTICAL);
    outer->Add(text_document, 0, wxEXPAND | wxALL, 6);
    outer->Add(text_signature, 0, wxEXPAND | wxALL, 6);
    outer->Add(algorithms, 0, wxEXPAND, 0);
    outer->Add(buttons, 0, wxALIGN_CENTER_HORIZONTAL | wxALL, 0);
    outer->Add(status, 0, wxEXPAND | wxALIGN_CENTER_HORIZONTAL, 3);
    SetSizer(outer);
    GrowToFit(*this);
}

void TestDialog::NameControls() {
    SetAccessibleName(*text_document, Translate("Zu signierender Text"));
    SetAccessibleName(*text_signature, Translate("Signatur in Base64"));
    SetAccessibleName(*combo_hash, Translate("Hashalgorithmus"));
    MarkAsNotice(*label_status);
    for (wxWindow* decoration :
         std::initializer_list<wxWindow*>{panel_gap, panel_left, bitmap_status, panel_right, panel_height}) {
        MarkAsDecoration(*decoration);
    }
}

void TestDialog::evt_closedlg(wxCommandEvent& /*event*/) {
    EndModal(0);
}

// --- Status line -------------------------------------------------------------------------------------------

StatusLine TestDialog::TheStatusLine() {
    return {*label_status, *bitmap_status, *button_close, m_fade, m_fadeTimer};
}

void TestDialog::SetStatus(wxString text, bool isError) {
    StatusLine line = TheStatusLine();
    wxBitmap icon;
    if (text.empty()) {
        line.Hide();
    } else {
        icon = line.Show(text, isError);
    }
    bitmap_status->Refresh();
    RenewLayoutOf(*this);
    YieldAndKeepFocus();
    line.BeginFade(icon, [this] {
        wxTimerEvent event(m_fadeTimer);
        event.SetId(wxID_ANY);
        evt_OnFadeOut(event);
    });
}

void TestDialog::evt_OnFadeOut(wxTimerEvent& /*event*/) {
    if (bitmap_status != nullptr) {
        TheStatusLine().NextStep();
    }
}
