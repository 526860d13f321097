// SPDX-License-Identifier: MIT
// What a person can do in the certificate window.
#include "viewer/CertificateFrame.h"

#include <wx/bookctrl.h>
#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/filedlg.h>
#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/notebook.h>
#include <wx/panel.h>
#include <wx/textctrl.h>

#include "app/Accessible.h"
#include "app/I18N.h"
#include "viewer/CertificateFile.h"
#include "viewer/LongText.h"
#include "viewer/RowList.h"
#include "viewer/ViewerIds.h"
#include "viewer/VisibleText.h"

using viewer::FileForm;
using viewer::FromUtf8;

namespace {

// Bytes that the text fields show; copying and saving have no limit.
constexpr std::size_t LONGEST_VALUE_SHOWN = 16UL * 1024;
constexpr std::size_t LONGEST_VALUE_SAID = 200;
constexpr std::size_t LONGEST_TEXT_SHOWN = 256UL * 1024;
constexpr std::size_t NO_LIMIT = std::string::npos;

} // namespace

// --- Showing -----------------------------------------------------------------------------------------------

void CertificateFrame::evt_ItemSelected(wxListEvent& /*event*/) {
    ShowValue();
}

void CertificateFrame::ShowValue() {
    const viewer::Row* row = list_rows->Selected();
    text_value->ChangeValue(row != nullptr ? FromUtf8(row->Value(LONGEST_VALUE_SHOWN)) : wxString());
    TellRow(row);
}

/// The list has no rows on the accessibility bus.
void CertificateFrame::TellRow(const viewer::Row* row) {
    if (row == nullptr) {
        return;
    }
    wxWindow& list = FocusedPartOf(*list_rows);
    const std::string value = row->Value(LONGEST_VALUE_SAID);
    const wxString words = value.empty() ? row->Label() : row->Label() + ": " + FromUtf8(value);
    SetAccessibleDescription(list, words);
    Announce(list, words);
}

void CertificateFrame::evt_PageChanged(wxBookCtrlEvent& event) {
    event.Skip();
    if (m_Notebook->GetCurrentPage() == panel_text && text_all->IsEmpty()) {
        text_all->ChangeValue(FromUtf8(WholeText(LONGEST_TEXT_SHOWN)));
        text_all->SetInsertionPoint(0);
    }
}

std::string CertificateFrame::WholeText(std::size_t limit) const {
    const std::string text = viewer::LongText(m_Rows, limit);
    const std::string pem = m_Certificate.ToPem();
    return text + "\n" + viewer::CutText(pem, limit);
}

// --- Copying -----------------------------------------------------------------------------------------------

void CertificateFrame::Copy(const std::string& utf8) {
    if (wxTheClipboard->Open()) {
        wxTheClipboard->SetData(new wxTextDataObject(FromUtf8(utf8)));
        wxTheClipboard->Flush(); // so that it is still there when the window has gone
        wxTheClipboard->Close();
    }
}

void CertificateFrame::evt_copy_row(wxCommandEvent& /*event*/) {
    if (const viewer::Row* row = list_rows->Selected()) {
        Copy(viewer::RowText(*row));
    }
}

void CertificateFrame::evt_copy_value(wxCommandEvent& /*event*/) {
    if (const viewer::Row* row = list_rows->Selected()) {
        Copy(row->Value());
    }
}

void CertificateFrame::evt_copy_all(wxCommandEvent& /*event*/) {
    Copy(WholeText(NO_LIMIT));
}

void CertificateFrame::evt_ContextMenu(wxContextMenuEvent& /*event*/) {
    wxMenu menu;
    menu.Append(ID_VIEWER_COPY_ROW, Translate("Zeile kopieren"));
    menu.Append(ID_VIEWER_COPY_VALUE, Translate("Wert kopieren"));
    menu.Append(ID_VIEWER_COPY_ALL, Translate("Alles kopieren"));
    menu.AppendSeparator();
    menu.Append(ID_VIEWER_SAVE, Translate("Speichern unter..."));
    PopupMenu(&menu);
}

// --- Saving ------------------------------------------------------------------------------------------------

std::string CertificateFrame::AskForTarget(int& filter) {
    wxFileDialog dialog(this, Translate("Zertifikat speichern"), wxEmptyString, "certificate.pem",
                        Translate("PEM, Text (*.pem)|*.pem|DER, binär (*.der;*.cer)|*.der;*.cer"),
                        wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK) {
        return {};
    }
    filter = dialog.GetFilterIndex();
    return std::string(dialog.GetPath().fn_str());
}

void CertificateFrame::evt_save(wxCommandEvent& /*event*/) {
    int filter = 0;
    const std::string path = AskForTarget(filter);
    if (path.empty()) {
        return;
    }
    const FileForm form = viewer::FormOf(path, filter == 1 ? FileForm::DER : FileForm::PEM);
    const wxString failure = viewer::SaveCertificate(path, form, m_Certificate);
    if (!failure.empty()) {
        wxMessageBox(failure, Translate("Zertifikat speichern"), wxOK | wxICON_ERROR, this);
    }
}

// --- Keys --------------------------------------------------------------------------------------------------

void CertificateFrame::evt_button_close(wxCommandEvent& /*event*/) {
    Close();
}

/// The text fields keep their own Ctrl+C, which copies what is marked in them.
void CertificateFrame::evt_CharHook(wxKeyEvent& event) {
    wxCommandEvent none;
    const bool isInText = dynamic_cast<wxTextCtrl*>(FindFocus()) != nullptr;
    const bool isCommand = event.GetModifiers() == wxMOD_CONTROL;
    if (event.GetKeyCode() == WXK_ESCAPE || (isCommand && event.GetKeyCode() == 'W')) {
        Close();
    } else if (isCommand && event.GetKeyCode() == 'S') {
        evt_save(none);
    } else if (isCommand && event.GetKeyCode() == 'C' && !isInText) {
        evt_copy_row(none);
    } else if (isCommand && (event.GetKeyCode() == WXK_PAGEDOWN || event.GetKeyCode() == WXK_PAGEUP)) {
        m_Notebook->AdvanceSelection(event.GetKeyCode() == WXK_PAGEDOWN);
    } else {
        event.Skip();
    }
}
