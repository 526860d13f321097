// SPDX-License-Identifier: MIT
// Every window can be read on every theme: measured on the pictures of them.
#include "dialogs/NoPersB.h"
#include "images/Images.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ProbedInfobox.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/Themes.h"
#include "tests/support/Widgets.h"

namespace {

class OnEveryTheme : public CardWindowTest<>, public testing::WithParamInterface<themes::Theme> {
protected:
    void SetUp() override { themes::Use(GetParam()); }
    void ExpectReadable(const wxWindow& window, double contrast = themes::ENOUGH_FOR_TEXT) const {
        themes::ExpectReadable(window, GetParam(), contrast);
    }
    void Keep(const wxWindow& window, const std::string& name) const {
        themes::Keep(window, name, GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(Themes, OnEveryTheme, testing::ValuesIn(themes::ALL),
                         [](const auto& row) { return std::string(row.param.m_Name); });

/// Whether a window shows a picture as it was drawn: a theme dims what it takes for disabled.
bool ShowsWhole(const wxWindow& window, const wxImage& image) {
    const wxImage shown = themes::SettledPictureOf(window);
    const int x = (shown.GetWidth() - image.GetWidth()) / 2;
    const int y = (shown.GetHeight() - image.GetHeight()) / 2;
    return shown.IsOk() && x >= 0 && y >= 0 &&
           themes::AreAlike(shown.GetSubImage(wxRect(wxPoint(x, y), image.GetSize())), image);
}

} // namespace

TEST_P(OnEveryTheme, TheStatusOfTheMainWindowCanBeRead) {
    m_Deck.AddDemoCards();
    Open();
    Select(2);
    m_Frame->SetStatus("Dieser Befehl ist mit einer leeren Karte nicht erlaubt!", true);
    m_Frame->m_fadeTimer.Stop();
    ExpectReadable(*m_Frame->label_status);
    ExpectReadable(*m_Frame->bitmap_status, themes::ENOUGH_FOR_ICON);
    Keep(*m_Frame, "main");
    m_Frame->m_pleaseWait.Show(true);
    ExpectReadable(m_Frame->m_pleaseWait);
    Keep(m_Frame->m_pleaseWait, "busy");
}

TEST_P(OnEveryTheme, TheBannerAndTheReloadButtonKeepTheirColours) {
    m_Deck.Add("acos-a04");
    Open();
    EXPECT_TRUE(ShowsWhole(*m_Frame->bitmap_banner, wxImage(VelmorBanner)));
    ExpectReadable(*m_Frame->button_reload, themes::ENOUGH_FOR_ICON);
}

TEST_P(OnEveryTheme, TheStatusOfTheSignatureTestCanBeRead) {
    m_Deck.Add("acos-a04");
    Open();
    ProbedTestDialog dialog(m_Frame.get());
    dialog.SetP11(m_Frame->m_p11, 0, Velmor::ApplSignature);
    dialog.Show(true);
    dialog.SetStatus("Signatur erfolgreich!", false);
    dialog.m_fadeTimer.Stop();
    ExpectReadable(*dialog.label_status);
    ExpectReadable(*dialog.bitmap_status, themes::ENOUGH_FOR_ICON);
    Keep(dialog, "test");
}

TEST_P(OnEveryTheme, TheInfoboxCanBeRead) {
    m_Deck.Add("acos-a04");
    Open();
    ProbedInfobox dialog(m_Frame.get(), Velmor::TOKEN_ACOS_04);
    dialog.SetP11(m_Frame->m_p11, 0);
    dialog.Show(true);
    dialog.Load();
    dialog.Select(0);
    ExpectReadable(*dialog.text_inhalt);
    Keep(dialog, "infobox");
    NoPersB noPersB(m_Frame.get(), wxID_ANY, "");
    noPersB.Show(true);
    ExpectReadable(noPersB);
    Keep(noPersB, "nopersb");
}

// --- The fade of the text ----------------------------------------------------------------------------------

namespace {

class OnADarkTheme : public CardWindowTest<> {
protected:
    void SetUp() override {
        widgets::UseTheme("Adwaita", true);
        Open();
    }
    ~OnADarkTheme() override { widgets::UseTheme("Adwaita", false); }
    void Tick() {
        wxTimerEvent tick(m_Frame->m_fadeTimer);
        m_Frame->evt_OnFadeOut(tick);
    }
};

} // namespace

TEST_F(OnADarkTheme, TheTextKeepsItsColourAndTheIconFadesAlone) {
    const wxColour own = m_Frame->button_pers_show->GetForegroundColour();
    m_Frame->SetStatus("Fertig", false);
    for (int step = 1; step < 49; ++step) {
        Tick();
        ASSERT_EQ(m_Frame->label_status->GetForegroundColour(), own) << step;
    }
    EXPECT_LT(m_Frame->bitmap_status->GetBitmap().ConvertToImage().GetAlpha(16, 16), 10);
    EXPECT_TRUE(m_Frame->label_status->IsShown());
    Tick();
    EXPECT_FALSE(m_Frame->label_status->IsShown());
}
