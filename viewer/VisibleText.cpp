// SPDX-License-Identifier: MIT
#include "viewer/VisibleText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace viewer {

namespace {

struct Range {
    std::uint32_t m_First;
    std::uint32_t m_Last;
};

/// Controls, what changes directions, what has no width, and the line ends of Unicode. Ascending.
constexpr Range INVISIBLE[] = {
    {0x0000, 0x001f}, {0x007f, 0x009f}, {0x00ad, 0x00ad},   {0x034f, 0x034f},   {0x061c, 0x061c},
    {0x115f, 0x1160}, {0x17b4, 0x17b5}, {0x180b, 0x180f},   {0x200b, 0x200f},   {0x2028, 0x202e},
    {0x2060, 0x206f}, {0x3164, 0x3164}, {0xd800, 0xdfff},   {0xfe00, 0xfe0f},   {0xfeff, 0xfeff},
    {0xffa0, 0xffa0}, {0xfff0, 0xfffb}, {0x1d173, 0x1d17a}, {0xe0000, 0xe0fff},
};

constexpr char CUT[] = "…";

bool IsInvisible(std::uint32_t character) {
    const auto* range = std::lower_bound(
        std::begin(INVISIBLE), std::end(INVISIBLE), character,
        [](const Range& candidate, std::uint32_t value) { return candidate.m_Last < value; });
    return range != std::end(INVISIBLE) && range->m_First <= character;
}

bool IsContinuation(unsigned char byte) {
    return (byte & 0xc0) == 0x80;
}

struct Character {
    std::uint32_t m_Value = 0;
    std::size_t m_Size = 0; ///< in bytes; 0 for what is no UTF-8
};

/// How many bytes a character with this first byte has, and the least value that needs as many.
struct Form {
    std::size_t m_Size;
    std::uint32_t m_Least;
};

Form FormOf(unsigned char first) {
    if (first < 0x80) {
        return {1, 0};
    }
    if (first >= 0xc2 && first < 0xe0) {
        return {2, 0x80};
    }
    if ((first & 0xf0) == 0xe0) {
        return {3, 0x800};
    }
    return first >= 0xf0 && first < 0xf5 ? Form{4, 0x10000} : Form{0, 0};
}

/// The character at this place, by the strict rules of RFC 3629.
Character CharacterAt(const std::string& text, std::size_t place) {
    constexpr std::uint32_t HIGHEST = 0x10ffff;
    const auto first = static_cast<unsigned char>(text[place]);
    const Form form = FormOf(first);
    if (form.m_Size == 0 || place + form.m_Size > text.size()) {
        return {};
    }
    std::uint32_t value = form.m_Size == 1 ? first : first & (0x7fU >> form.m_Size);
    for (std::size_t i = 1; i < form.m_Size; ++i) {
        const auto byte = static_cast<unsigned char>(text[place + i]);
        if (!IsContinuation(byte)) {
            return {};
        }
        value = value << 6 | (byte & 0x3fU);
    }
    const bool isSurrogate = value >= 0xd800 && value <= 0xdfff;
    return value < form.m_Least || value > HIGHEST || isSurrogate ? Character{}
                                                                  : Character{value, form.m_Size};
}

std::string Named(const char* format, unsigned int value) {
    std::array<char, 32> name;
    std::snprintf(name.data(), name.size(), format, value);
    return name.data();
}

} // namespace

std::string VisibleText(const std::string& text) {
    std::string visible;
    visible.reserve(text.size());
    for (std::size_t place = 0; place < text.size();) {
        const Character character = CharacterAt(text, place);
        if (character.m_Size == 0) {
            visible += Named("<0x%02X>", static_cast<unsigned char>(text[place]));
            ++place;
            continue;
        }
        if (IsInvisible(character.m_Value)) {
            visible += Named("<U+%04X>", character.m_Value);
        } else {
            visible.append(text, place, character.m_Size);
        }
        place += character.m_Size;
    }
    return visible;
}

std::string CutText(const std::string& utf8, std::size_t limit) {
    if (utf8.size() <= limit) {
        return utf8;
    }
    std::size_t end = limit;
    while (end > 0 && IsContinuation(static_cast<unsigned char>(utf8[end]))) {
        --end;
    }
    return utf8.substr(0, end) + CUT;
}

wxString FromUtf8(const std::string& utf8) {
    return wxString::FromUTF8(utf8.data(), utf8.size());
}

std::string ToUtf8(const wxString& text) {
    const wxScopedCharBuffer bytes = text.utf8_str();
    return std::string(bytes.data(), bytes.length());
}

} // namespace viewer
