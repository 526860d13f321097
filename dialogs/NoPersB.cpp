// SPDX-License-Identifier: MIT
#include "dialogs/NoPersB.h"

#include <wx/button.h>
#include <wx/font.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/utils.h>

#include "app/Accessible.h"
#include "app/ControlIds.h"
#include "app/GrowToFit.h"
#include "app/I18N.h"
#include "foundation/Config.h"
#include "foundation/FileAndDirectory.h"
#include "foundation/ProgramConfig.h"

/// Result of a modal run that started the external program.
static constexpr int PROGRAM_STARTED = 1;

// clang-format off
wxBEGIN_EVENT_TABLE(NoPersB, wxDialog)
    EVT_BUTTON(ID_NOPERSB_WRITE, NoPersB::evt_write_persb)
    EVT_BUTTON(ID_NOPERSB_CLOSE, NoPersB::evt_close_dlg)
wxEND_EVENT_TABLE()
// clang-format on

static wxPanel* NewSpring(wxWindow* parent) {
    return new wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxNO_BORDER | wxTAB_TRAVERSAL);
}

NoPersB::NoPersB(wxWindow* parent, int id, const wxString& title, const wxPoint& pos, const wxSize& size,
                 long style)
    : wxDialog(parent, id, title, pos, size, style) {
    panel_left = NewSpring(this);
    button_write = new wxButton(this, ID_NOPERSB_WRITE, Translate("Personenbindung aufbringen"));
    button_close = new wxButton(this, ID_NOPERSB_CLOSE, Translate("Schließen"));
    panel_right = NewSpring(this);
    set_properties();
    do_layout();
    SetEscapeId(ID_NOPERSB_CLOSE);
    MarkAsDecoration(*panel_left);
    MarkAsDecoration(*panel_right);
    button_write->Enable(false);
    button_write->Show(false);
}

void NoPersB::set_properties() {
    SetTitle(Translate("Keine Personenbindung"));
}

void NoPersB::do_layout() {
    auto* headline = new wxStaticText(
        this, wxID_ANY, Translate("Sie haben noch keine \nZMR Stammzahl (Personenbindung)\nauf Ihrer Karte."),
        wxDefaultPosition, wxDefaultSize, wxALIGN_CENTRE);
    headline->SetFont(wxFont(10, wxFONTFAMILY_DEFAULT, wxFONTSTYLE_NORMAL, wxFONTWEIGHT_BOLD, false));
    AskForRoomOfText(*headline);
    auto* purpose =
        new wxStaticText(this, wxID_ANY,
                         Translate("Die Personenbindung stellt eine Verbindung zwischen Ihrem \n"
                                   "qualifizierten Zertifikat und Ihrer Stammzahl her.\n"
                                   "Da Sie im Zertifikat nur durch Ihren Namen identifiziert sind, \n"
                                   "wären sonst Verwechslungen zwischen mehreren Personen möglich."));
    auto* program = new wxStaticText( // "Program" is no slip
        this, wxID_ANY,
        Translate("Zum Aufbringen der Personenbindung auf Ihre Karte muss ein \n"
                  "externes Program gestartet werden."));

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(panel_left, 1, wxEXPAND, 0);
    buttons->Add(button_write, 0, wxALL, 12);
    buttons->Add(button_close, 0, wxALL, 12);
    buttons->Add(panel_right, 1, wxEXPAND, 0);

    auto* outer = new wxBoxSizer(wxVERTICAL);
    outer->Add(headline, 0, wxEXPAND | wxALL, 6);
    outer->Add(purpose, 0, wxALL, 6);
    outer->Add(program, 0, wxALL, 6);
    outer->Add(buttons, 0, wxEXPAND | wxTOP, 3);
    SetSizer(outer);
    outer->Fit(this);
    Layout();
}

void NoPersB::evt_write_persb(wxCommandEvent& /*event*/) {
    std::string directory; // stays empty without a setting: the search path then finds the program
    Velmor::Config::GetHandle(0)->GetString(Velmor::KEY_KUNDENPFORTE_INSTALL_DIR, directory);
    const std::string path = Velmor::CombinePaths(directory, "OrselPlus");
    const wxString command = wxString::Format(L"\"%s\" -z", wxString::FromUTF8(path.c_str()));
    wxExecute(command, wxEXEC_ASYNC, nullptr, nullptr);
    EndDialog(PROGRAM_STARTED);
}

void NoPersB::evt_close_dlg(wxCommandEvent& /*event*/) {
    EndDialog(0);
}
