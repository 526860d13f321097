// SPDX-License-Identifier: MIT
#include "app/FadeOut.h"

#include "tests/support/GuiTest.h"

namespace {

/// Two pixels: a wholly transparent one and one of alpha 77.
wxImage TwoPixels() {
    wxImage image(2, 1);
    image.InitAlpha();
    image.SetAlpha(0, 0, 0);
    image.SetAlpha(1, 0, 77);
    return image;
}

FadeOut AtStep(int step, int steps, wxColour from, wxColour to) {
    FadeOut fade;
    fade.Init(from, to, TwoPixels(), steps);
    for (int i = 0; i < step; ++i) {
        fade.NextStep();
    }
    return fade;
}

} // namespace

TEST(FadeOut, StartsUnfinishedWith100Steps) {
    FadeOut fade;
    EXPECT_FALSE(fade.Finished());
    EXPECT_FLOAT_EQ(fade.GetModifier(), 0.0F);
    fade.NextStep();
    EXPECT_FLOAT_EQ(fade.GetModifier(), 0.01F);
    for (int i = 1; i < 99; ++i) {
        fade.NextStep();
    }
    EXPECT_FALSE(fade.Finished());
    fade.NextStep();
    EXPECT_TRUE(fade.Finished());
}

TEST(FadeOut, StaysAtItsLastStep) {
    FadeOut fade = AtStep(60, 50, *wxBLACK, *wxWHITE);
    EXPECT_TRUE(fade.Finished());
    EXPECT_FLOAT_EQ(fade.GetModifier(), 1.0F);
}

TEST(FadeOut, InitStartsOver) {
    FadeOut fade = AtStep(50, 50, *wxBLACK, *wxWHITE);
    fade.Init(*wxBLACK, *wxWHITE, TwoPixels(), 4);
    EXPECT_FALSE(fade.Finished());
    fade.NextStep();
    EXPECT_FLOAT_EQ(fade.GetModifier(), 0.25F);
}

TEST(FadeOut, BlackTextGoesToTheBackground) {
    const wxColour background(212, 208, 200);
    EXPECT_EQ(AtStep(0, 50, *wxBLACK, background).GetColour(), wxColour(0, 0, 0));
    EXPECT_EQ(AtStep(25, 50, *wxBLACK, background).GetColour(), wxColour(106, 104, 100));
    EXPECT_EQ(AtStep(50, 50, *wxBLACK, background).GetColour(), background);
}

TEST(FadeOut, OtherTextGoesToTheDifferenceOfBothColours) {
    const wxColour from(200, 10, 255);
    const wxColour to(50, 110, 255);
    EXPECT_EQ(AtStep(0, 4, from, to).GetColour(), wxColour(0, 0, 0));
    EXPECT_EQ(AtStep(1, 4, from, to).GetColour(), wxColour(37, 25, 0)); // 37.5 is cut
    EXPECT_EQ(AtStep(4, 4, from, to).GetColour(), wxColour(150, 100, 0));
}

TEST(FadeOut, TheColourIsOpaque) {
    EXPECT_EQ(AtStep(1, 2, wxColour(0, 0, 0, 10), wxColour(9, 9, 9, 20)).GetColour().Alpha(), 255);
}

TEST(FadeOut, VisiblePixelsShareOneAlphaAndTransparentOnesStay) {
    const std::pair<int, int> alphaAtStep[] = {{0, 255}, {1, 191}, {2, 127}, {3, 63}, {4, 0}};
    for (const auto& [step, alpha] : alphaAtStep) {
        const wxImage image = AtStep(step, 4, *wxBLACK, *wxWHITE).GetImage();
        EXPECT_EQ(image.GetAlpha(0, 0), 0) << step;
        EXPECT_EQ(image.GetAlpha(1, 0), alpha) << step;
    }
}

TEST(FadeOut, EachStepStartsFromTheSamePlane) {
    FadeOut fade = AtStep(4, 4, *wxBLACK, *wxWHITE);
    EXPECT_EQ(fade.GetImage().GetAlpha(1, 0), 0);
    fade.Init(*wxBLACK, *wxWHITE, fade.GetImage(), 4); // now wholly transparent
    EXPECT_EQ(fade.GetImage().GetAlpha(1, 0), 0);
    FadeOut again = AtStep(3, 4, *wxBLACK, *wxWHITE);
    again.GetImage();
    EXPECT_EQ(again.GetImage().GetAlpha(1, 0), 63);
}

TEST(FadeOut, AnIconWithoutAnAlphaPlaneGetsOneFromItsMask) {
    wxImage image(2, 1);
    image.SetRGB(0, 0, 1, 2, 3);
    image.SetMaskColour(1, 2, 3);
    FadeOut fade;
    fade.Init(*wxBLACK, *wxWHITE, image, 2);
    fade.NextStep();
    EXPECT_EQ(fade.GetImage().GetAlpha(0, 0), 0);
    EXPECT_EQ(fade.GetImage().GetAlpha(1, 0), 127);
}

TEST(FadeOut, AnEmptyIconStaysEmpty) {
    FadeOut fade;
    EXPECT_FALSE(fade.GetImage().IsOk());
    fade.Init(*wxBLACK, *wxWHITE, wxImage(), 2);
    EXPECT_FALSE(fade.GetImage().IsOk());
}
