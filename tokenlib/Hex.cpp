// SPDX-License-Identifier: MIT
#include "tokenlib/Hex.h"

namespace tokenlib {

namespace {

int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return -1;
}

} // namespace

std::string ToHex(const Bytes& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

std::optional<Bytes> FromHex(std::string_view text) {
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    Bytes bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = DigitValue(text[i]);
        const int low = DigitValue(text[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<unsigned char>(high << 4 | low));
    }
    return bytes;
}

Bytes BytesOf(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

std::string TextOf(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

} // namespace tokenlib
