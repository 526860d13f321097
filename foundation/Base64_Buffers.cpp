// SPDX-License-Identifier: MIT
// The older, buffer-based pair, which computes the alphabet instead of looking it up.
#include "foundation/Base64.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

namespace Velmor {

namespace {

constexpr char LINE_END[] = {'\r', '\n'};

unsigned int BlocksALine(unsigned int lineMode) {
    return lineMode == 1 ? 16 : 19;
}

/// `count` is the number of bytes in `in`, 1 to 3. Writes four characters.
void EncodeBlock(const char* in, std::size_t count, char* out) {
    unsigned char bytes[3] = {};
    std::memcpy(bytes, in, count);
    constexpr int PADDING = 64;
    out[0] = _indexToChar(bytes[0] >> 2);
    out[1] = _indexToChar(((bytes[0] & 0x03) << 4) | (bytes[1] >> 4));
    out[2] = _indexToChar(count > 1 ? ((bytes[1] & 0x0F) << 2) | (bytes[2] >> 6) : PADDING);
    out[3] = _indexToChar(count > 2 ? bytes[2] & 0x3F : PADDING);
}

/// Writes one to three bytes and returns their number.
int _decodeBlock(const char* in, char* out) {
    const int size = 3 - (in[2] == '=' ? 1 : 0) - (in[3] == '=' ? 1 : 0);
    const int values[] = {_charToIndex(in[0]), _charToIndex(in[1]), _charToIndex(in[2]), _charToIndex(in[3])};
    const char bytes[] = {static_cast<char>((values[0] << 2) | (values[1] >> 4)),
                          static_cast<char>((values[1] << 4) | (values[2] >> 2)),
                          static_cast<char>((values[2] << 6) | values[3])};
    std::copy(bytes, bytes + size, out);
    return size;
}

/// The blocks of a line divide the characters here, not the blocks, so the bound is generous: callers size
/// their buffers by it.
int EncodedSizeBound(unsigned int len, unsigned int lineMode) {
    const unsigned int characters = 4 * ((len + 2) / 3);
    return static_cast<int>(lineMode == 0 ? characters
                                          : characters + 2 * (characters / BlocksALine(lineMode)));
}

} // namespace

int _charToIndex(char c) {
    const unsigned char character = static_cast<unsigned char>(c);
    if (std::isupper(character) != 0) {
        return character - 65;
    }
    if (std::islower(character) != 0) {
        return character - 71;
    }
    if (std::isdigit(character) != 0) {
        return character + 4;
    }
    return c == '+' ? 62 : c == '/' ? 63 : 61;
}

char _indexToChar(int index) {
    if (index < 26) {
        return static_cast<char>(index + 65);
    }
    if (index < 52) {
        return static_cast<char>(index + 71);
    }
    if (index < 62) {
        return static_cast<char>(index - 4);
    }
    return index == 62 ? '+' : index == 63 ? '/' : '=';
}

int b64encode(const char* in, unsigned int len, char* out, unsigned int outLen, unsigned int lineMode) {
    if (outLen == 0) {
        return EncodedSizeBound(len, lineMode);
    }
    char* position = out;
    unsigned int blocks = 0;
    for (std::size_t done = 0; done < len; done += 3) {
        EncodeBlock(in + done, std::min<std::size_t>(len - done, 3), position);
        position += 4;
        if (lineMode != 0 && ++blocks % BlocksALine(lineMode) == 0) {
            position = std::copy(std::begin(LINE_END), std::end(LINE_END), position);
        }
    }
    return static_cast<int>(position - out);
}

int b64decode(const char* in, unsigned int len, char* out, unsigned int outLen) {
    if (outLen == 0) {
        return static_cast<int>(std::ceil(len / 4.0) * 3);
    }
    char block[4] = {}; // not cleared between groups: a short last one keeps characters of the group before
    char* position = out;
    for (std::size_t done = 0; done < len; done += 4) {
        std::memcpy(block, in + done, std::min<std::size_t>(len - done, 4));
        position += _decodeBlock(block, position);
    }
    return static_cast<int>(position - out);
}

} // namespace Velmor
