// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_CERTIFICATEFRAME_H
#define ORSEL_VIEWER_CERTIFICATEFRAME_H

#include <ctime>
#include <string>
#include <vector>

#include <wx/frame.h>

#include "formats/slCertificate.h"
#include "viewer/Row.h"
#include "viewer/State.h"

class RowList;
class wxBookCtrlEvent;
class wxButton;
class wxContextMenuEvent;
class wxListEvent;
class wxNotebook;
class wxPanel;
class wxStaticBitmap;
class wxStaticText;
class wxTextCtrl;

/// Shows one certificate: above what a person wants to know, below on one page every field, on another
/// everything as text. It remembers nothing from one time to the next.
class CertificateFrame : public wxFrame {
public:
    /// `now` is the moment that the state is told for.
    CertificateFrame(wxWindow* parent, const Velmor::slCertificate& certificate, std::time_t now);

    void evt_copy_row(wxCommandEvent& event);
    void evt_copy_value(wxCommandEvent& event);
    /// The whole certificate as text, with its PEM form.
    void evt_copy_all(wxCommandEvent& event);
    void evt_save(wxCommandEvent& event);
    void evt_button_close(wxCommandEvent& event);
    void evt_ItemSelected(wxListEvent& event);
    void evt_ContextMenu(wxContextMenuEvent& event);
    /// The text page is filled when it is first turned to.
    void evt_PageChanged(wxBookCtrlEvent& event);
    void evt_CharHook(wxKeyEvent& event);

protected:
    /// Asks where to; an empty path when the person thinks better of it. `filter` becomes 0 for PEM, 1 for
    /// DER.
    virtual std::string AskForTarget(int& filter);

    // Named as the form generator does. The toolkit's tree of windows owns the controls.
    wxPanel* panel_main;
    wxStaticBitmap* bitmap_state;
    wxStaticText* label_holder;
    wxStaticText* label_state;
    wxStaticText* label_issuer;
    wxStaticText* label_period;
    wxStaticText* label_note;
    wxNotebook* m_Notebook;
    wxPanel* panel_rows;
    RowList* list_rows;
    wxTextCtrl* text_value;
    wxPanel* panel_text;
    wxTextCtrl* text_all;
    wxButton* button_copy_row;
    wxButton* button_copy_all;
    wxButton* button_save;
    wxButton* button_close;

private:
    void CreateControls();
    void SetProperties();
    void DoLayout();
    void NameControls();
    wxSizer* LayoutOfHead();
    void ShowValue();
    void TellRow(const viewer::Row* row);
    /// Everything as text, with the PEM form behind it, not much above the limit.
    std::string WholeText(std::size_t limit) const;
    void Copy(const std::string& utf8);
    Velmor::slCertificate m_Certificate;
    viewer::State m_State;
    std::vector<viewer::Row> m_Rows;

    wxDECLARE_EVENT_TABLE();
};

#endif
