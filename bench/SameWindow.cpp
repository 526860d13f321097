// SPDX-License-Identifier: MIT
// What the card manager shows, by the shortest code of the toolkit: the same controls, words, pictures, rows
// and locale, but no library, no configuration, no command and no refresh. What ours costs above it is ours.
#include <wx/app.h>
#include <wx/bmpbuttn.h>
#include <wx/button.h>
#include <wx/frame.h>
#include <wx/icon.h>
#include <wx/imaglist.h>
#include <wx/intl.h>
#include <wx/listctrl.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/statbox.h>
#include <wx/stattext.h>

#include <initializer_list>

#include "images/Banner.h"
#include "images/Images.h"

namespace {

constexpr int ROWS = 10;

wxBitmap Banner() {
    return wxBitmap(wxImage(BANNER_WIDTH, BANNER_HEIGHT, const_cast<unsigned char*>(BANNER_PIXELS), true));
}

class SameFrame : public wxFrame {
public:
    SameFrame() : wxFrame(nullptr, wxID_ANY, "Kartenverwaltung (x86)"), m_Images(31, 22) {
        m_Images.Add(wxIcon(chip_small_xpm));
        auto* all = new wxBoxSizer(wxVERTICAL);
        all->Add(new wxStaticBitmap(m_Panel, wxID_ANY, Banner()), 0, wxALIGN_CENTER);
        all->Add(CardList(), 1, wxEXPAND);
        all->Add(Commands(), 0, wxEXPAND);
        all->Add(StatusRow(), 0, wxALL | wxALIGN_CENTER_HORIZONTAL, 3);
        m_Panel->SetSizer(all);
        auto* frame = new wxBoxSizer(wxVERTICAL);
        frame->Add(m_Panel, 1, wxEXPAND);
        SetIcon(wxIcon(IconXpm));
        SetMinSize(wxSize(800, 600));
        SetSizerAndFit(frame);
        Centre();
    }

private:
    wxSizer* CardList() {
        auto* list = new wxListCtrl(m_Panel, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                    wxLC_REPORT | wxLC_SINGLE_SEL | wxSUNKEN_BORDER);
        list->SetImageList(&m_Images, wxIMAGE_LIST_SMALL);
        list->AppendColumn("Kartennummer", wxLIST_FORMAT_LEFT, 170);
        list->AppendColumn(wxString::FromUTF8("Ausgestellt für"), wxLIST_FORMAT_LEFT, 350);
        list->AppendColumn("Kartentyp", wxLIST_FORMAT_LEFT, 190);
        for (int row = 0; row < ROWS; ++row) {
            list->InsertItem(row, wxString::Format("%016d", row), 0);
            list->SetItem(row, 1, "Anna Beispiel");
            list->SetItem(row, 2, "Orsel Carta ACOS 04");
        }
        list->SetItemState(0, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
        auto* sizer = new wxBoxSizer(wxHORIZONTAL);
        sizer->Add(list, 1, wxEXPAND | wxTOP | wxLEFT, 6);
        sizer->Add(new wxBitmapButton(m_Panel, wxID_ANY, wxBitmap(ButtonReload)), 0,
                   wxALIGN_BOTTOM | wxLEFT | wxRIGHT, 6);
        return sizer;
    }
    wxSizer* Column(const char* title, std::initializer_list<const char*> labels) {
        auto* column = new wxStaticBoxSizer(wxVERTICAL, m_Panel, title);
        for (const char* label : labels) {
            column->Add(new wxButton(column->GetStaticBox(), wxID_ANY, wxString::FromUTF8(label)), 0,
                        wxEXPAND | wxALL, 6);
        }
        return column;
    }
    wxSizer* Commands() {
        auto* commands = new wxBoxSizer(wxHORIZONTAL);
        commands->Add(Column("Signaturzertifikat", {"6 stellige PIN ändern", "6 stellige PIN entsperren",
                                                    "Zertifikat anzeigen", "Signatur testen"}),
                      1, wxEXPAND | wxALL, 12);
        commands->Add(
            Column("Geheimhaltungszertifikat", {"4 stellige PIN ändern", "4 stellige PIN entsperren",
                                                "Zertifikat anzeigen", "Signatur testen"}),
            1, wxEXPAND | wxALL, 12);
        commands->Add(Column("Infoboxbereich",
                             {"4 stellige PIN ändern", "4 stellige PIN entsperren", "Infobox anzeigen"}),
                      1, wxEXPAND | wxALL, 12);
        return commands;
    }
    /// Icon and text of the status line are there and hidden; a panel keeps their place.
    wxSizer* StatusRow() {
        auto* status = new wxBoxSizer(wxHORIZONTAL);
        auto* icon = new wxStaticBitmap(m_Panel, wxID_ANY, wxNullBitmap);
        auto* text = new wxStaticText(m_Panel, wxID_ANY, wxEmptyString);
        icon->Hide();
        text->Hide();
        status->Add(new wxPanel(m_Panel), 1, wxEXPAND);
        status->Add(icon);
        status->Add(text);
        status->Add(new wxPanel(m_Panel), 1, wxEXPAND);
        status->Add(new wxPanel(m_Panel, wxID_ANY, wxDefaultPosition, wxSize(1, 32)));
        return status;
    }

    wxImageList m_Images;
    wxPanel* m_Panel = new wxPanel(this);
};

class SameApp : public wxApp {
public:
    bool OnInit() override {
        m_Locale.Init(wxLANGUAGE_DEFAULT);
        (new SameFrame)->Show(true);
        return true;
    }

private:
    wxLocale m_Locale;
};

} // namespace

wxIMPLEMENT_APP(SameApp);
