// SPDX-License-Identifier: MIT
#include "tests/foundation/Base64Rule.h"

using Bytes = std::vector<unsigned char>;

const std::string COMMON_CHARACTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

std::string EncodedByTheRule(const TypeRow& row, int lineLength, const Bytes& data) {
    const std::string alphabet = COMMON_CHARACTERS + row.end;
    std::string text;
    std::size_t columns = 0;
    for (std::size_t at = 0; at < data.size(); at += 3) {
        unsigned long bits = 0;
        for (std::size_t index = at; index < at + 3; ++index) {
            bits = bits << 8 | (index < data.size() ? data[index] : 0UL);
        }
        const std::size_t missing = at + 3 > data.size() ? at + 3 - data.size() : 0;
        for (std::size_t place = 0; place < 4; ++place) {
            text += alphabet[place >= 4 - missing ? 64 : bits >> (18 - 6 * place) & 0x3F];
        }
        columns += 4;
        const auto length = static_cast<std::size_t>(lineLength);
        if (lineLength != 0 && columns == length) {
            text += row.m_LineEnd;
            columns = 0;
        } else if (lineLength != 0 && columns > length) {
            columns -= length;
            text.insert(text.size() - columns, row.m_LineEnd);
        }
    }
    while (!row.m_Padding && !text.empty() &&
           (text.back() == alphabet[64] || row.m_LineEnd.find(text.back()) != std::string::npos)) {
        text.pop_back();
    }
    return text;
}

Bytes DecodedByTheRule(const TypeRow& row, const std::string& text) {
    const std::string alphabet = (COMMON_CHARACTERS + row.end).substr(0, row.m_Pads ? 65 : 64);
    Bytes bytes;
    std::vector<unsigned int> block;
    for (const char c : text) {
        const std::size_t position = alphabet.find(c);
        const bool known = position != std::string::npos;
        if (row.m_LineEnd.find(c) != std::string::npos || (known && position == 64 && row.m_Padding)) {
            continue;
        }
        if (row.m_Strict && (!known || position == 64)) {
            return {};
        }
        if (known && position == 64) {
            continue;
        }
        block.push_back(known ? static_cast<unsigned int>(position) : 255U);
        if (block.size() == 4) {
            bytes.push_back(static_cast<unsigned char>(block[0] << 2 | block[1] >> 4));
            bytes.push_back(static_cast<unsigned char>(block[1] << 4 | block[2] >> 2));
            bytes.push_back(static_cast<unsigned char>(block[2] << 6 | block[3]));
            block.clear();
        }
    }
    if (block.size() == 1) {
        bytes.push_back(static_cast<unsigned char>(block[0] << 2));
    }
    if (block.size() >= 2) {
        bytes.push_back(static_cast<unsigned char>(block[0] << 2 | block[1] >> 4));
    }
    if (block.size() == 3) {
        bytes.push_back(static_cast<unsigned char>(block[1] << 4 | block[2] >> 2));
    }
    return bytes;
}
