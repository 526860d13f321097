// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_STATUSLINE_H
#define ORSEL_APP_STATUSLINE_H

#include "app/FadeOut.h"

#include <wx/bitmap.h>

#include <functional>

class wxStaticBitmap;
class wxStaticText;
class wxString;
class wxTimer;
class wxWindow;

/// The row of an icon and a text that tells a result and fades away, as the main window and the signature
/// test show it. Works on a window's own controls, timer and fade, and owns none of them: made for one use.
class StatusLine {
public:
    /// The text takes its colour, and the background that it fades to, from a window like those around it.
    StatusLine(wxStaticText& text, wxStaticBitmap& icon, const wxWindow& colours, FadeOut& fade,
               wxTimer& timer);

    /// The fade timer runs on.
    void Hide();

    /// Shows the text with the cross (error) or the tick, which it returns; not valid if it cannot be built.
    wxBitmap Show(const wxString& text, bool isError);

    /// Starts over: the first step is taken at once, then the message stands for 1.5 seconds nearly
    /// unchanged. Without a valid icon the message stays.
    void BeginFade(const wxBitmap& icon, const std::function<void()>& firstStep);

    /// One step on; the last one hides the line and gives the text its own colour back. On a dark theme the
    /// icon fades alone, and the text keeps the theme's colour.
    void NextStep();

private:
    bool IsOnDark() const;

    wxStaticText& m_Text;
    wxStaticBitmap& m_Icon;
    const wxWindow& m_Colours;
    FadeOut& m_Fade;
    wxTimer& m_Timer;
};

/// wxSafeYield, which disables every window for its time, and then gives the keyboard back to where it was.
void YieldAndKeepFocus();

/// Makes a window lay itself out again with its size unchanged. The pixel more and less, in this order, is
/// what moves the toolkit to do it.
void RenewLayoutOf(wxWindow& window);

#endif
