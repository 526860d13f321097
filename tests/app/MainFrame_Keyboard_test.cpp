// SPDX-License-Identifier: MIT
// The keys of the main window and of the dialogs.
#include <cstdlib>
#include <memory>

#include "dialogs/InfoboxBereich.h"
#include "dialogs/NoPersB.h"
#include "dialogs/TestDialog.h"
#include "tests/app/CardWindow.h"
#include "tests/support/Widgets.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Real presses, as a keyboard sends them.
void Keyboard(const std::string& keys) {
    EXPECT_EQ(std::system(("xdotool key --clearmodifiers " + keys).c_str()), 0);
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
        ASSERT_TRUE(RunUntil([this] { return ListHasFocus(); }));
        m_Frame->m_IsListening = true;
    }
    bool ListHasFocus() {
        const wxWindow* focus = wxWindow::FindFocus();
        return focus != nullptr &&
               (focus == m_Frame->list_cards || focus->GetParent() == m_Frame->list_cards);
    }
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

TEST(Escape, ClosesEveryDialogAsItsButtonDoes) {
    TestDialog test(nullptr, wxID_ANY, "");
    EXPECT_EQ(ResultOfEscape(test), 0);
    NoPersB noPersB(nullptr, wxID_ANY, "");
    EXPECT_EQ(ResultOfEscape(noPersB), 0);
}
