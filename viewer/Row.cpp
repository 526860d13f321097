// SPDX-License-Identifier: MIT
#include "viewer/Row.h"

#include <algorithm>
#include <utility>

#include "viewer/VisibleText.h"

namespace viewer {

namespace {

constexpr char DIGITS[] = "0123456789ABCDEF";

} // namespace

Row::Row(const wxString& label, const std::string& text, std::vector<unsigned char> bytes, bool isHeading)
    : m_Label(label), m_Text(text), m_Bytes(std::move(bytes)), m_IsHeading(isHeading) {}

Row Row::Heading(const wxString& label) {
    return Row(label, {}, {}, true);
}

Row Row::OfText(const wxString& label, const std::string& text) {
    return Row(label, text, {}, false);
}

Row Row::OfBytes(const wxString& label, std::vector<unsigned char> bytes) {
    return Row(label, {}, std::move(bytes), false);
}

std::string Row::Value(std::size_t limit) const {
    return WrappedValue(m_Bytes.size(), {}, limit);
}

std::string Row::WrappedValue(std::size_t bytesInALine, const std::string& indentation,
                              std::size_t limit) const {
    if (m_Bytes.empty()) {
        return CutText(m_Text, limit);
    }
    constexpr std::size_t CHARACTERS_OF_A_BYTE = 3;
    const std::size_t count = std::min(m_Bytes.size(), limit / CHARACTERS_OF_A_BYTE + 1);
    std::string text;
    text.reserve(count * (CHARACTERS_OF_A_BYTE + (indentation.size() + 1) / bytesInALine + 1));
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0) {
            text += ':';
        }
        if (i != 0 && i % bytesInALine == 0) {
            text += '\n';
            text += indentation;
        }
        text += DIGITS[m_Bytes[i] >> 4];
        text += DIGITS[m_Bytes[i] & 0xf];
    }
    return count < m_Bytes.size() ? text + CutText(":", 0) : text;
}

} // namespace viewer
