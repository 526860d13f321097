// SPDX-License-Identifier: MIT
#ifndef ORSEL_DIALOGS_INFOBOXBEREICH_H
#define ORSEL_DIALOGS_INFOBOXBEREICH_H

#include "card/CardTypes.h"
#include "formats/InfoboxFS.h"
#include "foundation/ByteArray.h"

#include <wx/dialog.h>
#include <wx/timer.h>

#include <string>

class wxButton;
class wxListBox;
class wxNotebook;
class wxPanel;
class wxTextCtrl;

namespace Velmor {
class tkPKCS11;
}

/// How content is shown. Nothing looks at the bytes for it: the row that they come from decides.
enum ContentType : int {
    CONTENT_NONE = 0,            ///< clear the pages
    CONTENT_PERSONENBINDUNG = 1, ///< an identity link, shown as named fields
    CONTENT_RAW = 2,             ///< anything else, shown without decoding
};

/// Shows what a card keeps in its infobox area: its entries on the left, the content of the selected one on
/// the right. A card with an infobox container has one row for each entry of the container, and each entry
/// can be switched between stored plain and stored encrypted; any other card has three fixed rows.
/// A failure says nothing: the list or the pages stay empty, and NoPersB tells of a missing identity link.
class InfoboxBereich : public wxDialog {
public:
    /// type decides whether an identity link is offered at all.
    InfoboxBereich(wxWindow* parent, Velmor::TokenType type);

    /// Comes before the dialog is shown. p11 stays the caller's, slot is an index into its last slot list.
    void SetP11(Velmor::tkPKCS11* p11, int slot);

    /// Runs the dialog, which loads its list two milliseconds later.
    int ShowModal() override;

    /// Enables or disables the list and the pages, without panel_binary and the encrypt button.
    void MyEnable(bool enable);

    /// Reads the container from the card and lists its entries, none of them selected. False, with an empty
    /// list, when there is no container or a bad one.
    bool LoadInfobox();

    /// Reads the first data object with this label, at most 5012 bytes, in a session of its own. A blank one,
    /// zero in its first 128 bytes, reads as empty. False when it cannot be read; out is untouched then.
    bool LoadInfoboxData(std::string label, Velmor::ByteArray& out);

    /// Tells that the card holds no identity link, unless it is an e-card, which is not offered one.
    void ShowNoPersB();

    /// Shows the content of a fixed row.
    void listbox(wxString row);

    /// Shows the content of a container's row and sets the encrypt button up for it.
    void listboxInfoboxKonzept(wxString row);

    /// Fills the pages; no bytes clear them.
    void SetContent(Velmor::ByteArray data, ContentType type);

    /// Switches the selected entry between stored plain and stored encrypted and lists the entries anew. A
    /// failure changes nothing.
    virtual void evt_encrypt(wxCommandEvent& event);
    virtual void evt_button_close(wxCommandEvent& event);
    virtual void evt_listbox(wxCommandEvent& event);
    virtual void evt_OnTimer(wxTimerEvent& event);
    void evt_CharHook(wxKeyEvent& event);

protected:
    // Named as the form generator does. The toolkit's tree of windows owns the controls.
    wxListBox* list_box;
    wxTextCtrl* text_inhalt;
    wxPanel* panel_inhalt;
    wxTextCtrl* text_binary;
    wxPanel* panel_binary;
    wxTextCtrl* text_text; ///< receives values unseen: its page is not in the notebook
    wxPanel* panel_text;
    wxNotebook* notebook;
    wxButton* button_encrypt;
    wxButton* button_close;

    wxTimer m_startTimer;
    Velmor::tkPKCS11* m_pP11 = nullptr; ///< not owned
    Velmor::TokenInfoStruct2 m_TokenInfo;
    int m_nSlot = 0;
    LibInfobox::InfoboxFS m_InfoboxFS;
    bool m_bInfoboxKonzept = false;    ///< the card has a container; only ever set
    wxString m_LastSelection;          ///< row that was shown last
    Velmor::ByteArray m_CachedContent; ///< bytes of the data object that was read last, if it had any
    Velmor::TokenType m_TokenType;

private:
    void CreateControls();
    void set_properties();
    void do_layout();
    void NameControls();
    void MakeRoomForRows();
    bool FindDataObject(const std::string& label, bool readWrite, CK_OBJECT_HANDLE& object);
    bool ReadDataObject(const std::string& label, Velmor::ByteArray& out);
    bool ToggleProtection(unsigned char tag);
    bool ReadFirstBytes(CK_OBJECT_HANDLE object, Velmor::ByteArray& value);
    void LabelEncryptButton(unsigned char attributes);
    static unsigned char TagOfRow(const wxString& row);
    static std::string LabelOfTag(unsigned char tag);

    wxDECLARE_EVENT_TABLE();
};

#endif
