// SPDX-License-Identifier: MIT
// The themes that windows are looked at on, and what can be read on them.
#ifndef ORSEL_TESTS_SUPPORT_THEMES_H
#define ORSEL_TESTS_SUPPORT_THEMES_H

#include <wx/image.h>

#include <ostream>
#include <string>

class wxWindow;

namespace themes {

struct Theme {
    const char* m_Name;
    const char* m_Theme;
    bool m_IsDark; ///< the dark variant of a theme
    bool m_HasDarkGround;
};

inline void PrintTo(const Theme& theme, std::ostream* out) {
    *out << theme.m_Name;
}

/// All that come with the toolkit.
constexpr Theme ALL[] = {{"Light", "Adwaita", false, false},
                         {"Dark", "Adwaita", true, true},
                         {"HighContrast", "HighContrast", false, false},
                         {"HighContrastInverse", "HighContrastInverse", false, true}};

/// The least contrast to the ground that WCAG 2 (level AA) asks of a text, and of an icon.
constexpr double ENOUGH_FOR_TEXT = 4.5;
constexpr double ENOUGH_FOR_ICON = 3;

/// Sets the theme of all windows.
void Use(const Theme& theme);

/// Fails the test unless a window comes to be painted on the theme's ground, with something on it that has at
/// least this contrast.
void ExpectReadable(const wxWindow& window, const Theme& theme, double contrast = ENOUGH_FOR_TEXT);

/// The picture of a window when it no longer changes, as it does while the theme fades from one state into
/// another.
wxImage SettledPictureOf(const wxWindow& window);

/// Whether two pictures are the same, pixel by pixel; one that is not valid is like no other.
bool AreAlike(const wxImage& a, const wxImage& b);

/// Keeps that picture in the folder that ORSEL_PICTURES names, for people to look at; without one it does
/// nothing.
void Keep(const wxWindow& window, const std::string& name, const Theme& theme);

} // namespace themes

#endif
