// SPDX-License-Identifier: MIT
// The keys of the main window and of the dialogs.
#include <cstdlib>
#include <memory>

#include "dialogs/InfoboxBereich.h"
#include "dialogs/NoPersB.h"
#include "dialogs/TestDialog.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ProbedInfobox.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/Themes.h"
#include "tests/support/Widgets.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Real presses, as a keyboard sends them.
void Keyboard(const std::string& keys) {
    EXPECT_EQ(std::system(("xdotool key --clearmodifiers " + keys).c_str()), 0);
}

/// Waits until a window has the keyboard, which the window manager gives it in its own time.
void AwaitKeyboard(wxWindow& window) {
    bool isHeard = false;
    const auto hear = [&isHeard](wxKeyEvent& key) {
        isHeard = isHeard || key.GetKeyCode() == WXK_F12; // of no meaning in any window
        key.Skip();
    };
    window.Bind(wxEVT_CHAR_HOOK, hear);
    EXPECT_TRUE(RunUntil([&isHeard] {
        Keyboard("F12");
        return isHeard;
    }));
    window.Unbind(wxEVT_CHAR_HOOK, hear);
}

bool HasFocus(const wxWindow& control) {
    const wxWindow* focus = wxWindow::FindFocus();
    return focus != nullptr && (focus == &control || focus->GetParent() == &control);
}

struct Stop {
    const char* m_Key;
    wxWindow* m_Control;
};

/// Presses one key after the other. Each leads to its control, and one sees that it does.
void ExpectWay(wxWindow& window, const std::vector<Stop>& way) {
    AwaitKeyboard(window);
    themes::SettledPictureOf(window);
    std::vector<wxImage> pictures;
    for (const Stop& stop : way) {
        pictures.push_back(widgets::PictureOf(*stop.m_Control));
    }
    for (size_t i = 0; i < way.size(); ++i) {
        Keyboard(way[i].m_Key);
        ASSERT_TRUE(RunUntil([&] { return HasFocus(*way[i].m_Control); })) << "stop " << i;
        ASSERT_TRUE(RunUntil([&] {
            return !themes::AreAlike(pictures[i], widgets::PictureOf(*way[i].m_Control));
        })) << "stop "
            << i;
    }
}

/// Writes down which command was called instead of doing it.
class ListeningFrame : public ProbedFrame {
public:
    void evt_reload(wxCommandEvent& event) override {
        if (m_IsListening) {
            m_Heard.emplace_back("reload");
        } else {
            ProbedFrame::evt_reload(event);
        }
    }
    void evt_sig_change_pin(wxCommandEvent&) override { m_Heard.emplace_back("sig change"); }
    void evt_sig_puk(wxCommandEvent&) override { m_Heard.emplace_back("sig puk"); }
    void evt_sig_show_cert(wxCommandEvent&) override { m_Heard.emplace_back("sig show"); }
    void evt_sig_test(wxCommandEvent&) override { m_Heard.emplace_back("sig test"); }
    void evt_enc_change_pin(wxCommandEvent&) override { m_Heard.emplace_back("enc change"); }
    void evt_enc_puk(wxCommandEvent&) override { m_Heard.emplace_back("enc puk"); }
    void evt_enc_show(wxCommandEvent&) override { m_Heard.emplace_back("enc show"); }
    void evt_enc_test(wxCommandEvent&) override { m_Heard.emplace_back("enc test"); }
    void evt_pers_change(wxCommandEvent&) override { m_Heard.emplace_back("pers change"); }
    void evt_pers_puk(wxCommandEvent&) override { m_Heard.emplace_back("pers puk"); }
    void evt_pers_show(wxCommandEvent&) override { m_Heard.emplace_back("pers show"); }

    bool m_IsListening = false;
    std::vector<std::string> m_Heard;
};

class TheKeysOfTheWindow : public CardWindowTest<ListeningFrame> {
protected:
    void OpenOn(const std::string& kind) {
        m_Deck.Add(kind);
        Open();
        AwaitKeyboard(*m_Frame);
        ASSERT_TRUE(RunUntil([this] { return ListHasFocus(); }));
        m_Frame->m_IsListening = true;
    }
    bool ListHasFocus() { return HasFocus(*m_Frame->list_cards); }
    /// What a press makes the window do.
    std::vector<std::string> Hear(int code, int modifiers) {
        m_Frame->m_Heard.clear();
        wxKeyEvent key(wxEVT_CHAR_HOOK);
        key.m_keyCode = code;
        key.SetControlDown((modifiers & wxMOD_CONTROL) != 0);
        key.SetShiftDown((modifiers & wxMOD_SHIFT) != 0);
        m_Frame->GetEventHandler()->ProcessEvent(key);
        return m_Frame->m_Heard;
    }
};

} // namespace

TEST_F(TheKeysOfTheWindow, HasAKeyForEachCommand) {
    OpenOn("acos-a03");
    struct Row {
        int m_Code;
        int m_Modifiers;
        const char* m_Command;
    };
    const Row rows[] = {
        {WXK_F5, wxMOD_NONE, "reload"},      {WXK_F6, wxMOD_NONE, "sig change"},
        {WXK_F7, wxMOD_NONE, "sig puk"},     {WXK_F8, wxMOD_NONE, "sig show"},
        {WXK_F9, wxMOD_NONE, "sig test"},    {WXK_F6, wxMOD_CONTROL, "enc change"},
        {WXK_F7, wxMOD_CONTROL, "enc puk"},  {WXK_F8, wxMOD_CONTROL, "enc show"},
        {WXK_F9, wxMOD_CONTROL, "enc test"}, {WXK_F6, wxMOD_SHIFT, "pers change"},
        {WXK_F7, wxMOD_SHIFT, "pers puk"},   {WXK_F8, wxMOD_SHIFT, "pers show"},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(Hear(row.m_Code, row.m_Modifiers), ElementsAre(row.m_Command));
    }
    EXPECT_THAT(Hear(WXK_F9, wxMOD_SHIFT), IsEmpty()); // that box has three buttons only
    EXPECT_THAT(Hear(WXK_F5, wxMOD_CONTROL), IsEmpty());
}

TEST_F(TheKeysOfTheWindow, DoesNotDoWhatTheButtonsOfACardDoNot) {
    OpenOn("ecard-g4");
    EXPECT_THAT(Hear(WXK_F7, wxMOD_NONE), IsEmpty());
    EXPECT_THAT(Hear(WXK_F7, wxMOD_CONTROL), IsEmpty());
    EXPECT_THAT(Hear(WXK_F6, wxMOD_SHIFT), IsEmpty());
    EXPECT_THAT(Hear(WXK_F8, wxMOD_NONE), ElementsAre("sig show"));
}

TEST_F(TheKeysOfTheWindow, RereadsTheCardsAndReturnsToTheList) {
    m_Deck.Add("acos-a04");
    Open();
    AwaitKeyboard(*m_Frame);
    ASSERT_TRUE(RunUntil([this] { return ListHasFocus(); }));
    m_Deck.Add("acos-a05");
    Keyboard("F5");
    EXPECT_TRUE(RunUntil([this] { return m_Frame->list_cards->GetItemCount() == 2 && Idle(); }));
    EXPECT_TRUE(RunUntil([this] { return ListHasFocus(); }));
}

TEST_F(TheKeysOfTheWindow, StillWorkAfterAResultWasTold) {
    OpenOn("acos-a04");
    m_Frame->SetStatus("Fertig", false);
    EXPECT_TRUE(RunUntil([this] { return ListHasFocus(); }));
    Keyboard("F9");
    EXPECT_TRUE(RunUntil([this] { return !m_Frame->m_Heard.empty(); }));
    EXPECT_THAT(m_Frame->m_Heard, ElementsAre("sig test"));
}

TEST_F(TheKeysOfTheWindow, OpensTheMenuAtTheSelectedRow) {
    OpenOn("acos-a03");
    for (const char* key : {"shift+F10", "Menu"}) {
        m_Frame->m_Heard.clear();
        std::optional<wxPoint> place;
        wxTimer poll; // the menu has an event loop of its own
        poll.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
            place = place ? place : widgets::PlaceOfOpenMenu();
            if (place) {
                poll.Stop();
                Keyboard("Down Right Return"); // with the key of the menu: four strokes to a command
            }
        });
        poll.Start(20);
        Keyboard(key);
        EXPECT_TRUE(RunUntil([this] { return !m_Frame->m_Heard.empty(); })) << key;
        EXPECT_THAT(m_Frame->m_Heard, ElementsAre("enc change"));
        ASSERT_TRUE(place);
        wxRect row;
        m_Frame->list_cards->GetItemRect(0, row, wxLIST_RECT_LABEL);
        const wxPoint below = m_Frame->list_cards->ClientToScreen(row.GetBottomLeft());
        EXPECT_NEAR(place->x, below.x, 30);
        EXPECT_NEAR(place->y, below.y, 30);
    }
}

// --- The way of the focus ----------------------------------------------------------------------------------

TEST_F(TheKeysOfTheWindow, LeadThroughItInTheOrderOfReading) {
    OpenOn("acos-a03");
    std::vector<Stop> way;
    for (wxWindow* control : std::initializer_list<wxWindow*>{
             m_Frame->button_reload, m_Frame->button_sig_change_pin, m_Frame->button_sig_puk,
             m_Frame->button_sig_show_cert, m_Frame->button_sig_test, m_Frame->button_enc_change_pin,
             m_Frame->button_enc_puk, m_Frame->button_enc_show, m_Frame->button_enc_test,
             m_Frame->button_pers_change, m_Frame->button_pers_puk, m_Frame->button_pers_show}) {
        way.push_back({"Tab", control});
    }
    ExpectWay(*m_Frame, way);
    ExpectWay(*m_Frame, {{"Tab", m_Frame->list_cards}});
}

TEST_F(TheKeysOfTheWindow, LeadThroughTheSignatureTest) {
    OpenOn("acos-a03");
    ProbedTestDialog dialog(m_Frame.get());
    dialog.SetP11(m_Frame->m_p11, 0, Velmor::ApplSignature);
    dialog.Show(true);
    ASSERT_TRUE(RunUntil([&dialog] { return HasFocus(*dialog.button_sign); }));
    ExpectWay(dialog, {{"Tab", dialog.button_verify},
                       {"Tab", dialog.button_close},
                       {"Tab", dialog.text_document},
                       {"ctrl+Tab", dialog.text_signature},
                       {"ctrl+Tab", dialog.combo_hash}});
    Keyboard("Up");
    EXPECT_TRUE(RunUntil([&dialog] { return dialog.combo_hash->GetStringSelection() == "RIPEMD-160"; }));
    ExpectWay(dialog, {{"Tab", dialog.button_sign}});
}

TEST_F(TheKeysOfTheWindow, LeadThroughTheInfobox) {
    OpenOn("acos-a04");
    ProbedInfobox dialog(m_Frame.get(), Velmor::TOKEN_ACOS_04);
    dialog.SetP11(m_Frame->m_p11, 0);
    dialog.Show(true);
    dialog.Load();
    dialog.Select(0); // the button works on an entry
    ASSERT_TRUE(RunUntil([&dialog] { return HasFocus(*dialog.button_close); }));
    ExpectWay(dialog, {{"Tab", dialog.list_box},
                       {"Tab", dialog.notebook},
                       {"Tab", dialog.text_inhalt},
                       {"ctrl+Tab", dialog.button_encrypt}});
    ExpectWay(dialog, {{"Tab", dialog.button_close}});
}

// --- Dialogs -----------------------------------------------------------------------------------------------

namespace {

/// Runs a dialog modally and presses Escape in it; the result, or -99 when that does not close it.
int ResultOfEscape(wxDialog& dialog) {
    wxTimer poll;
    wxStopWatch watch;
    poll.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        wxKeyEvent key(wxEVT_CHAR_HOOK);
        key.m_keyCode = WXK_ESCAPE;
        if (dialog.IsModal()) {
            dialog.GetEventHandler()->ProcessEvent(key);
        }
        if (dialog.IsModal() && watch.Time() > 5000) {
            dialog.EndModal(-99);
        }
    });
    poll.Start(20);
    return dialog.ShowModal();
}

} // namespace

using Escape = CardWindowTest<>;

TEST_F(Escape, ClosesEveryDialogAsItsButtonDoes) {
    m_Deck.Add("acos-a04");
    Open();
    TestDialog test(nullptr, wxID_ANY, "");
    EXPECT_EQ(ResultOfEscape(test), 0);
    NoPersB noPersB(nullptr, wxID_ANY, "");
    EXPECT_EQ(ResultOfEscape(noPersB), 0);
    InfoboxBereich infobox(nullptr, Velmor::TOKEN_ACOS_04);
    infobox.SetP11(m_Frame->m_p11, 0);
    EXPECT_EQ(ResultOfEscape(infobox), 0);
}
