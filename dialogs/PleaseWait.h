// SPDX-License-Identifier: MIT
#ifndef ORSEL_DIALOGS_PLEASEWAIT_H
#define ORSEL_DIALOGS_PLEASEWAIT_H

#include <wx/dialog.h>

class wxPanel;

/// The busy dialog of a refresh: one line of text, no caption, no controls. Hidden after construction.
class PleaseWait : public wxDialog {
public:
    /// The style is ignored on purpose: the dialog has neither caption nor close box.
    PleaseWait(wxWindow* parent, int id, const wxString& title, const wxPoint& pos = wxDefaultPosition,
               const wxSize& size = wxDefaultSize, long style = wxDEFAULT_DIALOG_STYLE);

    /// Under X11 the first showing waits for the window manager, and a hiding that comes before it would be
    /// undone: what was asked for last holds.
    bool Show(bool show = true) override;

private:
    void set_properties();
    void do_layout();
    void evt_Show(wxShowEvent& event);

    bool m_wanted = false;

protected:
    wxPanel* panel_left;
    wxPanel* panel_right;
};

#endif
