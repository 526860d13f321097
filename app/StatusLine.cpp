// SPDX-License-Identifier: MIT
#include "app/StatusLine.h"

#include <wx/app.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/timer.h>
#include <wx/utils.h>
#include <wx/weakref.h>
#include <wx/window.h>

#include "app/Accessible.h"
#include "app/wxHelper.h"
#include "images/Images.h"

static constexpr int FADE_STEPS = 50;
static constexpr int FADE_HOLD_MS = 1500;
static constexpr int FADE_STEP_MS = 100;

StatusLine::StatusLine(wxStaticText& text, wxStaticBitmap& icon, const wxWindow& colours, FadeOut& fade,
                       wxTimer& timer)
    : m_Text(text), m_Icon(icon), m_Colours(colours), m_Fade(fade), m_Timer(timer) {}

/// The fade of the text starts at black, which nobody can read where the theme writes in a light colour.
bool StatusLine::IsOnDark() const {
    constexpr int MIDDLE = 128;
    const wxColour text = m_Colours.GetForegroundColour();
    return (text.Red() * 299 + text.Green() * 587 + text.Blue() * 114) / 1000 >=
           MIDDLE; // as bright as eyes take it
}

void StatusLine::Hide() {
    m_Text.Show(false);
    m_Icon.Show(false);
}

wxBitmap StatusLine::Show(const wxString& text, bool isError) {
    const wxBitmap icon = Velmor::PictureOf(isError ? ButtonCancel : ButtonOk);
    m_Text.Show(true);
    m_Icon.Show(true);
    m_Text.SetLabel(text);
    if (IsOnDark()) {
        m_Text.SetForegroundColour(m_Colours.GetForegroundColour()); // of the theme as it is now
    }
    m_Icon.ClearBackground();
    m_Icon.SetBitmap(icon);
    m_Icon.Refresh();
    m_Icon.Update();
    Announce(m_Text, text);
    return icon;
}

void StatusLine::BeginFade(const wxBitmap& icon, const std::function<void()>& firstStep) {
    if (!icon.IsOk()) {
        return;
    }
    m_Fade.Init(m_Colours.GetForegroundColour(), m_Colours.GetBackgroundColour(), icon.ConvertToImage(),
                FADE_STEPS);
    firstStep();
    m_Timer.Start(FADE_HOLD_MS, wxTIMER_CONTINUOUS);
}

void StatusLine::NextStep() {
    m_Fade.NextStep();
    if (m_Fade.Finished()) {
        m_Timer.Stop();
        m_Icon.Show(false);
        m_Text.Show(false);
        m_Text.SetForegroundColour(m_Colours.GetForegroundColour());
        return;
    }
    if (!IsOnDark()) {
        m_Text.SetForegroundColour(m_Fade.GetColour());
        m_Text.Refresh();
        m_Text.Update();
    }
    m_Icon.SetBitmap(wxBitmap(m_Fade.GetImage()));
    if (m_Timer.GetInterval() != FADE_STEP_MS) {
        m_Timer.Start(FADE_STEP_MS, wxTIMER_CONTINUOUS);
    }
}

void YieldAndKeepFocus() {
    const wxWeakRef<wxWindow> focus(wxWindow::FindFocus());
    wxSafeYield(nullptr, false);
    if (focus && wxWindow::FindFocus() != focus) {
        focus->SetFocus();
    }
}

void RenewLayoutOf(wxWindow& window) {
    int width = 0;
    int height = 0;
    window.GetSize(&width, &height);
    window.SetSize(-1, -1, width, height + 1);
    window.SetSize(-1, -1, width, height);
}
