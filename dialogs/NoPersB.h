// SPDX-License-Identifier: MIT
#ifndef ORSEL_DIALOGS_NOPERSB_H
#define ORSEL_DIALOGS_NOPERSB_H

#include <wx/dialog.h>

class wxButton;
class wxPanel;

/// Tells the user that the card holds no identity link and what one is for. The way to the external program
/// that writes one is closed: its button exists, but stays disabled and hidden.
/// A modal run gives 1 when the program was started and 0 when the dialog was closed.
class NoPersB : public wxDialog {
public:
    /// The title is replaced by the dialog's own.
    NoPersB(wxWindow* parent, int id, const wxString& title, const wxPoint& pos = wxDefaultPosition,
            const wxSize& size = wxDefaultSize, long style = wxDEFAULT_DIALOG_STYLE);

    /// Starts the program beside this one and ends with 1. A failed start looks no different.
    virtual void evt_write_persb(wxCommandEvent& event);
    virtual void evt_close_dlg(wxCommandEvent& event);

protected:
    // Named as the form generator does. The toolkit's tree of windows owns the controls.
    wxPanel* panel_left;
    wxButton* button_write;
    wxButton* button_close;
    wxPanel* panel_right;

private:
    void set_properties();
    void do_layout();

    wxDECLARE_EVENT_TABLE();
};

#endif
