// SPDX-License-Identifier: MIT
// Context menu and keyboard of the card list.
#include "app/MainFrame.h"

#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/menu.h>

#include <cstdlib>

#include "tests/app/CardWindow.h"

using orseltest::CardOptions;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

/// What xdotool does to the display's keyboard. The toolkit's own simulator sends a window events, which
/// before wxWidgets 3.2 leave the keyboard's state alone.
void DisplayKeyboard(const std::string& action) {
    EXPECT_EQ(std::system(("xdotool " + action).c_str()), 0);
}

/// Writes down which command was called instead of doing it.
class CommandFrame : public ProbedFrame {
public:
    using MainFrame::FillCardMenu;

    void evt_sig_change_pin(wxCommandEvent& event) override { Heard("sig_change_pin", event); }
    void evt_sig_puk(wxCommandEvent& event) override { Heard("sig_puk", event); }
    void evt_sig_show_cert(wxCommandEvent& event) override { Heard("sig_show_cert", event); }
    void evt_sig_test(wxCommandEvent& event) override { Heard("sig_test", event); }
    void evt_enc_change_pin(wxCommandEvent& event) override { Heard("enc_change_pin", event); }
    void evt_enc_puk(wxCommandEvent& event) override { Heard("enc_puk", event); }
    void evt_enc_show(wxCommandEvent& event) override { Heard("enc_show", event); }
    void evt_enc_test(wxCommandEvent& event) override { Heard("enc_test", event); }
    void evt_pers_change(wxCommandEvent& event) override { Heard("pers_change", event); }
    void evt_pers_puk(wxCommandEvent& event) override { Heard("pers_puk", event); }
    void evt_pers_show(wxCommandEvent& event) override { Heard("pers_show", event); }

    std::vector<std::string> m_Heard;

private:
    void Heard(const char* command, const wxCommandEvent& event) {
        EXPECT_EQ(event.GetEventType() == wxEVT_BUTTON || event.GetId() == 0, true);
        m_Heard.push_back(command);
    }
};

/// "label id" of each entry, "-" for a separator, entries of a submenu behind "> ".
std::vector<wxString> Entries(const wxMenu& menu, const wxString& prefix = "") {
    std::vector<wxString> entries;
    for (const wxMenuItem* item : menu.GetMenuItems()) {
        if (item->IsSeparator()) {
            entries.push_back("-");
        } else if (item->GetSubMenu() != nullptr) {
            entries.push_back(item->GetItemLabelText());
            for (const wxString& entry : Entries(*item->GetSubMenu(), "> ")) {
                entries.push_back(entry);
            }
        } else {
            entries.push_back(prefix + item->GetItemLabelText() + wxString::Format(" %d", item->GetId()));
        }
    }
    return entries;
}

std::vector<wxString> ExpectedEntries(bool identityLink) {
    std::vector<wxString> entries = {Utf8("PIN ändern"), "> Geheimhaltungszertifikat 5454",
                                     "> Signaturzertifikat 5455"};
    if (identityLink) {
        entries.push_back("> Personenbindung 5456");
    }
    for (const char* entry :
         {"PIN ensperren", "> Geheimhaltungszertifikat 5457", "> Signaturzertifikat 5458"}) {
        entries.push_back(entry);
    }
    if (identityLink) {
        entries.push_back("> Personenbindung 5459");
    }
    for (const char* entry : {"-", "Zertifikat anzeigen", "> Geheimhaltungszertifikat 5460",
                              "> Signaturzertifikat 5461", "Infobox anzeigen 5462", "-", "Signatur testen",
                              "> Geheimhaltungszertifikat 5463", "> Signaturzertifikat 5464"}) {
        entries.push_back(entry);
    }
    return entries;
}

using TheContextMenu = CardWindowTest<CommandFrame>;
using TheKeyboard = CardWindowTest<>;

} // namespace

TEST_F(TheContextMenu, OffersTheIdentityLinkOnTheOldestKindAlone) {
    Open();
    for (int type = -1; type <= 9; ++type) {
        wxMenu menu;
        CommandFrame::FillCardMenu(menu, static_cast<Velmor::TokenType>(type));
        EXPECT_THAT(Entries(menu), ElementsAreArray(ExpectedEntries(type == 0))) << type;
    }
}

TEST_F(TheContextMenu, CallsTheCommandOfEachEntryWithAFreshEvent) {
    const std::pair<int, const char*> rows[] = {
        {5454, "enc_change_pin"}, {5455, "sig_change_pin"}, {5456, "pers_change"}, {5457, "enc_puk"},
        {5458, "sig_puk"},        {5459, "pers_puk"},       {5460, "enc_show"},    {5461, "sig_show_cert"},
        {5462, "pers_show"},      {5463, "enc_test"},       {5464, "sig_test"},
    };
    Open();
    for (const auto& [id, command] : rows) {
        m_Frame->m_Heard.clear();
        wxCommandEvent click(wxEVT_MENU, id);
        m_Frame->evt_OnPopupClick(click);
        EXPECT_THAT(m_Frame->m_Heard, ElementsAre(command)) << id;
    }
}

TEST_F(TheContextMenu, DoesNothingForOtherIds) {
    Open();
    for (const int id : {0, 5453, 5465, -1}) {
        wxCommandEvent click(wxEVT_MENU, id);
        m_Frame->evt_OnPopupClick(click);
    }
    EXPECT_THAT(m_Frame->m_Heard, IsEmpty());
}

TEST_F(TheContextMenu, OpensOnARightClickAndSelectsTheTopRow) {
    m_Deck.Add("acos-a03");
    Open();
    Deselect();
    // The menu runs a loop of its own: close it from a timer.
    wxTimer closer;
    closer.Bind(wxEVT_TIMER, [](wxTimerEvent&) { DisplayKeyboard("key Escape"); });
    closer.Start(300);
    wxListEvent rightClick(wxEVT_LIST_ITEM_RIGHT_CLICK, ID_CARD_LIST);
    EXPECT_TRUE(m_Frame->list_cards->GetEventHandler()->ProcessEvent(rightClick));
    EXPECT_EQ(SelectedRow(), 0);
    EXPECT_THAT(m_Frame->m_Heard, IsEmpty());
}

// --- Keyboard ----------------------------------------------------------------------------------------------

namespace {

wxString Clipboard() {
    wxTextDataObject data;
    if (!wxTheClipboard->Open()) {
        return "closed";
    }
    const bool there = wxTheClipboard->GetData(data);
    wxTheClipboard->Close();
    return there ? data.GetText() : wxString("empty");
}

/// Holds the control key down, as a person does.
class ControlKey {
public:
    ControlKey() {
        DisplayKeyboard("keydown Control_L");
        EXPECT_TRUE(RunUntil([] { return wxGetKeyState(WXK_CONTROL); }));
    }
    ~ControlKey() {
        DisplayKeyboard("keyup Control_L");
        EXPECT_TRUE(RunUntil([] { return !wxGetKeyState(WXK_CONTROL); }));
    }
    ControlKey(const ControlKey&) = delete;
    ControlKey& operator=(const ControlKey&) = delete;
};

/// Presses a key on the list. True when the event was passed on.
bool KeyOn(ProbedFrame& frame, int code) {
    wxListEvent key(wxEVT_LIST_KEY_DOWN, ID_CARD_LIST);
    key.m_code = code;
    frame.evt_ListKeyDown(key);
    return key.GetSkipped();
}

} // namespace

TEST_F(TheKeyboard, CopiesTheCardNumberAloneWithControlAndC) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444"));
    Open();
    const ControlKey control;
    for (const int code : {int{'C'}, int{'c'}}) {
        wxTheClipboard->Clear();
        EXPECT_TRUE(KeyOn(*m_Frame, code));
        EXPECT_EQ(Clipboard(), "1111222233334444");
    }
}

TEST_F(TheKeyboard, LeavesAClipboardAloneThatItCannotOpen) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444"));
    Open();
    const ControlKey control;
    ASSERT_TRUE(wxTheClipboard->Open()); // by somebody else, and it opens only once
    wxTheClipboard->SetData(new wxTextDataObject("von jemand anderem"));
    EXPECT_TRUE(KeyOn(*m_Frame, 'c'));
    EXPECT_TRUE(wxTheClipboard->IsOpened());
    wxTheClipboard->Close();
    EXPECT_EQ(Clipboard(), "von jemand anderem");
}

TEST_F(TheKeyboard, PassesOtherKeysOnAndCopiesNothing) {
    m_Deck.Add("acos-a04");
    Open();
    wxTheClipboard->Clear();
    EXPECT_TRUE(KeyOn(*m_Frame, 'c'));
    {
        const ControlKey control;
        EXPECT_TRUE(KeyOn(*m_Frame, 'x'));
        EXPECT_TRUE(KeyOn(*m_Frame, WXK_DOWN));
    }
    EXPECT_NE(Clipboard().length(), 16U);
}

TEST_F(TheKeyboard, KeepsTheKeyToItselfOnAnEmptyList) {
    Open();
    const ControlKey control;
    EXPECT_FALSE(KeyOn(*m_Frame, 'c'));
}
