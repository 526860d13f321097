// SPDX-License-Identifier: MIT
#include "tests/support/Themes.h"

#include <wx/colour.h>
#include <wx/window.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

#include "tests/support/GuiTest.h"
#include "tests/support/Widgets.h"

namespace themes {

namespace {

/// Relative luminance and contrast as WCAG 2 has them.
double Linear(unsigned char channel) {
    const double share = channel / 255.0;
    return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
}
double Luminance(const wxColour& colour) {
    return 0.2126 * Linear(colour.Red()) + 0.7152 * Linear(colour.Green()) + 0.0722 * Linear(colour.Blue());
}
double Contrast(double a, double b) {
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

/// The colour that most of a picture has, and how far the one that differs most from it stands out.
struct Writing {
    double m_Ground = 0; ///< relative luminance
    double m_Contrast = 1;
};

Writing WritingIn(const wxImage& picture) {
    std::unordered_map<unsigned int, int> colours;
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
            std::max(writing.m_Contrast, Contrast(Luminance(wxColour(colour.first)), writing.m_Ground));
    }
    return writing;
}

bool IsReadable(const Writing& writing, const Theme& theme, double contrast) {
    constexpr double DARK = 0.2;
    return (writing.m_Ground < DARK) == theme.m_HasDarkGround && writing.m_Contrast >= contrast;
}

} // namespace

bool AreAlike(const wxImage& a, const wxImage& b) {
    return a.IsOk() && b.IsOk() && a.GetSize() == b.GetSize() &&
           std::memcmp(a.GetData(), b.GetData(), 3UL * a.GetWidth() * a.GetHeight()) == 0;
}

void Use(const Theme& theme) {
    widgets::UseTheme(theme.m_Theme, theme.m_IsDark);
}

void ExpectReadable(const wxWindow& window, const Theme& theme, double contrast) {
    ASSERT_TRUE(RunUntil([&window] { return window.IsShownOnScreen() && window.GetSize().x > 20; }));
    Writing writing;
    EXPECT_TRUE(RunUntil([&] {
        writing = WritingIn(widgets::PictureOf(window));
        return IsReadable(writing, theme, contrast);
    })) << writing.m_Contrast
        << " to 1 on " << writing.m_Ground;
}

wxImage SettledPictureOf(const wxWindow& window) {
    constexpr int LONGER_THAN_A_FADE = 300; // milliseconds
    wxImage picture;
    RunUntil([&] {
        const wxImage before = picture;
        RunFor(LONGER_THAN_A_FADE);
        picture = widgets::PictureOf(window);
        return AreAlike(before, picture);
    });
    return picture;
}

void Keep(const wxWindow& window, const std::string& name, const Theme& theme) {
    if (const char* const folder = std::getenv("ORSEL_PICTURES")) {
        SettledPictureOf(window).SaveFile(std::string(folder) + "/" + name + "-" + theme.m_Name + ".png",
                                          wxBITMAP_TYPE_PNG);
    }
}

} // namespace themes
