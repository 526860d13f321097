// SPDX-License-Identifier: MIT
// The status line can be read on every theme: measured on the picture of it.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "tests/app/CardWindow.h"
#include "tests/dialogs/ProbedInfobox.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/Widgets.h"

namespace {

struct Theme {
    const char* m_Name;
    const char* m_Theme;
    bool m_IsDark; ///< the dark variant of a theme
    bool m_HasDarkGround;
};

void PrintTo(const Theme& theme, std::ostream* out) {
    *out << theme.m_Name;
}

/// Relative luminance and contrast as WCAG 2 has them.
double Linear(unsigned char channel) {
    const double share = channel / 255.0;
    return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
}
double Luminance(const wxColour& colour) {
    return 0.2126 * Linear(colour.Red()) + 0.7152 * Linear(colour.Green()) + 0.0722 * Linear(colour.Blue());
}
double Contrast(const wxColour& a, const wxColour& b) {
    const double light = std::max(Luminance(a), Luminance(b));
    const double dark = std::min(Luminance(a), Luminance(b));
    return (light + 0.05) / (dark + 0.05);
}

/// The colour that most of a picture has, and how far the one that differs most from it stands out.
struct Writing {
    double m_Ground = 0; ///< relative luminance
    double m_Contrast = 1;
};

Writing WritingIn(const wxImage& picture) {
    std::map<unsigned int, int> colours;
    for (int y = 0; picture.IsOk() && y < picture.GetHeight(); ++y) {
        for (int x = 0; x < picture.GetWidth(); ++x) {
            ++colours[wxColour(picture.GetRed(x, y), picture.GetGreen(x, y), picture.GetBlue(x, y)).GetRGB()];
        }
    }
    Writing writing;
    const auto ground = std::max_element(colours.begin(), colours.end(),
                                         [](const auto& a, const auto& b) { return a.second < b.second; });
    for (const auto& colour : colours) {
        writing.m_Ground = Luminance(wxColour(ground->first));
        writing.m_Contrast =
            std::max(writing.m_Contrast, Contrast(wxColour(colour.first), wxColour(ground->first)));
    }
    return writing;
}

class OnEveryTheme : public CardWindowTest<>, public testing::WithParamInterface<Theme> {
protected:
    void SetUp() override { widgets::UseTheme(GetParam().m_Theme, GetParam().m_IsDark); }

    /// Whether a window is painted as the theme wants it, with a text that can be read.
    bool IsReadable(const wxWindow& window) const {
        constexpr double ENOUGH = 4.5; // WCAG 2, level AA
        const Writing writing = WritingIn(widgets::PictureOf(window));
        return (writing.m_Ground < 0.2) == GetParam().m_HasDarkGround && writing.m_Contrast >= ENOUGH;
    }
    /// At full strength, on the screen.
    void ExpectReadable(const wxWindow& text) const {
        ASSERT_TRUE(RunUntil([&text] { return text.IsShownOnScreen() && text.GetSize().x > 20; }));
        RunUntil([this, &text] { return IsReadable(text); }, 5000);
        const Writing writing = WritingIn(widgets::PictureOf(text));
        EXPECT_TRUE(IsReadable(text)) << writing.m_Contrast << " to 1 on " << writing.m_Ground;
    }

    /// Keeps a picture of a window in the folder that the environment names, for people to look at.
    void Keep(const wxTopLevelWindow& window, const std::string& name) {
        const char* const folder = std::getenv("ORSEL_PICTURES");
        if (folder != nullptr) {
            widgets::PictureOf(window).SaveFile(
                std::string(folder) + "/" + name + "-" + GetParam().m_Name + ".png", wxBITMAP_TYPE_PNG);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Themes, OnEveryTheme,
                         testing::Values(Theme{"Light", "Adwaita", false, false},
                                         Theme{"Dark", "Adwaita", true, true},
                                         Theme{"HighContrast", "HighContrast", false, false},
                                         Theme{"HighContrastInverse", "HighContrastInverse", false, true}),
                         [](const auto& row) { return std::string(row.param.m_Name); });

} // namespace

TEST_P(OnEveryTheme, TheStatusOfTheMainWindowCanBeRead) {
    m_Deck.AddDemoCards();
    Open();
    m_Frame->SetStatus("Dieser Befehl ist mit einer leeren Karte nicht erlaubt!", true);
    ExpectReadable(*m_Frame->label_status);
    Keep(*m_Frame, "main");
    m_Frame->m_pleaseWait.Show(true);
    RunFor(200);
    Keep(m_Frame->m_pleaseWait, "busy");
}

TEST_P(OnEveryTheme, TheStatusOfTheSignatureTestCanBeRead) {
    m_Deck.Add("acos-a04");
    Open();
    ProbedTestDialog dialog(m_Frame.get());
    dialog.SetP11(m_Frame->m_p11, 0, Velmor::ApplSignature);
    dialog.Show(true);
    dialog.SetStatus("Signatur erfolgreich!", false);
    ExpectReadable(*dialog.label_status);
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
    RunFor(200);
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
