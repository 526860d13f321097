// SPDX-License-Identifier: MIT
#include "dialogs/PleaseWait.h"

#include <wx/font.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "app/Accessible.h"
#include "app/GrowToFit.h"
#include "app/I18N.h"

static constexpr int MOST_CORRECTIONS = 5; ///< of one showing: no endless struggle with the window manager

PleaseWait::PleaseWait(wxWindow* parent, int id, const wxString& title, const wxPoint& pos,
                       const wxSize& size, long /*style*/)
    : wxDialog(parent, id, title, pos, size, 0) {
    panel_left =
        new wxPanel(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_NONE);
    panel_right =
        new wxPanel(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_NONE);
    set_properties();
    do_layout();
    MarkAsNotice(*this);
    MarkAsDecoration(*panel_left);
    MarkAsDecoration(*panel_right);
    Bind(wxEVT_SHOW, &PleaseWait::evt_Show, this);
    Bind(wxEVT_MOVE, &PleaseWait::evt_Placed, this);
    Bind(wxEVT_SIZE, &PleaseWait::evt_Placed, this);
    PleaseWait::Show(false);
}

bool PleaseWait::Show(bool show) {
    m_Wanted = show;
    if (show) {
        SetSize(m_Size); // while it was hidden, a late word of its border may have taken some
        GrowToText();
    }
    m_Place = GetPosition();
    m_Corrections = MOST_CORRECTIONS;
    const bool isChanged = wxDialog::Show(show);
    if (show && isChanged) {
        Announce(*this, Translate("Bitte warten..."));
    } else if (isChanged) {
        ForgetShowings(*this);
    }
    return isChanged;
}

void PleaseWait::evt_Show(wxShowEvent& event) {
    if (event.IsShown() && !m_Wanted) {
        wxDialog::Show(false);
    }
    event.Skip();
}

void PleaseWait::evt_Placed(wxEvent& event) {
    event.Skip();
    if (!IsShown() || m_Corrections == 0 || GetRect() == wxRect(m_Place, m_Size)) {
        return;
    }
    --m_Corrections;
    SetSize(wxRect(m_Place, m_Size));
}

void PleaseWait::set_properties() {
    SetTitle(Translate("Bitte warten"));
    SetSize(m_Size);
}

void PleaseWait::do_layout() {
    m_Label = new wxStaticText(this, wxID_ANY, Translate("Bitte warten..."));
    m_Label->SetFont(wxFont(14, wxFONTFAMILY_DEFAULT, wxFONTSTYLE_NORMAL, wxFONTWEIGHT_NORMAL, false));

    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(panel_left, 1, wxEXPAND, 0);
    row->Add(m_Label, 0, wxALIGN_CENTER, 12);
    row->Add(panel_right, 1, wxEXPAND, 0);
    SetSizer(row);
    Layout();
    Centre(wxBOTH);
}

void PleaseWait::GrowToText() {
    if (m_IsMeasured) {
        return;
    }
    m_IsMeasured = true;
    AskForRoomOfText(*m_Label);
    GrowToFit(*this);
    if (GetSize() != m_Size) {
        m_Size = GetSize();
        Centre(wxBOTH);
    }
}
