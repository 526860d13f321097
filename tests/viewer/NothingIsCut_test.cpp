// SPDX-License-Identifier: MIT
// The certificate window in several fonts, densities and languages: no text has less room than it needs.
#include "tests/support/CertificateBuilder.h"
#include "tests/support/GuiTest.h"
#include "tests/support/Looks.h"
#include "viewer/CertificateFrame.h"

using testing::IsEmpty;

namespace {

class TheCertificateWindow : public testing::TestWithParam<looks::Both> {
protected:
    void SetUp() override { ASSERT_TRUE(looks::Use(GetParam())); }
};

INSTANTIATE_TEST_SUITE_P(InEveryLook, TheCertificateWindow,
                         testing::Combine(testing::Values(looks::GERMAN, looks::ENGLISH, looks::LONGER),
                                          testing::ValuesIn(looks::ALL)),
                         looks::NameOf);

} // namespace

TEST_P(TheCertificateWindow, ShowsItsTextsWhole) {
    constexpr std::time_t WHEN_VALID = 1751371200; // 2025-07-01 12:00:00 UTC
    auto* frame = new CertificateFrame(nullptr, CertificateBuilder().Wrapped(), WHEN_VALID);
    frame->Show();
    ASSERT_TRUE(RunUntil([=] { return widgets::IsUp(*frame); }));
    RunFor(30);
    RunUntil([=] { return widgets::CutTexts(*frame).empty(); }, 2000);
    EXPECT_THAT(widgets::CutTexts(*frame), IsEmpty());
    delete frame; // at once, and not when the toolkit is idle
}
