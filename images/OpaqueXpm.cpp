// SPDX-License-Identifier: MIT
#include "images/OpaqueXpm.h"

#include <cstdlib>
#include <unordered_map>

namespace {

/// The characters of a key as one number; a key has at most four.
unsigned KeyNumber(const char* key, int length) {
    unsigned number = 0;
    for (int i = 0; i < length; ++i)
        number = number << 8 | static_cast<unsigned char>(key[i]);
    return number;
}

/// 0xRRGGBB by key.
std::unordered_map<unsigned, unsigned> ReadColours(const char* const* rows, int count, int keyLength) {
    constexpr int BEHIND_KEY = 4; // " c #"
    std::unordered_map<unsigned, unsigned> colours;
    colours.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto colour = std::strtoul(rows[i] + keyLength + BEHIND_KEY, nullptr, 16);
        colours.emplace(KeyNumber(rows[i], keyLength), static_cast<unsigned>(colour));
    }
    return colours;
}

} // namespace

wxImage ReadOpaqueXpm(const char* const* rows) {
    char* number = nullptr;
    const auto width = static_cast<int>(std::strtol(rows[0], &number, 10));
    const auto height = static_cast<int>(std::strtol(number, &number, 10));
    const auto count = static_cast<int>(std::strtol(number, &number, 10));
    const auto keyLength = static_cast<int>(std::strtol(number, nullptr, 10));
    const auto colours = ReadColours(rows + 1, count, keyLength);

    wxImage image(width, height, false);
    unsigned char* pixel = image.GetData();
    for (int y = 0; y < height; ++y) {
        const char* key = rows[1 + count + y];
        for (int x = 0; x < width; ++x, key += keyLength) {
            const unsigned colour = colours.at(KeyNumber(key, keyLength));
            *pixel++ = static_cast<unsigned char>(colour >> 16);
            *pixel++ = static_cast<unsigned char>(colour >> 8);
            *pixel++ = static_cast<unsigned char>(colour);
        }
    }
    return image;
}
