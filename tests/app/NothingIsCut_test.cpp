// SPDX-License-Identifier: MIT
// Every window in several fonts, densities and languages: no text has less room than it needs.
#include <memory>

#include "app/ControlIds.h"
#include "app/I18N.h"
#include "dialogs/NoPersB.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ProbedInfobox.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/Looks.h"
#include "tests/support/Widgets.h"

using testing::IsEmpty;

namespace {

class AnyWindow : public CardWindowTest<> {
protected:
    /// The toolkit gives the controls their places in its own time.
    static void ExpectNothingCut(wxWindow& window) {
        ASSERT_TRUE(RunUntil([&window] { return widgets::IsUp(window); }));
        RunFor(30);
        RunUntil([&window] { return widgets::CutTexts(window).empty(); }, 2000);
        EXPECT_THAT(widgets::CutTexts(window), IsEmpty()) << window.GetSize().x << "x" << window.GetSize().y;
    }
    void ExpectNothingCutInStatus(const char* text) {
        SCOPED_TRACE(text);
        m_Frame->SetStatus(Translate(text), true);
        ExpectNothingCut(*m_Frame);
    }

    void LookAtSignatureTest() {
        ProbedTestDialog dialog(m_Frame.get());
        dialog.SetP11(m_Frame->m_p11, 0, Velmor::ApplSignature);
        dialog.Show(true);
        for (unsigned int hash = 0; hash < dialog.combo_hash->GetCount(); ++hash) {
            SCOPED_TRACE(hash);
            dialog.combo_hash->SetSelection(static_cast<int>(hash));
            dialog.SetStatus(Translate("Fehler beim Aufbau der Verbindung zur Karte"), true);
            ExpectNothingCut(dialog);
        }
    }

    /// On a card with a container: its rows are longer than those of the others.
    void LookAtInfobox() {
        ProbedInfobox dialog(m_Frame.get(), Velmor::TOKEN_ACOS_04);
        dialog.SetP11(m_Frame->m_p11, 1);
        dialog.Show(true);
        ExpectNothingCut(dialog);
        dialog.Load();
        ASSERT_EQ(dialog.list_box->GetCount(), 3U);
        ExpectNothingCut(dialog);
        dialog.Select(0);
        ExpectNothingCut(dialog);
    }
};

class EveryWindow : public AnyWindow, public testing::WithParamInterface<looks::Both> {
protected:
    static void SetUpTestSuite() {
        m_CommonDeck = std::make_unique<orseltest::SimDeck>();
        m_CommonDeck->AddDemoCards();
    }
    static void TearDownTestSuite() { m_CommonDeck.reset(); }

    void SetUp() override {
        ASSERT_TRUE(looks::Use(GetParam()));
        setenv("ORSELSIM_DECK", m_CommonDeck->GetPath().c_str(), 1); // until m_Deck dies
        Open();
    }

    static std::unique_ptr<orseltest::SimDeck> m_CommonDeck;
};

std::unique_ptr<orseltest::SimDeck> EveryWindow::m_CommonDeck;

INSTANTIATE_TEST_SUITE_P(InGerman, EveryWindow,
                         testing::Combine(testing::Values(looks::GERMAN), testing::ValuesIn(looks::ALL)),
                         looks::NameOf);
INSTANTIATE_TEST_SUITE_P(InEnglish, EveryWindow,
                         testing::Combine(testing::Values(looks::ENGLISH), testing::ValuesIn(looks::ALL)),
                         looks::NameOf);
INSTANTIATE_TEST_SUITE_P(InLongerWords, EveryWindow,
                         testing::Combine(testing::Values(looks::LONGER), testing::ValuesIn(looks::ALL)),
                         looks::NameOf);

} // namespace

TEST_P(EveryWindow, ShowsItsTextsWhole) {
    ASSERT_EQ(m_Frame->list_cards->GetItemCount(), 10);
    ExpectNothingCut(*m_Frame);
    ExpectNothingCutInStatus("Dieser Befehl ist mit einer leeren Karte nicht erlaubt!");
    ExpectNothingCutInStatus("Fehler beim PIN entsperren! PIN/PUK falsch!");
    m_Frame->m_pleaseWait.Show(true);
    ExpectNothingCut(m_Frame->m_pleaseWait);
    m_Frame->m_pleaseWait.Show(false);
    LookAtSignatureTest();
    LookAtInfobox();
    NoPersB dialog(m_Frame.get(), wxID_ANY, "");
    dialog.Show(true);
    ExpectNothingCut(dialog);
}

namespace {

class EveryWindowInTheFontOfThePictures : public AnyWindow {
protected:
    void SetUp() override {
        widgets::UseFont("Liberation Sans 10", 96);
        looks::UseLanguage(looks::GERMAN);
    }
    int ColumnWidth(int column) { return m_Frame->list_cards->GetColumnWidth(column); }
};

} // namespace

TEST_F(EveryWindowInTheFontOfThePictures, IsAsLargeAsStated) {
    m_Deck.Add("acos-a03");
    Open();
    EXPECT_EQ(ColumnWidth(0), 170);
    EXPECT_EQ(ColumnWidth(1), 350);
    EXPECT_EQ(ColumnWidth(2), 190);
    m_Frame->m_pleaseWait.Show(true);
    EXPECT_TRUE(RunUntil([this] { return m_Frame->m_pleaseWait.GetSize() == wxSize(220, 100); }));
    m_Frame->m_pleaseWait.Show(false);
    ProbedTestDialog test(m_Frame.get());
    test.SetP11(m_Frame->m_p11, 0, Velmor::ApplSignature);
    EXPECT_EQ(test.GetSize(), wxSize(600, 350));
    ProbedInfobox infobox(m_Frame.get(), Velmor::TOKEN_ACOS_03);
    infobox.SetP11(m_Frame->m_p11, 0);
    infobox.Load(); // rows that fit
    EXPECT_EQ(infobox.GetSize(), wxSize(600, 400));
}
