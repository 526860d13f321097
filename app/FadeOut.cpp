// SPDX-License-Identifier: MIT
#include "app/FadeOut.h"

#include <cstdlib>

void FadeOut::Init(wxColour from, wxColour to, wxImage image, int steps) {
    m_from = from;
    m_to = to;
    m_image = image;
    m_steps = steps;
    m_step = 0;
    if (m_image.IsOk() && !m_image.HasAlpha()) {
        m_image.InitAlpha();
    }
}

void FadeOut::NextStep() {
    if (m_step < m_steps) {
        ++m_step;
    }
}

bool FadeOut::Finished() const {
    return m_step >= m_steps;
}

float FadeOut::GetModifier() const {
    return static_cast<float>(m_step) / static_cast<float>(m_steps);
}

static unsigned char ScaledDifference(unsigned char to, unsigned char from, float modifier) {
    const unsigned char difference = static_cast<unsigned char>(std::abs(to - from));
    return static_cast<unsigned char>(static_cast<unsigned int>(static_cast<float>(difference) * modifier));
}

wxColour FadeOut::GetColour() {
    const float modifier = GetModifier();
    return wxColour(ScaledDifference(m_to.Red(), m_from.Red(), modifier),
                    ScaledDifference(m_to.Green(), m_from.Green(), modifier),
                    ScaledDifference(m_to.Blue(), m_from.Blue(), modifier), wxALPHA_OPAQUE);
}

wxImage FadeOut::GetImage() {
    if (!m_image.IsOk()) {
        return m_image;
    }
    const float opacity = 1.0F - GetModifier();
    const auto visible = static_cast<unsigned char>(static_cast<unsigned int>(opacity * 255.0F));
    const size_t pixels = static_cast<size_t>(m_image.GetWidth()) * static_cast<size_t>(m_image.GetHeight());
    // wxImage frees the plane that it takes over.
    auto* alpha = static_cast<unsigned char*>(std::malloc(pixels));
    if (alpha == nullptr) {
        return m_image;
    }
    const unsigned char* original = m_image.GetAlpha();
    for (size_t i = 0; i < pixels; ++i) {
        alpha[i] = original[i] == 0 ? 0 : visible;
    }
    wxImage result = m_image.Copy();
    result.SetAlpha(alpha);
    return result;
}
