// SPDX-License-Identifier: MIT
#ifndef ORSEL_DIALOGS_PLEASEWAIT_H
#define ORSEL_DIALOGS_PLEASEWAIT_H

#include <wx/dialog.h>

class wxPanel;
class wxStaticText;

/// The busy dialog of a refresh: one line of text, no caption, no controls. Hidden after construction.
class PleaseWait : public wxDialog {
public:
    /// The style is ignored: the dialog has neither caption nor close box.
    PleaseWait(wxWindow* parent, int id, const wxString& title, const wxPoint& pos = wxDefaultPosition,
               const wxSize& size = wxDefaultSize, long style = wxDEFAULT_DIALOG_STYLE);

    /// Under X11 the first showing waits for the window manager, and a hiding that comes before it would be
    /// undone: what was asked for last holds. And there a window without a caption comes up in the corner and
    /// too low, as if it had one: it is put back to its place and size.
    bool Show(bool show = true) override;

private:
    void set_properties();
    void do_layout();
    /// Makes the dialog large enough for its text, at the first showing: the program's start need not wait
    /// for a text that nobody sees yet to be measured.
    void GrowToText();
    void evt_Show(wxShowEvent& event);
    void evt_Placed(wxEvent& event);

    bool m_Wanted = false;
    bool m_IsMeasured = false;
    wxSize m_Size{220, 100};
    wxPoint m_Place;       ///< where it stood when it was last shown or hidden
    int m_Corrections = 0; ///< left for this showing

    wxStaticText* m_Label;

protected:
    wxPanel* panel_left;
    wxPanel* panel_right;
};

#endif
