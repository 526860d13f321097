// SPDX-License-Identifier: MIT
#ifndef ORSEL_DIALOGS_TESTDIALOG_H
#define ORSEL_DIALOGS_TESTDIALOG_H

#include "app/FadeOut.h"
#include "card/CardTypes.h"

#include <wx/dialog.h>
#include <wx/timer.h>

#include <string>
#include <vector>

class StatusLine;
class wxButton;
class wxComboBox;
class wxPanel;
class wxStaticBitmap;
class wxStaticText;
class wxTextCtrl;

namespace Velmor {
class tkPKCS11;
}

/// Tries a card's key on a text: one button signs it, the other verifies the signature that is shown. The
/// text is hashed here, and the card gets the finished hash. Results and failures go to a status line that
/// fades away; nothing is stored. The token library asks for the PIN while the card signs.
class TestDialog : public wxDialog {
public:
    TestDialog(wxWindow* parent, int id, const wxString& title, const wxPoint& pos = wxDefaultPosition,
               const wxSize& size = wxDefaultSize, long style = wxDEFAULT_DIALOG_STYLE);

    /// Sets the dialog up for one key of a card, before it is shown. p11 stays the caller's, slot is an index
    /// into its last slot list. A card without this key leaves a message on the status line.
    void SetP11(Velmor::tkPKCS11* p11, int slot, Velmor::ApplType appl);

    /// The selected hash algorithm. False, with a message on the status line and out at 0, without one.
    bool GetHashAlgorithm(Velmor::HashAlgorithm& out);

    /// Shows text with the cross (error) or the tick and lets both fade away. Empty text hides the line and
    /// does not touch the fade timer.
    void SetStatus(wxString text, bool isError);

    virtual void evt_sign(wxCommandEvent& event);
    virtual void evt_verify(wxCommandEvent& event);
    virtual void evt_closedlg(wxCommandEvent& event);
    virtual void evt_OnFadeOut(wxTimerEvent& event);

protected:
    // Named as the form generator does. The toolkit's tree of windows owns the controls.
    wxTextCtrl* text_document;
    wxTextCtrl* text_signature; ///< base64
    wxComboBox* combo_hash;
    wxPanel* panel_gap;
    wxStaticText* label_algorithm; ///< kind of the key
    wxPanel* panel_left;
    wxStaticBitmap* bitmap_status;
    wxStaticText* label_status;
    wxPanel* panel_right;
    wxButton* button_sign;
    wxButton* button_verify;
    wxButton* button_close;
    wxPanel* panel_height; ///< keeps the status row 38 pixels high

    wxTimer m_fadeTimer; ///< its ticks reach nobody until SetP11 has found a key: a status stays until then
    FadeOut m_fade;
    Velmor::tkPKCS11* m_pP11 = nullptr; ///< not owned
    int m_nSlot = 0;
    Velmor::ApplType m_ApplType = Velmor::ApplEncryption;

private:
    void CreateControls();
    void set_properties();
    void do_layout();
    void NameControls();
    StatusLine TheStatusLine();
    void FillHashList(int keyBits);
    bool HashDocument(std::vector<unsigned char>& hash);
    bool OpenSession();

    wxDECLARE_EVENT_TABLE();
};

#endif
