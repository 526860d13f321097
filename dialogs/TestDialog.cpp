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

#include "app/ControlIds.h"
#include "app/I18N.h"
#include "images/Images.h"

static constexpr int FADE_STEPS = 50;
static constexpr int FADE_HOLD_MS = 1500; ///< the message stands nearly unchanged
static constexpr int FADE_STEP_MS = 100;

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
    SetIcon(wxIcon(IconXpm));
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
    algorithms->Add(combo_hash, 0, wxRIGHT | wxTOP | wxBOTTOM, 6);
    algorithms->Add(panel_gap, 0, 0, 0);
    algorithms->Add(NewCaption(this, "Signaturalgorithmus"), 0, wxALIGN_CENTER_VERTICAL | wxALL, 6);
    algorithms->Add(label_algorithm, 0, wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM, 6);

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    for (wxButton* button : {button_sign, button_verify, button_close})
        buttons->Add(button, 0, wxALL, 6);

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
    Layout();
}

void TestDialog::evt_closedlg(wxCommandEvent& /*event*/) {
    EndModal(0);
}

// --- Status line -------------------------------------------------------------------------------------------

void TestDialog::SetStatus(wxString text, bool isError) {
    wxBitmap icon;
    const bool isShown = !text.empty();
    if (isShown)
        icon = wxBitmap(isError ? ButtonCancel : ButtonOk);
    label_status->Show(isShown);
    bitmap_status->Show(isShown);
    if (isShown) {
        label_status->SetLabel(text);
        bitmap_status->ClearBackground();
        bitmap_status->SetBitmap(icon);
        bitmap_status->Refresh();
        bitmap_status->Update();
    }
    bitmap_status->Refresh();
    RenewLayout();
    if (icon.IsOk())
        StartFade(icon);
}

/// Makes the dialog lay itself out again with its size unchanged. The pixel more and less, in this order, is
/// what moves the toolkit to do it.
void TestDialog::RenewLayout() {
    int width = 0;
    int height = 0;
    GetSize(&width, &height);
    SetSize(-1, -1, width, height + 1);
    SetSize(-1, -1, width, height);
    wxSafeYield(nullptr, false);
}

void TestDialog::StartFade(const wxBitmap& icon) {
    m_fade.Init(button_close->GetForegroundColour(), button_close->GetBackgroundColour(),
                icon.ConvertToImage(), FADE_STEPS);
    wxTimerEvent event(m_fadeTimer);
    event.SetId(wxID_ANY);
    evt_OnFadeOut(event);
    m_fadeTimer.Start(FADE_HOLD_MS, wxTIMER_CONTINUOUS);
}

void TestDialog::evt_OnFadeOut(wxTimerEvent& /*event*/) {
    if (bitmap_status == nullptr)
        return;
    m_fade.NextStep();
    if (m_fade.Finished()) {
        m_fadeTimer.Stop();
        bitmap_status->Show(false);
        label_status->Show(false);
        label_status->SetForegroundColour(button_close->GetForegroundColour());
        return;
    }
    label_status->SetForegroundColour(m_fade.GetColour());
    label_status->Refresh();
    label_status->Update();
    bitmap_status->SetBitmap(wxBitmap(m_fade.GetImage()));
    if (m_fadeTimer.GetInterval() != FADE_STEP_MS)
        m_fadeTimer.Start(FADE_STEP_MS, wxTIMER_CONTINUOUS);
}
