// SPDX-License-Identifier: MIT
// Windows in process, under a virtual display.
#ifndef ORSEL_TESTS_SUPPORT_GUITEST_H
#define ORSEL_TESTS_SUPPORT_GUITEST_H

#include <wx/sizer.h>
#include <wx/string.h>
#include <wx/window.h>

#include <gmock/gmock.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

// Test failures show text, not addresses.
inline void PrintTo(const wxString& text, std::ostream* out) {
    *out << '"' << text.utf8_str().data() << '"';
}

/// Lets the toolkit work until the condition holds. False after that many milliseconds without it.
bool RunUntil(const std::function<bool()>& condition, int milliseconds = 20000);

/// Lets the toolkit work for a while, in which nothing more happens or what must not happen could. It is
/// never what a test waits with for an effect.
void RunFor(int milliseconds);

/// Whether the window manager has put its border around a window, some time after the window was shown: its
/// size includes it from then on.
bool HasBorder(const wxWindow& window);

/// UTF-8 literal as the toolkit's text.
inline wxString Utf8(const char* text) {
    return wxString::FromUTF8(text);
}

/// The windows inside another one, in tab order.
std::vector<wxWindow*> ChildrenOf(const wxWindow& window);

/// What a sizer was told about one item.
struct Placement {
    wxWindow* m_Window; ///< null for a nested sizer
    int m_Proportion;
    int m_Flags;
    int m_Border;
    bool operator==(const Placement& other) const;
};
void PrintTo(const Placement& placement, std::ostream* out);

std::vector<Placement> PlacementsIn(const wxSizer& sizer);

#endif
