// SPDX-License-Identifier: MIT
// Construction, layout and status line of the signature test, without a card.
#include "dialogs/TestDialog.h"

#include <wx/frame.h>

#include <utility>

#include "images/Images.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/Widgets.h"

using testing::ElementsAre;

namespace {

class TheSignatureTest : public testing::Test {
protected:
    ProbedTestDialog m_Dialog;
};

} // namespace

// --- Window ------------------------------------------------------------------------------------------------

TEST_F(TheSignatureTest, TakesParentIdTitleAndStyleAsGiven) {
    EXPECT_EQ(m_Dialog.GetTitle(), "Test");
    EXPECT_EQ(m_Dialog.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxDEFAULT_DIALOG_STYLE);
    wxFrame parent(nullptr, wxID_ANY, "");
    const ProbedTestDialog child(&parent, 4711, "Titel", wxPoint(30, 40), wxDefaultSize, wxCAPTION);
    EXPECT_EQ(child.GetParent(), &parent);
    EXPECT_EQ(child.GetId(), 4711);
    EXPECT_EQ(child.GetTitle(), "Titel");
    EXPECT_EQ(child.GetPosition(), wxPoint(30, 40));
    EXPECT_EQ(child.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxCAPTION);
}

TEST_F(TheSignatureTest, Is600By350LargeAndBearsTheIcon) {
    EXPECT_EQ(m_Dialog.GetSize(), wxSize(600, 350));
    EXPECT_TRUE(m_Dialog.GetIcon().IsOk());
    EXPECT_EQ(m_Dialog.GetIcon().GetSize(), wxSize(32, 32));
}

TEST_F(TheSignatureTest, HasThreeButtonsWithTheirIdsAndLabels) {
    struct Row {
        wxButton* m_Button;
        int m_Id;
        const char* m_Label;
    };
    const Row rows[] = {
        {m_Dialog.button_sign, 5448, "Unterschreiben"},
        {m_Dialog.button_verify, 5449, "Prüfen"},
        {m_Dialog.button_close, 5447, "Dialog schließen"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.m_Button->GetId(), row.m_Id);
        EXPECT_EQ(row.m_Button->GetLabel(), Utf8(row.m_Label));
        EXPECT_EQ(row.m_Button->GetWindowStyle() & wxBORDER_MASK, 0);
        EXPECT_TRUE(row.m_Button->IsEnabled());
    }
}

TEST_F(TheSignatureTest, HasATextToSignAndAFieldThatTheUserCannotEdit) {
    EXPECT_EQ(m_Dialog.text_document->GetValue(),
              "Das ist ein Test!\n\nDie Signatur dieses Textes wird nur virtuell erstellt und nicht "
              "abgespeichert.");
    EXPECT_EQ(m_Dialog.text_signature->GetValue(), "");
    constexpr long STYLE = wxTE_PROCESS_ENTER | wxTE_PROCESS_TAB | wxTE_MULTILINE;
    EXPECT_EQ(m_Dialog.text_document->GetWindowStyle() & (STYLE | wxTE_READONLY), STYLE);
    EXPECT_EQ(m_Dialog.text_signature->GetWindowStyle() & (STYLE | wxTE_READONLY), STYLE | wxTE_READONLY);
    EXPECT_TRUE(m_Dialog.text_document->IsEditable());
    EXPECT_FALSE(m_Dialog.text_signature->IsEditable());
}

TEST_F(TheSignatureTest, OffersTwoHashesBeforeItKnowsTheCard) {
    EXPECT_THAT(m_Dialog.Hashes(), ElementsAre("SHA-1", "RIPEMD-160"));
    EXPECT_EQ(m_Dialog.combo_hash->GetSelection(), 0);
    constexpr long STYLE = wxCB_DROPDOWN | wxCB_READONLY | wxCB_SIMPLE;
    EXPECT_EQ(m_Dialog.combo_hash->GetWindowStyle() & STYLE, STYLE);
    EXPECT_EQ(m_Dialog.label_algorithm->GetLabel(), "ECC");
}

TEST_F(TheSignatureTest, HasItsControlsInAFixedOrder) {
    wxSizer& algorithms = *m_Dialog.combo_hash->GetContainingSizer();
    EXPECT_THAT(ChildrenOf(m_Dialog),
                ElementsAre(m_Dialog.text_document, m_Dialog.text_signature, m_Dialog.combo_hash,
                            m_Dialog.panel_gap, m_Dialog.label_algorithm, m_Dialog.panel_left,
                            m_Dialog.bitmap_status, m_Dialog.label_status, m_Dialog.panel_right,
                            m_Dialog.button_sign, m_Dialog.button_verify, m_Dialog.button_close,
                            m_Dialog.panel_height, algorithms.GetItem(size_t{0})->GetWindow(),
                            algorithms.GetItem(3)->GetWindow()));
    for (const wxPanel* panel :
         {m_Dialog.panel_gap, m_Dialog.panel_left, m_Dialog.panel_right, m_Dialog.panel_height}) {
        EXPECT_EQ(panel->GetWindowStyle() & (wxTAB_TRAVERSAL | wxBORDER_MASK),
                  wxTAB_TRAVERSAL | wxBORDER_NONE);
    }
}

TEST_F(TheSignatureTest, KeepsItsControlsAtLeastAsLargeAsStated) {
    EXPECT_EQ(m_Dialog.panel_gap->GetMinSize(), wxSize(75, 25));
    EXPECT_EQ(m_Dialog.text_document->GetMinSize(), wxSize(572, 100));
    EXPECT_EQ(m_Dialog.text_signature->GetMinSize(), wxSize(572, 80));
    EXPECT_EQ(m_Dialog.panel_left->GetMinSize(), wxSize(5, 38));
    EXPECT_EQ(m_Dialog.panel_right->GetMinSize(), wxSize(5, 38));
    EXPECT_EQ(m_Dialog.combo_hash->GetMinSize(), wxSize(94, 22));
    EXPECT_EQ(m_Dialog.panel_height->GetSize(), wxSize(1, 38));
    EXPECT_EQ(m_Dialog.panel_height->GetMinSize(), wxSize(1, 38));
}

TEST_F(TheSignatureTest, TellsPeopleWhoHearItWhatItsFieldsAreAndNothingOfItsPanels) {
    m_Dialog.Show(true);
    ASSERT_TRUE(RunUntil([this] { return widgets::IsUp(m_Dialog); }));
    EXPECT_THAT(widgets::NamesOfFocusable(m_Dialog),
                testing::UnorderedElementsAre("Zu signierender Text", "Signatur in Base64", "Hashalgorithmus",
                                              "Unterschreiben", "Prüfen", "Dialog schließen"));
    for (const wxWindow* decoration :
         std::initializer_list<wxWindow*>{m_Dialog.panel_gap, m_Dialog.panel_left, m_Dialog.bitmap_status,
                                          m_Dialog.panel_right, m_Dialog.panel_height}) {
        EXPECT_EQ(widgets::RoleOf(*decoration), "filler");
    }
    EXPECT_EQ(widgets::RoleOf(*m_Dialog.label_status), "notification");
}

TEST_F(TheSignatureTest, HasAListWhoseArrowDoesNotFade) {
    m_Dialog.Show();
    ASSERT_TRUE(RunUntil([this] { return widgets::IsUp(m_Dialog); }));
    EXPECT_FALSE(widgets::TakesColourAtOnce(*m_Dialog.button_sign));
    EXPECT_TRUE(widgets::TakesColourAtOnce(*m_Dialog.combo_hash));
}

TEST_F(TheSignatureTest, BeginsWithTheFocusOnTheButtonThatSigns) {
    m_Dialog.Show(true);
    EXPECT_TRUE(RunUntil([this] { return m_Dialog.button_sign->HasFocus(); }));
}

// --- Layout ------------------------------------------------------------------------------------------------

TEST_F(TheSignatureTest, PlacesTextsAlgorithmsButtonsAndStatusBelowEachOther) {
    auto& outer = dynamic_cast<wxBoxSizer&>(*m_Dialog.GetSizer());
    EXPECT_EQ(outer.GetOrientation(), wxVERTICAL);
    EXPECT_THAT(PlacementsIn(outer),
                ElementsAre(Placement{m_Dialog.text_document, 0, wxEXPAND | wxALL, 6},
                            Placement{m_Dialog.text_signature, 0, wxEXPAND | wxALL, 6},
                            Placement{nullptr, 0, wxEXPAND, 0},
                            Placement{nullptr, 0, wxALIGN_CENTER_HORIZONTAL | wxALL, 0},
                            Placement{nullptr, 0, wxEXPAND | wxALIGN_CENTER_HORIZONTAL, 3}));
    for (const size_t row : {2U, 3U, 4U}) {
        EXPECT_EQ(dynamic_cast<wxBoxSizer&>(*outer.GetItem(row)->GetSizer()).GetOrientation(), wxHORIZONTAL);
    }
}

TEST_F(TheSignatureTest, NamesBothAlgorithmsInOneRow) {
    wxSizer& row = *m_Dialog.GetSizer()->GetItem(2)->GetSizer();
    wxWindow* hash = row.GetItem(size_t{0})->GetWindow();
    wxWindow* signature = row.GetItem(3)->GetWindow();
    EXPECT_EQ(hash->GetLabel(), "Hashalgorithmus:");
    EXPECT_EQ(signature->GetLabel(), "Signaturalgorithmus:");
    EXPECT_THAT(PlacementsIn(row),
                ElementsAre(Placement{hash, 0, wxALIGN_CENTER_VERTICAL | wxALL, 6},
                            Placement{m_Dialog.combo_hash, 0, wxRIGHT | wxTOP | wxBOTTOM, 6},
                            Placement{m_Dialog.panel_gap, 0, 0, 0},
                            Placement{signature, 0, wxALIGN_CENTER_VERTICAL | wxALL, 6},
                            Placement{m_Dialog.label_algorithm, 0,
                                      wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM, 6}));
}

TEST_F(TheSignatureTest, PlacesTheButtonsInOneRowAndTheStatusBetweenTwoSprings) {
    EXPECT_THAT(PlacementsIn(*m_Dialog.GetSizer()->GetItem(3)->GetSizer()),
                ElementsAre(Placement{m_Dialog.button_sign, 0, wxALL, 6},
                            Placement{m_Dialog.button_verify, 0, wxALL, 6},
                            Placement{m_Dialog.button_close, 0, wxALL, 6}));
    EXPECT_THAT(PlacementsIn(*m_Dialog.GetSizer()->GetItem(4)->GetSizer()),
                ElementsAre(Placement{m_Dialog.panel_left, 1, wxEXPAND, 0},
                            Placement{m_Dialog.bitmap_status, 0, 0, 0},
                            Placement{m_Dialog.label_status, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, 6},
                            Placement{m_Dialog.panel_right, 1, wxEXPAND, 0},
                            Placement{m_Dialog.panel_height, 0, 0, 0}));
}

TEST_F(TheSignatureTest, KeepsAStatusRowOf38PixelsWithNothingInIt) {
    m_Dialog.Show(true);
    const wxSizer& row = *m_Dialog.label_status->GetContainingSizer();
    const auto isAsHigh = [&row] { return row.GetSize().GetHeight() == 38; };
    EXPECT_TRUE(RunUntil(isAsHigh));
    m_Dialog.SetStatus("Fertig", false);
    EXPECT_TRUE(RunUntil(isAsHigh)); // the toolkit gives the dialog its size in its own time
}

// --- Events ------------------------------------------------------------------------------------------------

TEST(TheEventsOfTheSignatureTest, ReachHandlersThatMayBeReplaced) {
    class Counting : public ProbedTestDialog {
    public:
        void evt_sign(wxCommandEvent&) override { m_Calls += "sign "; }
        void evt_verify(wxCommandEvent&) override { m_Calls += "verify "; }
        void evt_closedlg(wxCommandEvent&) override { m_Calls += "close "; }
        void evt_OnFadeOut(wxTimerEvent&) override { m_Calls += "fade "; }
        std::string m_Calls;
    };
    Counting dialog;
    for (const int id : {5448, 5449, 5447}) {
        EXPECT_TRUE(Press(dialog, id)) << id;
    }
    wxTimer timer(&dialog, 5445);
    wxTimerEvent tick(timer);
    EXPECT_TRUE(dialog.GetEventHandler()->ProcessEvent(tick));
    EXPECT_EQ(dialog.m_Calls, "sign verify close fade ");
}

TEST_F(TheSignatureTest, EndsWithZeroWhenItIsClosed) {
    EXPECT_EQ(RunModal(m_Dialog, [this] { Press(m_Dialog, 5447); }), 0);
}

// --- Without a card access object --------------------------------------------------------------------------

TEST_F(TheSignatureTest, StartsWithoutACardOnTheEncryptionKey) {
    EXPECT_EQ(m_Dialog.m_pP11, nullptr);
    EXPECT_EQ(m_Dialog.m_nSlot, 0);
    EXPECT_EQ(m_Dialog.m_ApplType, Velmor::ApplEncryption);
    EXPECT_EQ(m_Dialog.Status(), "");
    EXPECT_FALSE(m_Dialog.m_fadeTimer.IsRunning());
    EXPECT_NE(m_Dialog.m_fadeTimer.GetId(), 5445);
}

TEST_F(TheSignatureTest, TakesANullCardWithoutLookingAtIt) {
    m_Dialog.SetP11(nullptr, 3, Velmor::ApplSignature);
    EXPECT_EQ(m_Dialog.m_pP11, nullptr);
    EXPECT_EQ(m_Dialog.m_nSlot, 3);
    EXPECT_EQ(m_Dialog.m_ApplType, Velmor::ApplSignature);
    EXPECT_THAT(m_Dialog.Hashes(), ElementsAre("SHA-1", "RIPEMD-160"));
    EXPECT_NE(m_Dialog.m_fadeTimer.GetId(), 5445);
    EXPECT_EQ(m_Dialog.Status(), "");
}

TEST_F(TheSignatureTest, OnlyClearsTheOldSignatureWhenThereIsNoCardToSignWith) {
    m_Dialog.text_signature->SetValue("alt");
    m_Dialog.SetStatus("alt", false);
    m_Dialog.Sign();
    EXPECT_EQ(m_Dialog.text_signature->GetValue(), "");
    EXPECT_EQ(m_Dialog.Status(), "");
}

TEST_F(TheSignatureTest, HasNoConnectionWhenThereIsNoCardToVerifyWith) {
    m_Dialog.text_signature->SetValue("alt");
    m_Dialog.Verify();
    EXPECT_EQ(m_Dialog.text_signature->GetValue(), "alt");
    EXPECT_EQ(m_Dialog.Status(), "Fehler beim Aufbau der Verbindung zur Karte");
}

// --- Hash algorithms ---------------------------------------------------------------------------------------

TEST_F(TheSignatureTest, TellsTheAlgorithmOfTheSelectedRow) {
    m_Dialog.combo_hash->Append("SHA-256");
    const std::pair<int, Velmor::HashAlgorithm> rows[] = {
        {0, Velmor::HASH_SHA1}, {1, Velmor::HASH_RIPEMD160}, {2, Velmor::HASH_SHA256}};
    for (const auto& [row, expected] : rows) {
        m_Dialog.combo_hash->SetSelection(row);
        auto algorithm = Velmor::HASH_RAW;
        EXPECT_TRUE(m_Dialog.GetHashAlgorithm(algorithm));
        EXPECT_EQ(algorithm, expected);
        EXPECT_EQ(m_Dialog.Status(), "");
    }
}

TEST_F(TheSignatureTest, RefusesToGoOnWithoutASelectedAlgorithm) {
    m_Dialog.combo_hash->SetSelection(wxNOT_FOUND);
    auto algorithm = Velmor::HASH_RAW;
    EXPECT_FALSE(m_Dialog.GetHashAlgorithm(algorithm));
    EXPECT_EQ(algorithm, 0);
    EXPECT_EQ(m_Dialog.Status(), Utf8("Ungültiger Hashwert ausgewählt"));
    EXPECT_TRUE(SamePicture(m_Dialog.bitmap_status->GetBitmap(), ButtonCancel));
}

TEST_F(TheSignatureTest, RefusesAnAlgorithmThatItDoesNotKnow) {
    m_Dialog.combo_hash->SetSelection(m_Dialog.combo_hash->Append("MD5"));
    auto algorithm = Velmor::HASH_RAW;
    EXPECT_FALSE(m_Dialog.GetHashAlgorithm(algorithm));
    EXPECT_EQ(algorithm, 0);
    EXPECT_EQ(m_Dialog.Status(), Utf8("Ungültiger Hashwert"));
    EXPECT_TRUE(SamePicture(m_Dialog.bitmap_status->GetBitmap(), ButtonCancel));
}

// --- Status line -------------------------------------------------------------------------------------------

namespace {

/// Notes the id of each fade event and the timer's interval at it.
class FadingTest : public ProbedTestDialog {
public:
    void evt_OnFadeOut(wxTimerEvent& event) override {
        m_Ids.push_back(event.GetId());
        m_Intervals.push_back(m_fadeTimer.GetInterval());
        ProbedTestDialog::evt_OnFadeOut(event);
    }
    std::vector<int> m_Ids;
    std::vector<int> m_Intervals;
};

class TheStatusOfTheSignatureTest : public testing::Test {
protected:
    void SetUp() override {
        m_Dialog.m_fadeTimer.SetOwner(&m_Dialog, 5445); // as a card does
        m_Dialog.Show(true);
        // On a busy machine the window manager takes its time with the border, and the layout follows it.
        ASSERT_TRUE(
            RunUntil([this] { return HasBorder(m_Dialog) && m_Dialog.panel_left->GetSize().x > 100; }));
        RunFor(100);
    }
    /// Steps until that many have been made since the status was set.
    void StepTo(size_t step) {
        while (m_Dialog.m_Intervals.size() < step) {
            wxTimerEvent tick(m_Dialog.m_fadeTimer);
            m_Dialog.evt_OnFadeOut(tick);
        }
    }
    wxColour TextColour() { return m_Dialog.button_close->GetForegroundColour(); }

    FadingTest m_Dialog;
};

} // namespace

TEST_F(TheStatusOfTheSignatureTest, ShowsASuccessWithTheTickAndAnErrorWithTheCross) {
    m_Dialog.SetStatus("Fertig", false);
    EXPECT_EQ(m_Dialog.Status(), "Fertig");
    EXPECT_TRUE(SamePicture(m_Dialog.bitmap_status->GetBitmap(), ButtonOk));
    m_Dialog.SetStatus("Fehler", true);
    EXPECT_EQ(m_Dialog.Status(), "Fehler");
    EXPECT_TRUE(SamePicture(m_Dialog.bitmap_status->GetBitmap(), ButtonCancel));
}

TEST_F(TheStatusOfTheSignatureTest, StandsInTheMiddleAndLeavesTheDialogsSize) {
    const wxSize before = m_Dialog.GetSize();
    m_Dialog.SetStatus("Eine Meldung", false);
    RunFor(100);
    EXPECT_EQ(m_Dialog.GetSize(), before);
    EXPECT_GE(m_Dialog.label_status->GetSize().GetWidth(), m_Dialog.label_status->GetBestSize().GetWidth());
    EXPECT_NEAR(m_Dialog.panel_left->GetSize().GetWidth(), m_Dialog.panel_right->GetSize().GetWidth(), 1);
    EXPECT_GT(m_Dialog.panel_left->GetSize().GetWidth(), 100);
}

TEST_F(TheStatusOfTheSignatureTest, IsHiddenByAnEmptyTextWhichLeavesTheTimerAlone) {
    m_Dialog.SetStatus("Fertig", false);
    m_Dialog.SetStatus("", true);
    EXPECT_EQ(m_Dialog.Status(), "");
    EXPECT_FALSE(m_Dialog.label_status->IsShown());
    EXPECT_EQ(m_Dialog.label_status->GetLabel(), "Fertig");
    EXPECT_TRUE(m_Dialog.m_fadeTimer.IsRunning());
    EXPECT_EQ(m_Dialog.m_Intervals.size(), 1U);
}

TEST_F(TheStatusOfTheSignatureTest, HasItsIconDrawnAnewForAnEmptyTextToo) {
    class Noting : public wxStaticBitmap {
    public:
        using wxStaticBitmap::wxStaticBitmap;
        void Refresh(bool eraseBackground, const wxRect* rect) override {
            ++m_Refreshes;
            wxStaticBitmap::Refresh(eraseBackground, rect);
        }
        int m_Refreshes = 0;
    };
    auto* const icon = new Noting(&m_Dialog, wxID_ANY, wxNullBitmap);
    wxStaticBitmap* const before = std::exchange(m_Dialog.bitmap_status, icon);
    icon->m_Refreshes = 0;
    m_Dialog.SetStatus("", false);
    EXPECT_GT(icon->m_Refreshes, 0);
    m_Dialog.bitmap_status = before;
}

TEST_F(TheStatusOfTheSignatureTest, RenewsTheLayoutForAnEmptyTextToo) {
    std::vector<int> heights;
    m_Dialog.Bind(wxEVT_SIZE, [&](wxSizeEvent& event) {
        heights.push_back(m_Dialog.GetSize().GetHeight());
        event.Skip();
    });
    const int height = m_Dialog.GetSize().GetHeight();
    m_Dialog.SetStatus("", false);
    ASSERT_GE(heights.size(), 2U);
    EXPECT_EQ(heights[0], height + 1);
    EXPECT_EQ(heights[1], height);
}

TEST_F(TheStatusOfTheSignatureTest, TakesItsFirstStepAtOnceAndThenHoldsFor1500Milliseconds) {
    m_Dialog.SetStatus("Fertig", false);
    EXPECT_THAT(m_Dialog.m_Ids, ElementsAre(-1));
    EXPECT_EQ(m_Dialog.m_fadeTimer.GetInterval(), 1500);
    EXPECT_FALSE(m_Dialog.m_fadeTimer.IsOneShot());
    EXPECT_FLOAT_EQ(m_Dialog.m_fade.GetModifier(), 1.0F / 50);
}

TEST_F(TheStatusOfTheSignatureTest, ColoursTextAndIconByTheStep) {
    m_Dialog.SetStatus("Fertig", false);
    for (const int step : {1, 2, 25, 49}) {
        StepTo(static_cast<size_t>(step));
        FadeOut expected;
        expected.Init(TextColour(), m_Dialog.button_close->GetBackgroundColour(),
                      wxBitmap(ButtonOk).ConvertToImage(), 50);
        for (int i = 0; i < step; ++i) {
            expected.NextStep();
        }
        EXPECT_EQ(m_Dialog.label_status->GetForegroundColour(), expected.GetColour()) << step;
        const wxImage shown = m_Dialog.bitmap_status->GetBitmap().ConvertToImage();
        EXPECT_EQ(shown.GetAlpha(16, 16), expected.GetImage().GetAlpha(16, 16)) << step;
        EXPECT_EQ(shown.GetAlpha(0, 0), 0) << step;
    }
}

TEST_F(TheStatusOfTheSignatureTest, HidesAtStep50AndTakesItsColourBack) {
    m_Dialog.SetStatus("Fertig", false);
    StepTo(49);
    EXPECT_EQ(m_Dialog.Status(), "Fertig");
    StepTo(50);
    EXPECT_EQ(m_Dialog.Status(), "");
    EXPECT_FALSE(m_Dialog.label_status->IsShown());
    EXPECT_FALSE(m_Dialog.m_fadeTimer.IsRunning());
    EXPECT_EQ(m_Dialog.label_status->GetForegroundColour(), TextColour());
}

TEST_F(TheStatusOfTheSignatureTest, StartsOverWithASecondMessage) {
    m_Dialog.SetStatus("Erste", false);
    StepTo(40);
    m_Dialog.SetStatus("Zweite", true);
    EXPECT_EQ(m_Dialog.Status(), "Zweite");
    EXPECT_FLOAT_EQ(m_Dialog.m_fade.GetModifier(), 1.0F / 50);
    EXPECT_EQ(m_Dialog.m_fadeTimer.GetInterval(), 1500);
}

TEST_F(TheStatusOfTheSignatureTest, FadesByItselfIn50Steps) {
    m_Dialog.SetStatus("Fertig", false);
    EXPECT_TRUE(RunUntil([this] { return m_Dialog.Status().empty(); }, 30000));
    ASSERT_EQ(m_Dialog.m_Intervals.size(), 50U);
    EXPECT_EQ(m_Dialog.m_Intervals[1], 1500);
    for (size_t step = 2; step < 50; ++step) {
        EXPECT_EQ(m_Dialog.m_Intervals[step], 100);
    }
    EXPECT_EQ(m_Dialog.m_Ids[1], 5445);
}

TEST_F(TheStatusOfTheSignatureTest, DoesNotFadeWithoutAnIcon) {
    m_Dialog.bitmap_status = nullptr;
    wxTimerEvent tick(m_Dialog.m_fadeTimer);
    m_Dialog.evt_OnFadeOut(tick);
    EXPECT_FLOAT_EQ(m_Dialog.m_fade.GetModifier(), 0);
}
