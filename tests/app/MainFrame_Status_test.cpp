// SPDX-License-Identifier: MIT
// The status line: texts, icons, and the fade with its times.
#include "app/MainFrame.h"

#include <wx/image.h>

#include "app/StatusLine.h"
#include "images/Images.h"
#include "tests/app/ProbedFrame.h"
#include "tests/support/GuiTest.h"

namespace {

/// Counts its fade steps and the timer's interval before each.
class FadingFrame : public ProbedFrame {
public:
    void evt_OnFadeOut(wxTimerEvent& event) override {
        m_Intervals.push_back(m_fadeTimer.GetInterval());
        ProbedFrame::evt_OnFadeOut(event);
    }
    std::vector<int> m_Intervals;
};

class TheStatusLine : public testing::Test {
protected:
    void SetUp() override {
        m_Frame->Show(true);
        ASSERT_TRUE(RunUntil([this] {
            return !m_Frame->m_startTimer.IsRunning() && m_Frame->m_refreshThread == nullptr &&
                   m_Frame->IsEnabled();
        }));
    }
    /// One tick of the fade timer.
    void Tick() {
        wxTimerEvent tick(m_Frame->m_fadeTimer);
        m_Frame->evt_OnFadeOut(tick);
    }
    void TickTo(int step) {
        while (static_cast<int>(m_Frame->m_Intervals.size()) < step) {
            Tick();
        }
    }
    bool Shows() { return m_Frame->label_status->IsShown() && m_Frame->bitmap_status->IsShown(); }
    bool Hides() { return !m_Frame->label_status->IsShown() && !m_Frame->bitmap_status->IsShown(); }

    /// The icon's colours without its alpha.
    static bool SamePicture(const wxBitmap& shown, const char* const* xpm) {
        const wxImage a = shown.ConvertToImage();
        const wxImage b = wxBitmap(xpm).ConvertToImage();
        for (int y = 0; y < b.GetHeight(); ++y) {
            for (int x = 0; x < b.GetWidth(); ++x) {
                if (b.IsTransparent(x, y)) {
                    continue;
                }
                if (a.GetRed(x, y) != b.GetRed(x, y) || a.GetBlue(x, y) != b.GetBlue(x, y)) {
                    return false;
                }
            }
        }
        return a.GetSize() == b.GetSize();
    }

    std::unique_ptr<FadingFrame, DestroyWindow> m_Frame{new FadingFrame};
};

} // namespace

TEST_F(TheStatusLine, ShowsATextWithTheTick) {
    m_Frame->SetStatus("Fertig", false);
    EXPECT_TRUE(Shows());
    EXPECT_EQ(m_Frame->label_status->GetLabel(), "Fertig");
    EXPECT_TRUE(SamePicture(m_Frame->bitmap_status->GetBitmap(), ButtonOk));
}

TEST_F(TheStatusLine, ShowsAnErrorWithTheCross) {
    m_Frame->SetStatus("Fehler", true);
    EXPECT_TRUE(Shows());
    EXPECT_TRUE(SamePicture(m_Frame->bitmap_status->GetBitmap(), ButtonCancel));
}

TEST_F(TheStatusLine, KeepsTheWindowsSizeAndItsRowOf32Pixels) {
    ASSERT_TRUE(RunUntil([this] { return HasBorder(*m_Frame); }));
    const wxSize before = m_Frame->GetSize();
    m_Frame->SetStatus("Eine Meldung", false);
    RunFor(100);
    EXPECT_EQ(m_Frame->GetSize(), before);
    EXPECT_EQ(m_Frame->label_status->GetContainingSizer()->GetSize().GetHeight(), 32);
    EXPECT_GT(m_Frame->label_status->GetSize().GetWidth(), 20); // the text has room
}

TEST_F(TheStatusLine, IsHiddenByAnEmptyTextWhichLeavesTheTimerAlone) {
    m_Frame->SetStatus("Fertig", false);
    m_Frame->SetStatus("", true);
    EXPECT_TRUE(Hides());
    EXPECT_TRUE(m_Frame->m_fadeTimer.IsRunning());
    EXPECT_EQ(m_Frame->label_status->GetLabel(), "Fertig");
}

TEST_F(TheStatusLine, TakesItsFirstStepAtOnceAndThenHoldsFor1500Milliseconds) {
    m_Frame->SetStatus("Fertig", false);
    EXPECT_EQ(m_Frame->m_Intervals.size(), 1U);
    EXPECT_EQ(m_Frame->m_fadeTimer.GetInterval(), 1500);
    EXPECT_FALSE(m_Frame->m_fadeTimer.IsOneShot());
    EXPECT_FLOAT_EQ(m_Frame->m_fade.GetModifier(), 1.0F / 50);
}

TEST_F(TheStatusLine, GoesOnInStepsOf100Milliseconds) {
    m_Frame->SetStatus("Fertig", false);
    Tick();
    EXPECT_EQ(m_Frame->m_fadeTimer.GetInterval(), 100);
    EXPECT_TRUE(m_Frame->m_fadeTimer.IsRunning());
    Tick();
    EXPECT_EQ(m_Frame->m_fadeTimer.GetInterval(), 100);
    EXPECT_EQ(m_Frame->m_Intervals[1], 1500);
    EXPECT_EQ(m_Frame->m_Intervals[2], 100);
}

// The toolkit keeps the pixels of every picture without one that it has shown, to the end of the process.
TEST_F(TheStatusLine, ShowsPicturesWithAnAlphaPlaneAlone) {
    StatusLine line(*m_Frame->label_status, *m_Frame->bitmap_status, *m_Frame, m_Frame->m_fade,
                    m_Frame->m_fadeTimer);
    for (const bool isError : {false, true}) {
        EXPECT_TRUE(line.Show("Text", isError).HasAlpha());
    }
}

TEST_F(TheStatusLine, ColoursTextAndIconByTheStep) {
    const wxColour from = m_Frame->button_pers_show->GetForegroundColour();
    const wxColour to = m_Frame->button_pers_show->GetBackgroundColour();
    m_Frame->SetStatus("Fertig", false);
    for (const int step : {1, 2, 25, 49}) {
        TickTo(step);
        FadeOut expected;
        wxImage icon = wxBitmap(ButtonOk).ConvertToImage();
        expected.Init(from, to, icon, 50);
        for (int i = 0; i < step; ++i) {
            expected.NextStep();
        }
        EXPECT_EQ(m_Frame->label_status->GetForegroundColour(), expected.GetColour()) << step;
        const wxImage shown = m_Frame->bitmap_status->GetBitmap().ConvertToImage();
        EXPECT_EQ(shown.GetAlpha(16, 16), expected.GetImage().GetAlpha(16, 16)) << step;
        EXPECT_EQ(shown.GetAlpha(0, 0), 0) << step;
    }
}

TEST_F(TheStatusLine, HidesAtStep50AndTakesItsColourBack) {
    m_Frame->SetStatus("Fertig", false);
    TickTo(49);
    EXPECT_TRUE(Shows());
    TickTo(50);
    EXPECT_TRUE(Hides());
    EXPECT_FALSE(m_Frame->m_fadeTimer.IsRunning());
    EXPECT_EQ(m_Frame->label_status->GetForegroundColour(), m_Frame->button_pers_show->GetForegroundColour());
}

TEST_F(TheStatusLine, StartsOverWithASecondMessage) {
    m_Frame->SetStatus("Erste", false);
    TickTo(40);
    m_Frame->SetStatus("Zweite", true);
    EXPECT_TRUE(Shows());
    EXPECT_EQ(m_Frame->label_status->GetLabel(), "Zweite");
    EXPECT_TRUE(SamePicture(m_Frame->bitmap_status->GetBitmap(), ButtonCancel));
    EXPECT_FLOAT_EQ(m_Frame->m_fade.GetModifier(), 1.0F / 50);
    EXPECT_EQ(m_Frame->m_fadeTimer.GetInterval(), 1500);
}

TEST_F(TheStatusLine, FadesByItselfWithin50Steps) {
    m_Frame->SetStatus("Fertig", false);
    EXPECT_TRUE(RunUntil([this] { return Hides(); }, 30000));
    ASSERT_EQ(m_Frame->m_Intervals.size(), 50U);
    EXPECT_EQ(m_Frame->m_Intervals[1], 1500);
    for (size_t step = 2; step < 50; ++step) {
        EXPECT_EQ(m_Frame->m_Intervals[step], 100);
    }
}

// --- PIN commands ------------------------------------------------------------------------------------------

namespace {

struct PinText {
    int m_Result;
    const char* m_Change;
    const char* m_Unblock;
    bool m_Error;
};

constexpr PinText PIN_TEXTS[] = {
    {-2, "PIN Änderung nicht unterstützt!", "PIN Entsperren nicht unterstützt!", true},
    {0, "PIN Änderung erfolgreich!", "PIN Entsperren erfolgreich!", false},
    {1, "Abbruch durch Benutzer", "Abbruch durch Benutzer", true},
    {2, "Fehler beim PIN Ändern! PIN falsch!", "Fehler beim PIN entsperren! PIN/PUK falsch!", true},
    {3, "Fehler beim PIN Ändern! PIN Gesperrt", "Fehler beim PIN entsperren! PUK Gesperrt", true},
    {-1, "Fehler beim PIN Ändern!", "Fehler beim PIN entsperren!", true},
    {7, "Fehler beim PIN Ändern!", "Fehler beim PIN entsperren!", true},
    {-3, "Fehler beim PIN Ändern!", "Fehler beim PIN entsperren!", true},
};

} // namespace

TEST_F(TheStatusLine, TellsTheResultOfEveryPinChange) {
    for (const PinText& row : PIN_TEXTS) {
        m_Frame->SetStatusPinChange(static_cast<Velmor::PKCS11Return>(row.m_Result));
        EXPECT_EQ(m_Frame->label_status->GetLabel(), Utf8(row.m_Change));
        EXPECT_TRUE(SamePicture(m_Frame->bitmap_status->GetBitmap(), row.m_Error ? ButtonCancel : ButtonOk));
    }
}

TEST_F(TheStatusLine, TellsTheResultOfEveryPinUnblock) {
    for (const PinText& row : PIN_TEXTS) {
        m_Frame->SetStatusPinUnblock(static_cast<Velmor::PKCS11Return>(row.m_Result));
        EXPECT_EQ(m_Frame->label_status->GetLabel(), Utf8(row.m_Unblock));
        EXPECT_TRUE(SamePicture(m_Frame->bitmap_status->GetBitmap(), row.m_Error ? ButtonCancel : ButtonOk));
    }
}
