// SPDX-License-Identifier: MIT
// Construction, layout and events of the infobox dialog, without a card.
#include "dialogs/InfoboxBereich.h"

#include <wx/frame.h>

#include <cstdlib>

#include "tests/dialogs/ProbedInfobox.h"
#include "tests/support/Widgets.h"

using testing::ElementsAre;

namespace {

class TheInfoboxDialog : public testing::Test {
protected:
    ProbedInfobox m_Dialog;
};

} // namespace

// --- Window ------------------------------------------------------------------------------------------------

TEST_F(TheInfoboxDialog, IsAnOrdinaryDialogOf600By400) {
    EXPECT_EQ(m_Dialog.GetTitle(), "Infoboxbereich");
    EXPECT_EQ(m_Dialog.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxDEFAULT_DIALOG_STYLE);
    EXPECT_EQ(m_Dialog.GetSize(), wxSize(600, 400));
    EXPECT_EQ(m_Dialog.GetIcon().GetSize(), wxSize(32, 32));
    wxFrame parent(nullptr, wxID_ANY, "");
    const ProbedInfobox child(&parent, Velmor::TOKEN_ECARD_G2);
    EXPECT_EQ(child.GetParent(), &parent);
    EXPECT_EQ(child.m_TokenType, Velmor::TOKEN_ECARD_G2);
}

TEST_F(TheInfoboxDialog, StartsWithoutACard) {
    EXPECT_EQ(m_Dialog.m_pP11, nullptr);
    EXPECT_EQ(m_Dialog.m_nSlot, 0);
    EXPECT_FALSE(m_Dialog.m_bInfoboxKonzept);
    EXPECT_EQ(m_Dialog.m_LastSelection, "");
    EXPECT_TRUE(m_Dialog.m_CachedContent.empty());
    EXPECT_EQ(m_Dialog.m_InfoboxFS.GetEntryCount(), 0);
    EXPECT_FALSE(m_Dialog.m_startTimer.IsRunning());
}

TEST_F(TheInfoboxDialog, HasAListAndTwoButtons) {
    EXPECT_EQ(m_Dialog.list_box->GetId(), 5451);
    EXPECT_EQ(m_Dialog.list_box->GetWindowStyle() & (wxLB_SINGLE | wxLB_MULTIPLE | wxLB_EXTENDED | wxLB_SORT),
              wxLB_SINGLE);
    EXPECT_EQ(m_Dialog.list_box->GetCount(), 0U);
    EXPECT_EQ(m_Dialog.button_encrypt->GetId(), 5452);
    EXPECT_EQ(m_Dialog.button_encrypt->GetLabel(), Utf8("unverschlüsselt speichern"));
    EXPECT_EQ(m_Dialog.button_close->GetId(), 5450);
    EXPECT_EQ(m_Dialog.button_close->GetLabel(), Utf8("Schließen"));
    EXPECT_THAT(ChildrenOf(m_Dialog), ElementsAre(m_Dialog.list_box, m_Dialog.notebook,
                                                  m_Dialog.button_encrypt, m_Dialog.button_close));
}

TEST_F(TheInfoboxDialog, ShowsTwoPagesAndKeepsAThirdOutOfSight) {
    ASSERT_EQ(m_Dialog.notebook->GetPageCount(), 2U);
    EXPECT_EQ(m_Dialog.notebook->GetPage(0), m_Dialog.panel_inhalt);
    EXPECT_EQ(m_Dialog.notebook->GetPageText(0), "Inhalt");
    EXPECT_EQ(m_Dialog.notebook->GetPage(1), m_Dialog.panel_binary);
    EXPECT_EQ(m_Dialog.notebook->GetPageText(1), "Binary");
    m_Dialog.Show(true);
    EXPECT_TRUE(RunUntil([this] { return m_Dialog.text_inhalt->IsShownOnScreen(); }));
    EXPECT_EQ(m_Dialog.notebook->GetSelection(), 0);
    m_Dialog.text_text->SetValue("ungesehen");
    EXPECT_EQ(m_Dialog.text_text->GetValue(), "ungesehen");
}

TEST_F(TheInfoboxDialog, HasPagesOfOneTextEach) {
    struct Row {
        wxPanel* m_Page;
        wxTextCtrl* m_Text;
        long m_MoreStyle;
    };
    constexpr long MORE = wxTE_PROCESS_ENTER | wxTE_PROCESS_TAB;
    constexpr long STYLE = wxTE_CHARWRAP | wxTE_MULTILINE | wxTE_READONLY;
    const Row rows[] = {{m_Dialog.panel_inhalt, m_Dialog.text_inhalt, MORE},
                        {m_Dialog.panel_binary, m_Dialog.text_binary, 0},
                        {m_Dialog.panel_text, m_Dialog.text_text, 0}};
    for (const Row& row : rows) {
        EXPECT_EQ(row.m_Page->GetParent(), m_Dialog.notebook);
        EXPECT_EQ(row.m_Page->GetWindowStyle() & (wxTAB_TRAVERSAL | wxBORDER_MASK),
                  wxTAB_TRAVERSAL | wxBORDER_NONE);
        EXPECT_EQ(row.m_Text->GetParent(), row.m_Page);
        EXPECT_EQ(row.m_Text->GetWindowStyle() & (STYLE | MORE | wxTE_DONTWRAP), STYLE | row.m_MoreStyle);
        EXPECT_EQ(row.m_Text->GetWindowStyle() & ~MORE, m_Dialog.text_text->GetWindowStyle());
        EXPECT_FALSE(row.m_Text->IsEditable());
        EXPECT_EQ(row.m_Text->GetValue(), "");
        EXPECT_THAT(PlacementsIn(*row.m_Page->GetSizer()),
                    ElementsAre(Placement{row.m_Text, 1, wxEXPAND | wxALL, 3}));
        EXPECT_EQ(dynamic_cast<wxBoxSizer&>(*row.m_Page->GetSizer()).GetOrientation(), wxHORIZONTAL);
    }
}

TEST_F(TheInfoboxDialog, ShowsBytesInAFontOfFixedWidth) {
    const wxFont font = m_Dialog.text_binary->GetFont();
    EXPECT_EQ(font.GetFaceName(), "Courier New");
    EXPECT_EQ(font.GetPointSize(), 10);
    EXPECT_EQ(font.GetStyle(), wxFONTSTYLE_NORMAL);
    EXPECT_EQ(font.GetWeight(), wxFONTWEIGHT_NORMAL);
    EXPECT_FALSE(font.GetUnderlined());
    EXPECT_NE(m_Dialog.text_inhalt->GetFont().GetFaceName(), "Courier New");
}

TEST_F(TheInfoboxDialog, PlacesTheListBesideTheContentAndTheClosingButtonBelow) {
    auto& outer = dynamic_cast<wxBoxSizer&>(*m_Dialog.GetSizer());
    EXPECT_EQ(outer.GetOrientation(), wxVERTICAL);
    EXPECT_THAT(PlacementsIn(outer),
                ElementsAre(Placement{nullptr, 1, wxEXPAND, 0},
                            Placement{m_Dialog.button_close, 0, wxALIGN_CENTER_HORIZONTAL | wxALL, 12}));
    auto& columns = dynamic_cast<wxBoxSizer&>(*outer.GetItem(size_t{0})->GetSizer());
    EXPECT_EQ(columns.GetOrientation(), wxHORIZONTAL);
    EXPECT_THAT(PlacementsIn(columns), ElementsAre(Placement{m_Dialog.list_box, 1, wxEXPAND | wxALL, 3},
                                                   Placement{nullptr, 3, wxEXPAND, 0}));
    auto& content = dynamic_cast<wxBoxSizer&>(*columns.GetItem(1)->GetSizer());
    EXPECT_EQ(content.GetOrientation(), wxVERTICAL);
    EXPECT_THAT(PlacementsIn(content), ElementsAre(Placement{m_Dialog.notebook, 1, wxEXPAND | wxALL, 3},
                                                   Placement{m_Dialog.button_encrypt, 0, wxALL, 6}));
}

TEST_F(TheInfoboxDialog, GivesTheListAQuarterOfTheWidth) {
    const int list = m_Dialog.list_box->GetSize().GetWidth() + 6;
    EXPECT_NEAR(4 * list, m_Dialog.GetClientSize().GetWidth(), 7);
}

TEST(TheInfoboxDialogInALargeFont, IsLargeEnoughForItsButtons) {
    widgets::UseFont("Sans 10", 4 * 96);
    ProbedInfobox dialog;
    EXPECT_GT(dialog.GetSize().GetWidth(), 600);
    for (const wxButton* button : {dialog.button_encrypt, dialog.button_close}) {
        EXPECT_GE(button->GetSize().GetWidth(), button->GetBestSize().GetWidth());
        EXPECT_LE(button->GetRect().GetRight(), dialog.GetClientSize().GetWidth());
        EXPECT_LE(button->GetRect().GetBottom(), dialog.GetClientSize().GetHeight());
    }
    widgets::UseFont("Sans 10", 96);
}

TEST_F(TheInfoboxDialog, StandsInTheMiddleOfItsParent) {
    wxFrame parent(nullptr, wxID_ANY, "", wxPoint(100, 100), wxSize(800, 600));
    parent.Show(true);
    // The window manager tells of the parent's border and of its place in its own time.
    EXPECT_TRUE(RunUntil([&parent] {
        const ProbedInfobox child(&parent, Velmor::TOKEN_ACOS_04);
        const wxRect outside = parent.GetScreenRect();
        const wxRect inside = child.GetRect();
        return HasBorder(parent) &&
               std::abs(2 * inside.x + inside.width - 2 * outside.x - outside.width) <= 5 &&
               std::abs(2 * inside.y + inside.height - 2 * outside.y - outside.height) <= 5;
    }));
}

// --- Enabling ----------------------------------------------------------------------------------------------

TEST_F(TheInfoboxDialog, DisablesListAndPagesButNeitherTheBinaryPageNorTheEncryptButton) {
    const std::vector<wxWindow*> set = {m_Dialog.list_box,    m_Dialog.text_inhalt, m_Dialog.panel_inhalt,
                                        m_Dialog.text_binary, m_Dialog.panel_text,  m_Dialog.text_text,
                                        m_Dialog.notebook,    m_Dialog.button_close};
    for (const bool enable : {false, true}) {
        m_Dialog.MyEnable(enable);
        for (const wxWindow* window : set) {
            EXPECT_EQ(window->IsThisEnabled(), enable);
        }
        EXPECT_TRUE(m_Dialog.panel_binary->IsThisEnabled());
        EXPECT_TRUE(m_Dialog.button_encrypt->IsThisEnabled());
        EXPECT_TRUE(m_Dialog.IsThisEnabled());
    }
    m_Dialog.button_encrypt->Enable(false);
    m_Dialog.MyEnable(true);
    EXPECT_FALSE(m_Dialog.button_encrypt->IsThisEnabled());
}

TEST_F(TheInfoboxDialog, StopsEnablingAtAControlThatIsMissing) {
    wxTextCtrl* const binary = m_Dialog.text_binary;
    m_Dialog.text_binary = nullptr;
    m_Dialog.MyEnable(false);
    EXPECT_FALSE(m_Dialog.panel_inhalt->IsThisEnabled());
    for (const wxWindow* window :
         std::vector<wxWindow*>{binary, m_Dialog.panel_text, m_Dialog.notebook, m_Dialog.button_close}) {
        EXPECT_TRUE(window->IsThisEnabled());
    }
}

// --- Events ------------------------------------------------------------------------------------------------

TEST(TheEventsOfTheInfoboxDialog, ReachHandlersThatMayBeReplaced) {
    class Counting : public ProbedInfobox {
    public:
        void evt_encrypt(wxCommandEvent&) override { m_Calls += "encrypt "; }
        void evt_button_close(wxCommandEvent&) override { m_Calls += "close "; }
        void evt_listbox(wxCommandEvent&) override { m_Calls += "list "; }
        void evt_OnTimer(wxTimerEvent&) override { m_Calls += "timer "; }
        std::string m_Calls;
    };
    Counting dialog;
    EXPECT_TRUE(Press(dialog, 5452));
    EXPECT_TRUE(Press(dialog, 5450));
    wxCommandEvent selection(wxEVT_LISTBOX, 5451);
    EXPECT_TRUE(dialog.GetEventHandler()->ProcessEvent(selection));
    wxTimer timer(&dialog, 5444);
    wxTimerEvent tick(timer);
    EXPECT_TRUE(dialog.GetEventHandler()->ProcessEvent(tick));
    EXPECT_EQ(dialog.m_Calls, "encrypt close list timer ");
}

TEST(TheInfoboxDialogsRun, StartsATimerOfTwoMillisecondsForOneLoadingAndEndsWithZero) {
    class Loading : public ProbedInfobox {
    public:
        void evt_OnTimer(wxTimerEvent& event) override {
            ++m_Loadings;
            m_WasModal = IsModal();
            m_WasTimer = event.GetId() == 5444 && event.GetInterval() == 2 && m_startTimer.IsOneShot();
        }
        int m_Loadings = 0;
        bool m_WasModal = false;
        bool m_WasTimer = false;
    };
    Loading dialog;
    InfoboxBereich& base = dialog; // the program calls it through the class
    const auto close = [&dialog] {
        RunFor(100); // for a second loading, which does not come
        Press(dialog, 5450);
    };
    const int result = RunModal(base, close, [&dialog] { return dialog.m_Loadings > 0; });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(dialog.m_Loadings, 1);
    EXPECT_TRUE(dialog.m_WasModal);
    EXPECT_TRUE(dialog.m_WasTimer);
    EXPECT_EQ(dialog.m_startTimer.GetOwner(), &dialog);
}

TEST_F(TheInfoboxDialog, TakesCardAndSlotAndDoesNothingElse) {
    auto* const card = reinterpret_cast<Velmor::tkPKCS11*>(&m_Dialog); // never looked at
    m_Dialog.SetP11(card, 7);
    EXPECT_EQ(m_Dialog.m_pP11, card);
    EXPECT_EQ(m_Dialog.m_nSlot, 7);
    EXPECT_FALSE(m_Dialog.m_startTimer.IsRunning());
}

// --- Telling of a missing identity link --------------------------------------------------------------------

TEST(TheInfoboxDialogWithoutAnIdentityLink, TellsOfItOnAllCardsButECards) {
    ModalDialogsAnswered noPersB("Keine Personenbindung", 0);
    for (int type = 0; type <= 8; ++type) {
        noPersB.m_Count = 0;
        ProbedInfobox dialog(static_cast<Velmor::TokenType>(type));
        dialog.ShowNoPersB();
        EXPECT_EQ(noPersB.m_Count, type >= 3 && type <= 6 ? 0 : 1) << type;
    }
}

TEST(TheInfoboxDialogWithoutAnIdentityLink, TellsOfItInAnOrdinaryDialogOfItsOwn) {
    ProbedInfobox dialog;
    ModalDialogsAnswered noPersB("Keine Personenbindung", 0);
    noPersB.m_Inspect = [&](wxDialog& shown) {
        EXPECT_NE(dynamic_cast<NoPersB*>(&shown), nullptr);
        EXPECT_EQ(shown.GetParent(), &dialog);
        EXPECT_EQ(shown.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxDEFAULT_DIALOG_STYLE);
    };
    dialog.ShowNoPersB();
    EXPECT_EQ(noPersB.m_Count, 1);
}

TEST(TheInfoboxDialogWithoutAnIdentityLink, EndsOnlyWhenTheExternalProgramWasStarted) {
    class Run : public ProbedInfobox {
    public:
        void evt_OnTimer(wxTimerEvent&) override {
            ShowNoPersB();
            m_WasOpenBehind = IsModal();
            if (m_WasOpenBehind) {
                EndModal(3);
            }
        }
        bool m_WasOpenBehind = false;
    };
    ModalDialogsAnswered noPersB("Keine Personenbindung", 1);
    Run ended;
    EXPECT_EQ(ended.ShowModal(), 0);
    EXPECT_FALSE(ended.m_WasOpenBehind);
    noPersB.m_Answer = 0;
    Run open;
    EXPECT_EQ(open.ShowModal(), 3);
    EXPECT_TRUE(open.m_WasOpenBehind);
}
