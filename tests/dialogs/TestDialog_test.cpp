// SPDX-License-Identifier: MIT
// Construction, layout and status line of the signature test, without a card.
#include "dialogs/TestDialog.h"

#include <wx/frame.h>

#include "images/Images.h"
#include "tests/dialogs/ProbedTestDialog.h"

using testing::ElementsAre;

namespace {

class TheSignatureTest : public testing::Test {
protected:
    ProbedTestDialog m_dialog;
};

} // namespace

// --- Window ------------------------------------------------------------------------------------------------

TEST_F(TheSignatureTest, TakesParentIdTitleAndStyleAsGiven) {
    EXPECT_EQ(m_dialog.GetTitle(), "Test");
    EXPECT_EQ(m_dialog.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxDEFAULT_DIALOG_STYLE);
    wxFrame parent(nullptr, wxID_ANY, "");
    const ProbedTestDialog child(&parent, 4711, "Titel", wxPoint(30, 40), wxDefaultSize, wxCAPTION);
    EXPECT_EQ(child.GetParent(), &parent);
    EXPECT_EQ(child.GetId(), 4711);
    EXPECT_EQ(child.GetTitle(), "Titel");
    EXPECT_EQ(child.GetPosition(), wxPoint(30, 40));
    EXPECT_EQ(child.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxCAPTION);
}

TEST_F(TheSignatureTest, Is600By350LargeAndBearsTheIcon) {
    EXPECT_EQ(m_dialog.GetSize(), wxSize(600, 350));
    EXPECT_TRUE(m_dialog.GetIcon().IsOk());
    EXPECT_EQ(m_dialog.GetIcon().GetSize(), wxSize(32, 32));
}

TEST_F(TheSignatureTest, HasThreeButtonsWithTheirIdsAndLabels) {
    struct Row {
        wxButton* button;
        int id;
        const char* label;
    };
    const Row rows[] = {
        {m_dialog.button_sign, 5448, "Unterschreiben"},
        {m_dialog.button_verify, 5449, "Prüfen"},
        {m_dialog.button_close, 5447, "Dialog schließen"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.button->GetId(), row.id);
        EXPECT_EQ(row.button->GetLabel(), Utf8(row.label));
        EXPECT_EQ(row.button->GetWindowStyle() & wxBORDER_MASK, 0);
        EXPECT_TRUE(row.button->IsEnabled());
    }
}

TEST_F(TheSignatureTest, HasATextToSignAndAFieldThatTheUserCannotEdit) {
    EXPECT_EQ(m_dialog.text_document->GetValue(),
              "Das ist ein Test!\n\nDie Signatur dieses Textes wird nur virtuell erstellt und nicht "
              "abgespeichert.");
    EXPECT_EQ(m_dialog.text_signature->GetValue(), "");
    constexpr long STYLE = wxTE_PROCESS_ENTER | wxTE_PROCESS_TAB | wxTE_MULTILINE;
    EXPECT_EQ(m_dialog.text_document->GetWindowStyle() & (STYLE | wxTE_READONLY), STYLE);
    EXPECT_EQ(m_dialog.text_signature->GetWindowStyle() & (STYLE | wxTE_READONLY), STYLE | wxTE_READONLY);
    EXPECT_TRUE(m_dialog.text_document->IsEditable());
    EXPECT_FALSE(m_dialog.text_signature->IsEditable());
}

TEST_F(TheSignatureTest, OffersTwoHashesBeforeItKnowsTheCard) {
    EXPECT_THAT(m_dialog.Hashes(), ElementsAre("SHA-1", "RIPEMD-160"));
    EXPECT_EQ(m_dialog.combo_hash->GetSelection(), 0);
    constexpr long STYLE = wxCB_DROPDOWN | wxCB_READONLY | wxCB_SIMPLE;
    EXPECT_EQ(m_dialog.combo_hash->GetWindowStyle() & STYLE, STYLE);
    EXPECT_EQ(m_dialog.label_algorithm->GetLabel(), "ECC");
}

TEST_F(TheSignatureTest, HasItsControlsInAFixedOrder) {
    wxSizer& algorithms = *m_dialog.combo_hash->GetContainingSizer();
    EXPECT_THAT(ChildrenOf(m_dialog),
                ElementsAre(m_dialog.text_document, m_dialog.text_signature, m_dialog.combo_hash,
                            m_dialog.panel_gap, m_dialog.label_algorithm, m_dialog.panel_left,
                            m_dialog.bitmap_status, m_dialog.label_status, m_dialog.panel_right,
                            m_dialog.button_sign, m_dialog.button_verify, m_dialog.button_close,
                            m_dialog.panel_height, algorithms.GetItem(size_t{0})->GetWindow(),
                            algorithms.GetItem(3)->GetWindow()));
    for (const wxPanel* panel :
         {m_dialog.panel_gap, m_dialog.panel_left, m_dialog.panel_right, m_dialog.panel_height})
        EXPECT_EQ(panel->GetWindowStyle() & (wxTAB_TRAVERSAL | wxBORDER_MASK),
                  wxTAB_TRAVERSAL | wxBORDER_NONE);
}

TEST_F(TheSignatureTest, KeepsItsControlsAtLeastAsLargeAsStated) {
    EXPECT_EQ(m_dialog.panel_gap->GetMinSize(), wxSize(75, 25));
    EXPECT_EQ(m_dialog.text_document->GetMinSize(), wxSize(572, 100));
    EXPECT_EQ(m_dialog.text_signature->GetMinSize(), wxSize(572, 80));
    EXPECT_EQ(m_dialog.panel_left->GetMinSize(), wxSize(5, 38));
    EXPECT_EQ(m_dialog.panel_right->GetMinSize(), wxSize(5, 38));
    EXPECT_EQ(m_dialog.combo_hash->GetMinSize(), wxSize(94, 22));
    EXPECT_EQ(m_dialog.panel_height->GetSize(), wxSize(1, 38));
}

TEST_F(TheSignatureTest, BeginsWithTheFocusOnTheButtonThatSigns) {
    m_dialog.Show(true);
    EXPECT_TRUE(RunUntil([this] { return m_dialog.button_sign->HasFocus(); }));
}

// --- Layout ------------------------------------------------------------------------------------------------

TEST_F(TheSignatureTest, PlacesTextsAlgorithmsButtonsAndStatusBelowEachOther) {
    auto& outer = dynamic_cast<wxBoxSizer&>(*m_dialog.GetSizer());
    EXPECT_EQ(outer.GetOrientation(), wxVERTICAL);
    EXPECT_THAT(PlacementsIn(outer),
                ElementsAre(Placement{m_dialog.text_document, 0, wxEXPAND | wxALL, 6},
                            Placement{m_dialog.text_signature, 0, wxEXPAND | wxALL, 6},
                            Placement{nullptr, 0, wxEXPAND, 0},
                            Placement{nullptr, 0, wxALIGN_CENTER_HORIZONTAL | wxALL, 0},
                            Placement{nullptr, 0, wxEXPAND | wxALIGN_CENTER_HORIZONTAL, 3}));
    for (const size_t row : {2U, 3U, 4U})
        EXPECT_EQ(dynamic_cast<wxBoxSizer&>(*outer.GetItem(row)->GetSizer()).GetOrientation(), wxHORIZONTAL);
}

TEST_F(TheSignatureTest, NamesBothAlgorithmsInOneRow) {
    wxSizer& row = *m_dialog.GetSizer()->GetItem(2)->GetSizer();
    wxWindow* hash = row.GetItem(size_t{0})->GetWindow();
    wxWindow* signature = row.GetItem(3)->GetWindow();
    EXPECT_EQ(hash->GetLabel(), "Hashalgorithmus:");
    EXPECT_EQ(signature->GetLabel(), "Signaturalgorithmus:");
    EXPECT_THAT(PlacementsIn(row),
                ElementsAre(Placement{hash, 0, wxALIGN_CENTER_VERTICAL | wxALL, 6},
                            Placement{m_dialog.combo_hash, 0, wxRIGHT | wxTOP | wxBOTTOM, 6},
                            Placement{m_dialog.panel_gap, 0, 0, 0},
                            Placement{signature, 0, wxALIGN_CENTER_VERTICAL | wxALL, 6},
                            Placement{m_dialog.label_algorithm, 0,
                                      wxALIGN_CENTER_VERTICAL | wxRIGHT | wxTOP | wxBOTTOM, 6}));
}

TEST_F(TheSignatureTest, PlacesTheButtonsInOneRowAndTheStatusBetweenTwoSprings) {
    EXPECT_THAT(PlacementsIn(*m_dialog.GetSizer()->GetItem(3)->GetSizer()),
                ElementsAre(Placement{m_dialog.button_sign, 0, wxALL, 6},
                            Placement{m_dialog.button_verify, 0, wxALL, 6},
                            Placement{m_dialog.button_close, 0, wxALL, 6}));
    EXPECT_THAT(PlacementsIn(*m_dialog.GetSizer()->GetItem(4)->GetSizer()),
                ElementsAre(Placement{m_dialog.panel_left, 1, wxEXPAND, 0},
                            Placement{m_dialog.bitmap_status, 0, 0, 0},
                            Placement{m_dialog.label_status, 0, wxALIGN_CENTER_VERTICAL | wxLEFT, 6},
                            Placement{m_dialog.panel_right, 1, wxEXPAND, 0},
                            Placement{m_dialog.panel_height, 0, 0, 0}));
}

TEST_F(TheSignatureTest, KeepsAStatusRowOf38PixelsWithNothingInIt) {
    m_dialog.Show(true);
    const wxSizer& row = *m_dialog.label_status->GetContainingSizer();
    const auto isAsHigh = [&row] { return row.GetSize().GetHeight() == 38; };
    EXPECT_TRUE(RunUntil(isAsHigh));
    m_dialog.SetStatus("Fertig", false);
    EXPECT_TRUE(RunUntil(isAsHigh)); // the toolkit gives the dialog its size in its own time
}

// --- Events ------------------------------------------------------------------------------------------------

TEST(TheEventsOfTheSignatureTest, ReachHandlersThatMayBeReplaced) {
    class Counting : public ProbedTestDialog {
    public:
        void evt_sign(wxCommandEvent&) override { calls += "sign "; }
        void evt_verify(wxCommandEvent&) override { calls += "verify "; }
        void evt_closedlg(wxCommandEvent&) override { calls += "close "; }
        void evt_OnFadeOut(wxTimerEvent&) override { calls += "fade "; }
        std::string calls;
    };
    Counting dialog;
    for (const int id : {5448, 5449, 5447})
        EXPECT_TRUE(Press(dialog, id)) << id;
    wxTimer timer(&dialog, 5445);
    wxTimerEvent tick(timer);
    EXPECT_TRUE(dialog.GetEventHandler()->ProcessEvent(tick));
    EXPECT_EQ(dialog.calls, "sign verify close fade ");
}

TEST_F(TheSignatureTest, EndsWithZeroWhenItIsClosed) {
    EXPECT_EQ(RunModal(m_dialog, [this] { Press(m_dialog, 5447); }), 0);
}

// --- Without a card access object --------------------------------------------------------------------------

TEST_F(TheSignatureTest, StartsWithoutACardOnTheEncryptionKey) {
    EXPECT_EQ(m_dialog.m_pP11, nullptr);
    EXPECT_EQ(m_dialog.m_nSlot, 0);
    EXPECT_EQ(m_dialog.m_ApplType, Velmor::ApplEncryption);
    EXPECT_EQ(m_dialog.Status(), "");
    EXPECT_FALSE(m_dialog.m_fadeTimer.IsRunning());
    EXPECT_NE(m_dialog.m_fadeTimer.GetId(), 5445);
}

TEST_F(TheSignatureTest, TakesANullCardWithoutLookingAtIt) {
    m_dialog.SetP11(nullptr, 3, Velmor::ApplSignature);
    EXPECT_EQ(m_dialog.m_pP11, nullptr);
    EXPECT_EQ(m_dialog.m_nSlot, 3);
    EXPECT_EQ(m_dialog.m_ApplType, Velmor::ApplSignature);
    EXPECT_THAT(m_dialog.Hashes(), ElementsAre("SHA-1", "RIPEMD-160"));
    EXPECT_NE(m_dialog.m_fadeTimer.GetId(), 5445);
    EXPECT_EQ(m_dialog.Status(), "");
}

TEST_F(TheSignatureTest, OnlyClearsTheOldSignatureWhenThereIsNoCardToSignWith) {
    m_dialog.text_signature->SetValue("alt");
    m_dialog.SetStatus("alt", false);
    m_dialog.Sign();
    EXPECT_EQ(m_dialog.text_signature->GetValue(), "");
    EXPECT_EQ(m_dialog.Status(), "");
}

TEST_F(TheSignatureTest, HasNoConnectionWhenThereIsNoCardToVerifyWith) {
    m_dialog.text_signature->SetValue("alt");
    m_dialog.Verify();
    EXPECT_EQ(m_dialog.text_signature->GetValue(), "alt");
    EXPECT_EQ(m_dialog.Status(), "Fehler beim Aufbau der Verbindung zur Karte");
}

// --- Hash algorithms ---------------------------------------------------------------------------------------

TEST_F(TheSignatureTest, TellsTheAlgorithmOfTheSelectedRow) {
    m_dialog.combo_hash->Append("SHA-256");
    const std::pair<int, Velmor::HashAlgorithm> rows[] = {
        {0, Velmor::HASH_SHA1}, {1, Velmor::HASH_RIPEMD160}, {2, Velmor::HASH_SHA256}};
    for (const auto& [row, expected] : rows) {
        m_dialog.combo_hash->SetSelection(row);
        auto algorithm = Velmor::HASH_RAW;
        EXPECT_TRUE(m_dialog.GetHashAlgorithm(algorithm));
        EXPECT_EQ(algorithm, expected);
        EXPECT_EQ(m_dialog.Status(), "");
    }
}

TEST_F(TheSignatureTest, RefusesToGoOnWithoutASelectedAlgorithm) {
    m_dialog.combo_hash->SetSelection(wxNOT_FOUND);
    auto algorithm = Velmor::HASH_RAW;
    EXPECT_FALSE(m_dialog.GetHashAlgorithm(algorithm));
    EXPECT_EQ(algorithm, 0);
    EXPECT_EQ(m_dialog.Status(), Utf8("Ungültiger Hashwert ausgewählt"));
    EXPECT_TRUE(SamePicture(m_dialog.bitmap_status->GetBitmap(), ButtonCancel));
}

TEST_F(TheSignatureTest, RefusesAnAlgorithmThatItDoesNotKnow) {
    m_dialog.combo_hash->SetSelection(m_dialog.combo_hash->Append("MD5"));
    auto algorithm = Velmor::HASH_RAW;
    EXPECT_FALSE(m_dialog.GetHashAlgorithm(algorithm));
    EXPECT_EQ(algorithm, 0);
    EXPECT_EQ(m_dialog.Status(), Utf8("Ungültiger Hashwert"));
    EXPECT_TRUE(SamePicture(m_dialog.bitmap_status->GetBitmap(), ButtonCancel));
}

// --- Status line -------------------------------------------------------------------------------------------

namespace {

/// Notes the id of each fade event and the timer's interval at it.
class FadingTest : public ProbedTestDialog {
public:
    void evt_OnFadeOut(wxTimerEvent& event) override {
        ids.push_back(event.GetId());
        intervals.push_back(m_fadeTimer.GetInterval());
        ProbedTestDialog::evt_OnFadeOut(event);
    }
    std::vector<int> ids;
    std::vector<int> intervals;
};

class TheStatusOfTheSignatureTest : public testing::Test {
protected:
    void SetUp() override {
        m_dialog.m_fadeTimer.SetOwner(&m_dialog, 5445); // as a card does
        m_dialog.Show(true);
        // On a busy machine the window manager takes its time with the border, and the layout follows it.
        ASSERT_TRUE(
            RunUntil([this] { return HasBorder(m_dialog) && m_dialog.panel_left->GetSize().x > 100; }));
        RunFor(100);
    }
    /// Steps until that many have been made since the status was set.
    void StepTo(size_t step) {
        while (m_dialog.intervals.size() < step) {
            wxTimerEvent tick(m_dialog.m_fadeTimer);
            m_dialog.evt_OnFadeOut(tick);
        }
    }
    wxColour TextColour() { return m_dialog.button_close->GetForegroundColour(); }

    FadingTest m_dialog;
};

} // namespace

TEST_F(TheStatusOfTheSignatureTest, ShowsASuccessWithTheTickAndAnErrorWithTheCross) {
    m_dialog.SetStatus("Fertig", false);
    EXPECT_EQ(m_dialog.Status(), "Fertig");
    EXPECT_TRUE(SamePicture(m_dialog.bitmap_status->GetBitmap(), ButtonOk));
    m_dialog.SetStatus("Fehler", true);
    EXPECT_EQ(m_dialog.Status(), "Fehler");
    EXPECT_TRUE(SamePicture(m_dialog.bitmap_status->GetBitmap(), ButtonCancel));
}

TEST_F(TheStatusOfTheSignatureTest, StandsInTheMiddleAndLeavesTheDialogsSize) {
    const wxSize before = m_dialog.GetSize();
    m_dialog.SetStatus("Eine Meldung", false);
    RunFor(100);
    EXPECT_EQ(m_dialog.GetSize(), before);
    EXPECT_GE(m_dialog.label_status->GetSize().GetWidth(), m_dialog.label_status->GetBestSize().GetWidth());
    EXPECT_NEAR(m_dialog.panel_left->GetSize().GetWidth(), m_dialog.panel_right->GetSize().GetWidth(), 1);
    EXPECT_GT(m_dialog.panel_left->GetSize().GetWidth(), 100);
}

TEST_F(TheStatusOfTheSignatureTest, IsHiddenByAnEmptyTextWhichLeavesTheTimerAlone) {
    m_dialog.SetStatus("Fertig", false);
    m_dialog.SetStatus("", true);
    EXPECT_EQ(m_dialog.Status(), "");
    EXPECT_FALSE(m_dialog.label_status->IsShown());
    EXPECT_EQ(m_dialog.label_status->GetLabel(), "Fertig");
    EXPECT_TRUE(m_dialog.m_fadeTimer.IsRunning());
    EXPECT_EQ(m_dialog.intervals.size(), 1U);
}

TEST_F(TheStatusOfTheSignatureTest, RenewsTheLayoutForAnEmptyTextToo) {
    std::vector<int> heights;
    m_dialog.Bind(wxEVT_SIZE, [&](wxSizeEvent& event) {
        heights.push_back(m_dialog.GetSize().GetHeight());
        event.Skip();
    });
    const int height = m_dialog.GetSize().GetHeight();
    m_dialog.SetStatus("", false);
    ASSERT_GE(heights.size(), 2U);
    EXPECT_EQ(heights[0], height + 1);
    EXPECT_EQ(heights[1], height);
}

TEST_F(TheStatusOfTheSignatureTest, TakesItsFirstStepAtOnceAndThenHoldsFor1500Milliseconds) {
    m_dialog.SetStatus("Fertig", false);
    EXPECT_THAT(m_dialog.ids, ElementsAre(-1));
    EXPECT_EQ(m_dialog.m_fadeTimer.GetInterval(), 1500);
    EXPECT_FALSE(m_dialog.m_fadeTimer.IsOneShot());
    EXPECT_FLOAT_EQ(m_dialog.m_fade.GetModifier(), 1.0F / 50);
}

TEST_F(TheStatusOfTheSignatureTest, ColoursTextAndIconByTheStep) {
    m_dialog.SetStatus("Fertig", false);
    for (const int step : {1, 2, 25, 49}) {
        StepTo(static_cast<size_t>(step));
        FadeOut expected;
        expected.Init(TextColour(), m_dialog.button_close->GetBackgroundColour(),
                      wxBitmap(ButtonOk).ConvertToImage(), 50);
        for (int i = 0; i < step; ++i)
            expected.NextStep();
        EXPECT_EQ(m_dialog.label_status->GetForegroundColour(), expected.GetColour()) << step;
        const wxImage shown = m_dialog.bitmap_status->GetBitmap().ConvertToImage();
        EXPECT_EQ(shown.GetAlpha(16, 16), expected.GetImage().GetAlpha(16, 16)) << step;
        EXPECT_EQ(shown.GetAlpha(0, 0), 0) << step;
    }
}

TEST_F(TheStatusOfTheSignatureTest, HidesAtStep50AndTakesItsColourBack) {
    m_dialog.SetStatus("Fertig", false);
    StepTo(49);
    EXPECT_EQ(m_dialog.Status(), "Fertig");
    StepTo(50);
    EXPECT_EQ(m_dialog.Status(), "");
    EXPECT_FALSE(m_dialog.label_status->IsShown());
    EXPECT_FALSE(m_dialog.m_fadeTimer.IsRunning());
    EXPECT_EQ(m_dialog.label_status->GetForegroundColour(), TextColour());
}

TEST_F(TheStatusOfTheSignatureTest, StartsOverWithASecondMessage) {
    m_dialog.SetStatus("Erste", false);
    StepTo(40);
    m_dialog.SetStatus("Zweite", true);
    EXPECT_EQ(m_dialog.Status(), "Zweite");
    EXPECT_FLOAT_EQ(m_dialog.m_fade.GetModifier(), 1.0F / 50);
    EXPECT_EQ(m_dialog.m_fadeTimer.GetInterval(), 1500);
}

TEST_F(TheStatusOfTheSignatureTest, FadesByItselfIn50Steps) {
    m_dialog.SetStatus("Fertig", false);
    EXPECT_TRUE(RunUntil([this] { return m_dialog.Status().empty(); }, 30000));
    ASSERT_EQ(m_dialog.intervals.size(), 50U);
    EXPECT_EQ(m_dialog.intervals[1], 1500);
    for (size_t step = 2; step < 50; ++step)
        EXPECT_EQ(m_dialog.intervals[step], 100);
    EXPECT_EQ(m_dialog.ids[1], 5445);
}

TEST_F(TheStatusOfTheSignatureTest, DoesNotFadeWithoutAnIcon) {
    m_dialog.bitmap_status = nullptr;
    wxTimerEvent tick(m_dialog.m_fadeTimer);
    m_dialog.evt_OnFadeOut(tick);
    EXPECT_FLOAT_EQ(m_dialog.m_fade.GetModifier(), 0);
}
