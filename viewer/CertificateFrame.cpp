// SPDX-License-Identifier: MIT
// Construction and layout of the certificate window.
#include "viewer/CertificateFrame.h"

#include <wx/bookctrl.h>
#include <wx/button.h>
#include <wx/listctrl.h>
#include <wx/notebook.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "app/Accessible.h"
#include "app/GrowToFit.h"
#include "app/I18N.h"
#include "viewer/CertificateRows.h"
#include "viewer/Icons.h"
#include "viewer/RowList.h"
#include "viewer/ViewerIds.h"
#include "viewer/VisibleText.h"

// clang-format off
wxBEGIN_EVENT_TABLE(CertificateFrame, wxFrame)
    EVT_BUTTON(ID_VIEWER_COPY_ROW, CertificateFrame::evt_copy_row)
    EVT_BUTTON(ID_VIEWER_COPY_ALL, CertificateFrame::evt_copy_all)
    EVT_BUTTON(ID_VIEWER_SAVE, CertificateFrame::evt_save)
    EVT_BUTTON(ID_VIEWER_CLOSE, CertificateFrame::evt_button_close)
    EVT_MENU(ID_VIEWER_COPY_ROW, CertificateFrame::evt_copy_row)
    EVT_MENU(ID_VIEWER_COPY_VALUE, CertificateFrame::evt_copy_value)
    EVT_MENU(ID_VIEWER_COPY_ALL, CertificateFrame::evt_copy_all)
    EVT_MENU(ID_VIEWER_SAVE, CertificateFrame::evt_save)
    EVT_LIST_ITEM_SELECTED(ID_VIEWER_ROWS, CertificateFrame::evt_ItemSelected)
    EVT_NOTEBOOK_PAGE_CHANGED(ID_VIEWER_PAGES, CertificateFrame::evt_PageChanged)
    EVT_CHAR_HOOK(CertificateFrame::evt_CharHook)
wxEND_EVENT_TABLE()
// clang-format on

namespace {

constexpr int STATE_ICON_SIZE = 48;
constexpr int VALUE_LINES = 4;
constexpr int MARGIN = 12;                 ///< pixels above and below the lines of a field
constexpr std::size_t LONGEST_LABEL = 120; ///< bytes of a name that stand above

wxString HeadText(const std::string& visible) {
    return viewer::FromUtf8(viewer::CutText(visible, LONGEST_LABEL));
}

/// A name is no place for the toolkit's mnemonics.
wxStaticText* NewLabel(wxWindow* parent, const wxString& text) {
    auto* label = new wxStaticText(parent, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                                   wxST_ELLIPSIZE_END | wxST_NO_AUTORESIZE);
    label->SetLabelText(text);
    return label;
}

/// As wide as there is room, as high as its font needs.
void SetLabelFont(wxStaticText* label, const wxFont& font) {
    constexpr int LEAST_WIDTH = 100;
    label->SetFont(font);
    label->SetMinSize(wxSize(LEAST_WIDTH, label->GetCharHeight() + 2));
}

wxPanel* NewPanel(wxWindow* parent) {
    return new wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_NONE);
}

wxTextCtrl* NewTextView(wxWindow* parent, long style) {
    auto* text = new wxTextCtrl(parent, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                                wxTE_MULTILINE | wxTE_READONLY | style);
    const int size = text->GetFont().GetPointSize();
    text->SetFont(wxFont(size, wxFONTFAMILY_TELETYPE, wxFONTSTYLE_NORMAL, wxFONTWEIGHT_NORMAL));
    return text;
}

} // namespace

CertificateFrame::CertificateFrame(wxWindow* parent, const Velmor::slCertificate& certificate,
                                   std::time_t now)
    : wxFrame(parent, wxID_ANY, wxEmptyString, wxDefaultPosition, wxSize(760, 640), wxDEFAULT_FRAME_STYLE),
      m_Certificate(certificate),
      m_State(viewer::StateAt(m_Certificate, now)),
      m_Rows(viewer::RowsOf(m_Certificate)) {
    CreateControls();
    SetProperties();
    DoLayout();
    NameControls();
    // By hand, since the list takes the event that its own child sends for the keyboard.
    list_rows->Bind(wxEVT_CONTEXT_MENU, &CertificateFrame::evt_ContextMenu, this);
    list_rows->Select(1); // the first row below the first heading
    list_rows->SetFocus();
}

void CertificateFrame::CreateControls() {
    panel_main = NewPanel(this);
    bitmap_state =
        new wxStaticBitmap(panel_main, wxID_ANY, viewer::StateIcon(m_State.m_Validity, STATE_ICON_SIZE));
    label_holder = NewLabel(panel_main, HeadText(viewer::HolderOf(m_Certificate)));
    label_state = NewLabel(panel_main, m_State.m_Sentence);
    label_issuer =
        NewLabel(panel_main, Translate("Ausgestellt von:") + " " + HeadText(viewer::IssuerOf(m_Certificate)));
    label_period = NewLabel(panel_main, wxString::Format(Translate("Gültig von %s bis %s"),
                                                         viewer::LocalTime(m_Certificate.GetNotBefore()),
                                                         viewer::LocalTime(m_Certificate.GetNotAfter())));
    label_note = NewLabel(panel_main,
                          Translate("Das sagt allein der Zeitraum: Signatur und Sperre sind nicht geprüft."));

    m_Notebook = new wxNotebook(panel_main, ID_VIEWER_PAGES);
    panel_rows = NewPanel(m_Notebook);
    list_rows = new RowList(panel_rows, ID_VIEWER_ROWS, m_Rows);
    text_value = NewTextView(panel_rows, wxTE_CHARWRAP);
    panel_text = NewPanel(m_Notebook);
    text_all = NewTextView(panel_text, wxTE_DONTWRAP);

    button_copy_row = new wxButton(panel_main, ID_VIEWER_COPY_ROW, Translate("&Zeile kopieren"));
    button_copy_all = new wxButton(panel_main, ID_VIEWER_COPY_ALL, Translate("&Alles kopieren"));
    button_save = new wxButton(panel_main, ID_VIEWER_SAVE, Translate("Speichern &unter..."));
    button_close = new wxButton(panel_main, ID_VIEWER_CLOSE, Translate("&Schließen"));
}

void CertificateFrame::SetProperties() {
    SetTitle(HeadText(viewer::HolderOf(m_Certificate)) + " – " + Translate("Zertifikat"));
    SetIcons(viewer::WindowIcons());
    SetMinSize(wxSize(560, 420));
    const wxFont font = label_holder->GetFont();
    SetLabelFont(label_holder, font.Bold().Scaled(1.4F));
    SetLabelFont(label_state, font.Bold());
    for (wxStaticText* label : {label_issuer, label_period, label_note}) {
        SetLabelFont(label, font);
    }
    // Names may have any length; these are ours.
    for (wxStaticText* label : {label_state, label_period, label_note}) {
        AskForRoomOfText(*label);
    }
    label_note->Show(m_State.m_Validity == viewer::Validity::VALID);
    text_value->SetMinSize(wxSize(-1, VALUE_LINES * text_value->GetCharHeight() + MARGIN));
}

void CertificateFrame::NameControls() {
    MarkAsDecoration(*bitmap_state); // the sentence beside it says the same
    SetAccessibleName(*m_Notebook, Translate("Ansichten"));
    SetAccessibleName(FocusedPartOf(*list_rows),
                      wxString::Format(Translate("Felder: %ld"), static_cast<long>(m_Rows.size())));
    SetAccessibleName(*text_value, Translate("Wert"));
    SetAccessibleName(*text_all, Translate("Text und PEM"));
}

wxSizer* CertificateFrame::LayoutOfHead() {
    auto* lines = new wxBoxSizer(wxVERTICAL);
    lines->Add(label_holder, 0, wxEXPAND | wxBOTTOM, 3);
    lines->Add(label_state, 0, wxEXPAND | wxBOTTOM, 6);
    lines->Add(label_issuer, 0, wxEXPAND | wxBOTTOM, 3);
    lines->Add(label_period, 0, wxEXPAND, 0);
    lines->Add(label_note, 0, wxEXPAND | wxTOP, 3);

    auto* head = new wxBoxSizer(wxHORIZONTAL);
    head->Add(bitmap_state, 0, wxALL, 12);
    head->Add(lines, 1, wxEXPAND | wxTOP | wxRIGHT | wxBOTTOM, 12);
    return head;
}

void CertificateFrame::DoLayout() {
    auto* rows = new wxBoxSizer(wxVERTICAL);
    rows->Add(list_rows, 1, wxEXPAND | wxALL, 6);
    rows->Add(text_value, 0, wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM, 6);
    panel_rows->SetSizer(rows);
    auto* text = new wxBoxSizer(wxVERTICAL);
    text->Add(text_all, 1, wxEXPAND | wxALL, 6);
    panel_text->SetSizer(text);
    m_Notebook->AddPage(panel_rows, Translate("Einzelheiten"));
    m_Notebook->AddPage(panel_text, Translate("Text und PEM"));

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(button_copy_row, 0, wxRIGHT, 6);
    buttons->Add(button_copy_all, 0, wxRIGHT, 6);
    buttons->Add(button_save, 0, 0, 0);
    buttons->AddStretchSpacer();
    buttons->Add(button_close, 0, wxLEFT, 6);

    auto* panel = new wxBoxSizer(wxVERTICAL);
    panel->Add(LayoutOfHead(), 0, wxEXPAND, 0);
    panel->Add(m_Notebook, 1, wxEXPAND | wxLEFT | wxRIGHT, 12);
    panel->Add(buttons, 0, wxEXPAND | wxALL, 12);
    panel_main->SetSizer(panel);

    auto* frame = new wxBoxSizer(wxVERTICAL);
    frame->Add(panel_main, 1, wxEXPAND, 0);
    SetSizer(frame);
    GrowToFit(*this);
    Widen(*this, MissingForColumns(*list_rows));
    Centre(wxBOTH);
}
