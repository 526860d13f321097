// SPDX-License-Identifier: MIT
#include "dialogs/PleaseWait.h"

#include <gtk/gtk.h>
#include <wx/frame.h>
#include <wx/panel.h>
#include <wx/stattext.h>

#include <cstdlib>

#include "tests/support/GuiTest.h"

using testing::ElementsAre;

class TheBusyDialog : public testing::Test {
protected:
    class Probed : public PleaseWait {
    public:
        using PleaseWait::panel_left;
        using PleaseWait::panel_right;
        using PleaseWait::PleaseWait;
    };
    Probed m_Dialog{nullptr, wxID_ANY, "", wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE};
};

TEST_F(TheBusyDialog, HasNoCaptionAndNoCloseBoxWhateverStyleIsAskedFor) {
    EXPECT_EQ(m_Dialog.GetWindowStyle() & (wxCAPTION | wxCLOSE_BOX | wxSYSTEM_MENU | wxRESIZE_BORDER), 0);
    EXPECT_EQ(m_Dialog.GetTitle(), "Bitte warten");
}

TEST_F(TheBusyDialog, IsHiddenAfterConstruction) {
    EXPECT_FALSE(m_Dialog.IsShown());
}

TEST_F(TheBusyDialog, Is220By100Large) {
    EXPECT_EQ(m_Dialog.GetSize(), wxSize(220, 100));
}

TEST_F(TheBusyDialog, ComesUpAsLargeAsStatedWhateverItLostWhileHidden) {
    m_Dialog.SetSize(218, 98);
    m_Dialog.Show(true);
    EXPECT_EQ(m_Dialog.GetSize(), wxSize(220, 100));
}

TEST_F(TheBusyDialog, TellsWhetherItWasShownOrHiddenByTheCall) {
    EXPECT_FALSE(m_Dialog.Show(false));
    EXPECT_TRUE(m_Dialog.Show(true));
    EXPECT_FALSE(m_Dialog.Show(true));
    EXPECT_TRUE(m_Dialog.Show(false));
}

TEST_F(TheBusyDialog, LeavesNobodyToListenForItsEndOnceItIsHidden) {
    AtkObject* const windows = atk_get_root(); // lists them for screen readers
    for (int showing = 0; showing < 2; ++showing) {
        m_Dialog.Show(true);
        m_Dialog.Show(false);
    }
    EXPECT_EQ(g_signal_handler_find(m_Dialog.GetHandle(),
                                    static_cast<GSignalMatchType>(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_DATA),
                                    g_signal_lookup("destroy", GTK_TYPE_WIDGET), 0, nullptr, nullptr,
                                    windows),
              0U);
}

TEST_F(TheBusyDialog, GrowsFromItsMiddleForATextThatNeedsMoreRoom) {
    wxWindow* label = m_Dialog.GetSizer()->GetItem(1)->GetWindow();
    label->SetFont(label->GetFont().Scaled(4));
    const wxRect before = m_Dialog.GetRect();
    m_Dialog.Show(true);
    const wxRect after = m_Dialog.GetRect();
    EXPECT_GE(after.width, label->GetTextExtent("Bitte warten...").x);
    EXPECT_GT(after.width, before.width);
    EXPECT_NEAR(2 * after.x + after.width, 2 * before.x + before.width, 2);
    EXPECT_NEAR(2 * after.y + after.height, 2 * before.y + before.height, 2);
}

TEST_F(TheBusyDialog, MeasuresItsTextAtTheFirstShowingAlone) {
    m_Dialog.Show(true);
    const wxSize before = m_Dialog.GetSize();
    m_Dialog.Show(false);
    wxWindow* label = m_Dialog.GetSizer()->GetItem(1)->GetWindow();
    label->SetFont(label->GetFont().Scaled(4));
    m_Dialog.Show(true);
    EXPECT_EQ(m_Dialog.GetSize(), before);
}

TEST_F(TheBusyDialog, GoesBackToItsPlaceAndSizeWhateverMovesItWhileItShows) {
    m_Dialog.Show(true);
    const wxRect stated = m_Dialog.GetRect();
    wxMoveEvent moved;
    wxSizeEvent sized;
    for (wxEvent* const event : std::initializer_list<wxEvent*>{&moved, &sized}) {
        m_Dialog.SetSize(wxRect(stated.GetPosition() + wxPoint(50, 40), stated.GetSize()));
        m_Dialog.GetEventHandler()->ProcessEvent(*event);
        EXPECT_EQ(m_Dialog.GetRect(), stated);
    }
}

TEST_F(TheBusyDialog, SaysOneLineBetweenTwoFillers) {
    wxSizer& row = *m_Dialog.GetSizer();
    wxWindow* label = row.GetItem(1)->GetWindow();
    EXPECT_THAT(PlacementsIn(row), ElementsAre(Placement{m_Dialog.panel_left, 1, wxEXPAND, 0},
                                               Placement{label, 0, wxALIGN_CENTER, 12},
                                               Placement{m_Dialog.panel_right, 1, wxEXPAND, 0}));
    EXPECT_EQ(label->GetLabel(), "Bitte warten...");
    const wxFont font = label->GetFont();
    EXPECT_EQ(font.GetPointSize(), 14);
    EXPECT_EQ(font.GetStyle(), wxFONTSTYLE_NORMAL);
    EXPECT_EQ(font.GetWeight(), wxFONTWEIGHT_NORMAL);
    EXPECT_FALSE(font.GetUnderlined());
}

TEST_F(TheBusyDialog, HasPanelsWithoutBorder) {
    for (const wxPanel* panel : {m_Dialog.panel_left, m_Dialog.panel_right}) {
        EXPECT_EQ(panel->GetWindowStyle() & (wxTAB_TRAVERSAL | wxBORDER_MASK),
                  wxTAB_TRAVERSAL | wxBORDER_NONE);
    }
}

TEST_F(TheBusyDialog, ShowsItsWholeTextAndGoesAgain) {
    m_Dialog.Show(true);
    const wxWindow* label = m_Dialog.GetSizer()->GetItem(1)->GetWindow();
    EXPECT_TRUE(RunUntil([this, label] {
        return m_Dialog.IsShownOnScreen() && label->GetSize().GetWidth() >= label->GetBestSize().GetWidth();
    }));
    m_Dialog.Show(false);
    EXPECT_TRUE(RunUntil([this] { return !m_Dialog.IsShownOnScreen(); }));
}

// Told by the display, not by what the toolkit remembers.
TEST_F(TheBusyDialog, ComesUpInTheMiddleOfItsWindowInItsFullSizeEachTime) {
    wxFrame frame(nullptr, wxID_ANY, "Fenster", wxDefaultPosition, wxSize(800, 600));
    frame.Show(true);
    ASSERT_TRUE(RunUntil([&frame] { return HasBorder(frame); }));
    RunFor(100);
    Probed dialog{&frame, wxID_ANY, ""};
    for (int showing = 0; showing < 3; ++showing) {
        dialog.Centre(wxBOTH);
        dialog.Show(true);
        const auto isInPlace = [&] {
            const wxPoint middle = dialog.ClientToScreen(wxPoint(0, 0)) + wxSize(110, 50);
            const wxPoint wanted = frame.GetPosition() + frame.GetSize() / 2;
            const wxPoint off = middle - wanted;
            return std::abs(off.x) < 30 && std::abs(off.y) < 30 && dialog.GetClientSize().GetHeight() > 95;
        };
        EXPECT_TRUE(RunUntil(isInPlace)) << showing;
        RunFor(200);
        EXPECT_TRUE(isInPlace()) << dialog.ClientToScreen(wxPoint(0, 0)).x << " and stays " << showing;
        dialog.Show(false);
        RunFor(100);
    }
}
