// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_MAINFRAME_H
#define ORSEL_APP_MAINFRAME_H

#include "app/FadeOut.h"
#include "card/CardTypes.h"
#include "dialogs/PleaseWait.h"

#include <wx/frame.h>
#include <wx/timer.h>

#include <memory>
#include <string>
#include <vector>

class RefreshCardThread;
class StatusLine;
class wxBitmapButton;
class wxButton;
class wxImageList;
class wxListCtrl;
class wxListEvent;
class wxMenu;
class wxPanel;
class wxStaticBitmap;
class wxStaticBox;
class wxStaticText;
struct ListEntryData;

namespace Velmor {
class tkPKCS11;
}

/// Serial number of a card that nobody has personalised.
extern const std::string EMPTY_CARD;

/// The card manager's window: the list of cards, the commands on the selected one, the status line. Owns the
/// one card access object of the process.
class MainFrame : public wxFrame {
public:
    /// Builds everything, loads the token library and starts the timer of the first refresh.
    explicit MainFrame(wxWindow* parent);
    ~MainFrame() override;

    /// Handlers let the toolkit work in between, which may close the window. Such a window goes when the
    /// outermost event that it has in work is over, and takes no other.
    bool ProcessEvent(wxEvent& event) override;
    bool Destroy() override;

    /// Enables or disables all commands and the window itself. Enabling ends with what the selected card
    /// does not allow.
    void MyEnable(bool enable);

    // --- Status line ---------------------------------------------------------------------------------------

    /// Shows text with the cross (error) or the tick and lets both fade away within 6.3 seconds. Empty text
    /// hides the line.
    void SetStatus(wxString text, bool error);
    void SetStatusPinChange(Velmor::PKCS11Return result);
    void SetStatusPinUnblock(Velmor::PKCS11Return result);

    // --- The selected card ---------------------------------------------------------------------------------

    /// Card number and token type of the selected row; selects the top row when none is. On an empty list the
    /// number is empty and type is not written.
    void GetSelectedItem(std::string& cardNumber, Velmor::TokenType& type);

    /// Finds the selected card among the cards that are present now. An empty card is refused on the status
    /// line; a card that has gone is false without a word.
    bool GetSlotIdxForSelectedCard(int& slotIndex, Velmor::TokenType& type);

    /// Opens the session in which a command works.
    bool OpenSessionForSelectedCard();

    /// Hands the signature or the encryption certificate to the external viewer. True when that was started.
    bool ShowCert(bool signature);

    // --- Event handlers ------------------------------------------------------------------------------------

    virtual void evt_sig_change_pin(wxCommandEvent& event);
    virtual void evt_sig_puk(wxCommandEvent& event);
    virtual void evt_sig_show_cert(wxCommandEvent& event);
    virtual void evt_sig_test(wxCommandEvent& event);
    virtual void evt_enc_change_pin(wxCommandEvent& event);
    virtual void evt_enc_puk(wxCommandEvent& event);
    virtual void evt_enc_show(wxCommandEvent& event);
    virtual void evt_enc_test(wxCommandEvent& event);
    virtual void evt_pers_change(wxCommandEvent& event);
    virtual void evt_pers_puk(wxCommandEvent& event);
    virtual void evt_pers_show(wxCommandEvent& event);
    virtual void evt_reload(wxCommandEvent& event);
    virtual void evt_OnTimer(wxTimerEvent& event);
    virtual void evt_OnFadeOut(wxTimerEvent& event);
    virtual void evt_ItemSelected(wxListEvent& event);
    virtual void evt_ItemRightClick(wxListEvent& event);
    virtual void evt_ItemDoubleClick(wxListEvent& event);
    virtual void evt_ListKeyDown(wxListEvent& event);
    virtual void evt_ThreadFinished(wxCommandEvent& event);
    virtual void evt_OnPopupClick(wxCommandEvent& event);

protected:
    // Set up once by the constructor, named as the form generator does. The toolkit's tree of windows owns
    // the controls.
    wxStaticBox* sizer_pers_box;
    wxStaticBox* sizer_enc_box;
    wxStaticBox* sizer_sig_box;
    wxStaticBitmap* bitmap_banner;
    wxListCtrl* list_cards;
    wxBitmapButton* button_reload;
    wxButton* button_sig_change_pin;
    wxButton* button_sig_puk;
    wxButton* button_sig_show_cert;
    wxButton* button_sig_test;
    wxButton* button_enc_change_pin;
    wxButton* button_enc_puk;
    wxButton* button_enc_show;
    wxButton* button_enc_test;
    wxButton* button_pers_change;
    wxButton* button_pers_puk;
    wxButton* button_pers_show;
    wxPanel* panel_status_left;
    wxStaticBitmap* bitmap_status;
    wxStaticText* label_status;
    wxPanel* panel_status_right;
    wxPanel* panel_main;
    wxPanel* panel_status_height; ///< keeps the status row 32 pixels high

    wxImageList* m_imageList = nullptr; ///< lives to the end of the process
    int m_chipImage = -1;
    wxTimer m_startTimer;
    Velmor::tkPKCS11* m_p11 = nullptr;            ///< owned
    RefreshCardThread* m_refreshThread = nullptr; ///< owned; null while no refresh runs
    PleaseWait m_pleaseWait;
    wxTimer m_fadeTimer;
    FadeOut m_fade;

    static void FillCardMenu(wxMenu& menu, Velmor::TokenType type);

private:
    void CreateControls();
    void set_properties();
    void do_layout();
    void CreateColumns();
    wxString FullTitle(const std::string& version);
    using PinCommand = Velmor::PKCS11Return (Velmor::tkPKCS11::*)(Velmor::ApplType appl);
    using PinReport = void (MainFrame::*)(Velmor::PKCS11Return result);
    void RunPinCommand(PinCommand command, Velmor::ApplType appl, PinReport report);
    void ChangePin(Velmor::ApplType appl);
    void UnblockPin(Velmor::ApplType appl);
    void ShowDialog(wxDialog& dialog);
    void TestSignature(const char* title, Velmor::ApplType appl);
    std::unique_ptr<RefreshCardThread> JoinedWorker();
    void ShowRows(const std::vector<std::shared_ptr<ListEntryData>>& rows);
    StatusLine TheStatusLine();
    void ShowCardMenu(const wxPoint& place);
    void BindKeys();
    void GiveFocusBack();
    void NameControls();
    wxString CardInWords(long row) const;
    void TellCards();
    void evt_CharHook(wxKeyEvent& event);
    void evt_ContextMenu(wxContextMenuEvent& event);
    void evt_TellCards(wxListEvent& event);

    int m_EventsInWork = 0; ///< one inside the other
    bool m_IsToGo = false;

    wxDECLARE_EVENT_TABLE();
};

#endif
