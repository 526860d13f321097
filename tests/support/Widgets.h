// SPDX-License-Identifier: MIT
// What the toolkit's native widgets tell of a window: the room that texts have, the names that a screen
// reader says.
#ifndef ORSEL_TESTS_SUPPORT_WIDGETS_H
#define ORSEL_TESTS_SUPPORT_WIDGETS_H

#include <wx/gdicmn.h>
#include <wx/image.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class wxWindow;

namespace widgets {

/// Whether a window and its controls are up: one that was shown waits for the window manager's answer.
bool IsUp(const wxWindow& window);

/// The texts in a window that need more room than they have, each with what is missing.
std::vector<std::string> CutTexts(const wxWindow& window);

/// The controls of a window that can have the focus, by the names that the accessibility bus says; empty for
/// one that has none.
std::vector<std::string> NamesOfFocusable(const wxWindow& window);

/// What the bus says of a control beside its name.
std::string DescriptionOf(const wxWindow& control);

/// Whether the bus has announcements, which it has had since ATK 2.46.
bool HasAnnouncements();

/// What a window and its controls announce to people who hear them during an action; "showing" for a control
/// that says by its state that there is news.
std::vector<std::string> HeardDuring(const wxWindow& window, const std::function<void()>& action);

/// What the bus says that a window is.
std::string RoleOf(const wxWindow& window);

/// The upper left corner on the screen of the menu that is open; nothing when none is.
std::optional<wxPoint> PlaceOfOpenMenu();

/// What the screen shows of a window; an invalid picture before it is on the screen.
wxImage PictureOf(const wxWindow& window);

/// Whether a control that is up, with all its parts, takes the colour of another state at once, in a theme
/// that fades colours for a minute.
bool TakesColourAtOnce(const wxWindow& control);

/// Sets the theme of all windows.
void UseTheme(const std::string& name, bool isDark);

/// Sets the font of all windows to come, such as "DejaVu Sans 10", and the dots in an inch of a text.
void UseFont(const std::string& name, int dotsPerInch);

} // namespace widgets

#endif
