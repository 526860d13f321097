// SPDX-License-Identifier: MIT
// From the selected row to the pages.
#include "dialogs/InfoboxBereich.h"

#include <wx/button.h>
#include <wx/listbox.h>
#include <wx/strconv.h>
#include <wx/textctrl.h>

#include <cstdlib>

#include "app/wxHelper.h"
#include "card/CardLabels.h"
#include "dialogs/NoPersB.h"
#include "formats/Personenbindung.h"

using Velmor::ByteArray;

void InfoboxBereich::evt_listbox(wxCommandEvent& /*event*/) {
    const wxString row = list_box->GetStringSelection();
    if (row.empty() || row == m_LastSelection) {
        return;
    }
    m_LastSelection = row;
    SetContent(ByteArray(), CONTENT_NONE); // before the card is touched: a failed read leaves nothing stale
    if (m_bInfoboxKonzept) {
        listboxInfoboxKonzept(row);
    } else {
        listbox(row);
    }
}

void InfoboxBereich::listbox(wxString row) {
    std::string label;
    ContentType type = CONTENT_RAW;
    if (row.CmpNoCase("Personenbindung") == 0) {
        label = Velmor::IDENTITY_LINK_LABEL;
        type = CONTENT_PERSONENBINDUNG;
    } else if (row.CmpNoCase(LibInfobox::RFU1_LABEL) == 0) {
        label = LibInfobox::RFU1_LABEL;
    } else if (row.CmpNoCase(LibInfobox::RFU2_LABEL) == 0) {
        label = LibInfobox::RFU2_LABEL;
    }
    ByteArray data;
    if (!LoadInfoboxData(label, data)) {
        data.clear();
    }
    if (!data.empty()) {
        SetContent(data, type);
    } else if (type == CONTENT_PERSONENBINDUNG) {
        ShowNoPersB();
    }
}

void InfoboxBereich::listboxInfoboxKonzept(wxString row) {
    const unsigned char tag = TagOfRow(row);
    unsigned char attributes = 0;
    ByteArray data; // the container's own block of the entry at first, which nobody needs
    if (!m_InfoboxFS.GetEntry(tag, attributes, data)) {
        return;
    }
    data.clear();
    const ContentType type = tag == LibInfobox::PERSONENBINDUNG_INDEX ? CONTENT_PERSONENBINDUNG : CONTENT_RAW;
    LabelEncryptButton(attributes);
    if (LoadInfoboxData(LabelOfTag(tag), data)) {
        SetContent(data, type);
        button_encrypt->Enable(true); // for a blank entry too
    } else if (type == CONTENT_PERSONENBINDUNG) {
        ShowNoPersB(); // for a failed read only: unlike on a card with fixed rows, a blank one is none
    }
}

/// A row begins with its tag in two hexadecimal digits and a blank. 0, which no entry has, for any other
/// text.
unsigned char InfoboxBereich::TagOfRow(const wxString& row) {
    const std::string digits = Velmor::WxStr2MB(row.Left(3));
    return static_cast<unsigned char>(std::strtol(digits.c_str(), nullptr, 16) & 0xFF);
}

void InfoboxBereich::ShowNoPersB() {
    if (Velmor::IsECardToken(m_TokenType)) {
        return;
    }
    NoPersB dialog(this, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE);
    if (dialog.ShowModal() == 1) { // the program that writes an identity link has been started
        EndModal(0);
    }
}

/// The fields as the card holds them; labels alone after a failed parse.
static wxString TextOf(ByteArray& identityLink) {
    Velmor::Personenbindung fields;
    fields.parse(identityLink.data(), static_cast<int>(identityLink.size()));
    wxString text;
    const auto append = [&text](const char* label, const std::string& field) {
        text += label + wxString::FromUTF8(field.c_str());
    };
    append("Vorname: ", fields.getGivenName());
    append("\r\nNachname: ", fields.getFamilyName());
    append("\r\nGeburtsdatum: ", fields.getDateOfBirth());
    append("\r\n\r\nIssuerTemplate: ", fields.getIssuerTemplate());
    append("\r\nIssueInstant: ", fields.getIssueInstant());
    append("\r\n", "");
    return text;
}

/// Up to the first zero byte. Bytes that the local character set does not know give an empty text.
static wxString LocalText(const std::string& bytes) {
    return wxString(bytes.c_str(), wxConvLocal);
}

void InfoboxBereich::SetContent(ByteArray data, ContentType type) {
    if (type == CONTENT_NONE || data.empty()) {
        for (wxTextCtrl* text : {text_binary, text_text, text_inhalt}) {
            text->SetValue(wxEmptyString);
        }
        return;
    }
    text_binary->SetValue(LocalText(data.ToHexString(ByteArray::UPPERCASE)));
    text_text->SetValue(LocalText(data.ToString()));
    text_inhalt->SetValue(type == CONTENT_PERSONENBINDUNG ? TextOf(data) : LocalText(data.ToString()));
}
