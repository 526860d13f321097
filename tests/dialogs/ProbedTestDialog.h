// SPDX-License-Identifier: MIT
// The signature test with its controls in sight.
#ifndef ORSEL_TESTS_DIALOGS_PROBEDTESTDIALOG_H
#define ORSEL_TESTS_DIALOGS_PROBEDTESTDIALOG_H

#include "dialogs/TestDialog.h"

#include <wx/button.h>
#include <wx/combobox.h>
#include <wx/panel.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include <string>
#include <vector>

#include "tests/dialogs/ModalDialogs.h"
#include "tests/support/GuiTest.h"

class ProbedTestDialog : public TestDialog {
public:
    explicit ProbedTestDialog(wxWindow* parent = nullptr)
        : TestDialog(parent, wxID_ANY, "Test", wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE) {}
    using TestDialog::bitmap_status;
    using TestDialog::button_close;
    using TestDialog::button_sign;
    using TestDialog::button_verify;
    using TestDialog::combo_hash;
    using TestDialog::label_algorithm;
    using TestDialog::label_status;
    using TestDialog::m_ApplType;
    using TestDialog::m_fade;
    using TestDialog::m_fadeTimer;
    using TestDialog::m_nSlot;
    using TestDialog::m_pP11;
    using TestDialog::panel_gap;
    using TestDialog::panel_height;
    using TestDialog::panel_left;
    using TestDialog::panel_right;
    using TestDialog::TestDialog;
    using TestDialog::text_document;
    using TestDialog::text_signature;

    void Sign() { Press(*this, 5448); }
    void Verify() { Press(*this, 5449); }

    /// The text on the status line; none while it is hidden.
    wxString Status() {
        if (label_status->IsShown() != bitmap_status->IsShown()) {
            return "(half a status)";
        }
        return label_status->IsShown() ? label_status->GetLabel() : wxString();
    }
    std::vector<std::string> Hashes() {
        std::vector<std::string> rows;
        for (const wxString& row : combo_hash->GetStrings()) {
            rows.emplace_back(row.utf8_str());
        }
        return rows;
    }
};

/// Whether the icon, whose alpha a fade changes, has the colours of this picture.
inline bool SamePicture(const wxBitmap& shown, const char* const* xpm) {
    const wxImage a = shown.ConvertToImage();
    const wxImage b = wxBitmap(xpm).ConvertToImage();
    for (int y = 0; y < b.GetHeight(); ++y) {
        for (int x = 0; x < b.GetWidth(); ++x) {
            const bool isSame = a.GetRed(x, y) == b.GetRed(x, y) && a.GetBlue(x, y) == b.GetBlue(x, y);
            if (!b.IsTransparent(x, y) && !isSame) {
                return false;
            }
        }
    }
    return a.GetSize() == b.GetSize();
}

#endif
