// SPDX-License-Identifier: MIT
// The certificate window can be read on every theme: measured on the picture of it.
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/GuiTest.h"
#include "tests/support/Themes.h"
#include "viewer/CertificateFrame.h"

namespace {

class ProbedFrame : public CertificateFrame {
public:
    using CertificateFrame::CertificateFrame;
    using CertificateFrame::label_holder;
    using CertificateFrame::label_note;
    using CertificateFrame::label_state;
    using CertificateFrame::text_value;
};

using TheCertificateWindowOnATheme = testing::TestWithParam<themes::Theme>;

INSTANTIATE_TEST_SUITE_P(Themes, TheCertificateWindowOnATheme, testing::ValuesIn(themes::ALL),
                         [](const auto& row) { return std::string(row.param.m_Name); });

} // namespace

TEST_P(TheCertificateWindowOnATheme, CanBeRead) {
    constexpr std::time_t WHEN_VALID = 1751371200; // 2025-07-01 12:00:00 UTC
    themes::Use(GetParam());
    auto* frame = new ProbedFrame(nullptr, CertificateBuilder().Wrapped(), WHEN_VALID);
    frame->Show();
    themes::ExpectReadable(*frame->label_holder, GetParam());
    themes::ExpectReadable(*frame->label_state, GetParam());
    themes::ExpectReadable(*frame->label_note, GetParam());
    themes::ExpectReadable(*frame->text_value, GetParam());
    themes::Keep(*frame, "viewer", GetParam());
    delete frame; // at once, and not when the toolkit is idle
}
