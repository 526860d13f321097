// SPDX-License-Identifier: MIT
#include "app/StatusLine.h"

#include <wx/frame.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "tests/support/GuiTest.h"

namespace {

/// A window that notes what it is told about its place and size.
class NotingWindow : public wxFrame {
public:
    NotingWindow() : wxFrame(nullptr, wxID_ANY, "", wxPoint(30, 40), wxSize(300, 200)) {}
    std::vector<wxRect> m_Told;

protected:
    void DoSetSize(int x, int y, int width, int height, int flags) override {
        m_Told.emplace_back(x, y, width, height);
        wxFrame::DoSetSize(x, y, width, height, flags);
    }
};

/// A status line whose colours a test chooses.
class AStatusLine : public testing::Test {
protected:
    wxColour ColourOfText(const wxColour& colour) {
        m_Colours.SetForegroundColour(colour);
        m_Text.SetForegroundColour(wxColour(1, 2, 3));
        StatusLine(m_Text, m_Icon, m_Colours, m_Fade, m_Timer).Show("Fertig", false);
        return m_Text.GetForegroundColour();
    }

    wxFrame m_Frame{nullptr, wxID_ANY, ""};
    wxWindow m_Colours{&m_Frame, wxID_ANY};
    wxStaticText m_Text{&m_Frame, wxID_ANY, ""};
    wxStaticBitmap m_Icon{&m_Frame, wxID_ANY, wxNullBitmap};
    FadeOut m_Fade;
    wxTimer m_Timer;
};

} // namespace

TEST(TheLayoutOfAWindow, IsRenewedByOnePixelMoreAndBackWithoutAMove) {
    NotingWindow window;
    window.m_Told.clear();
    RenewLayoutOf(window);
    EXPECT_EQ(window.m_Told, (std::vector<wxRect>{{-1, -1, 300, 201}, {-1, -1, 300, 200}}));
    EXPECT_EQ(window.GetSize(), wxSize(300, 200));
    EXPECT_EQ(window.GetPosition(), wxPoint(30, 40));
}

TEST_F(AStatusLine, TakesItsColourFromAThemeThatWritesInALightOne) {
    for (const wxColour& light : {wxColour(128, 128, 128), wxColour(255, 255, 255), wxColour(100, 130, 255),
                                  wxColour(0, 220, 0), wxColour(255, 90, 0)}) {
        EXPECT_EQ(ColourOfText(light), light) << light.GetAsString();
    }
    for (const wxColour& dark : {wxColour(127, 127, 127), wxColour(0, 0, 0), wxColour(0, 0, 255),
                                 wxColour(255, 0, 255), wxColour(0, 215, 0)}) {
        EXPECT_EQ(ColourOfText(dark), wxColour(1, 2, 3)) << dark.GetAsString();
    }
}
