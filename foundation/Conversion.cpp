// SPDX-License-Identifier: MIT
#include "foundation/Conversion.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Velmor {

namespace {

/// The size protocol that the buffer forms share.
template <typename Container>
unsigned long CopyToBuffer(const Container& result, unsigned char* out, unsigned long& outLen) {
    const unsigned long size = result.size();
    if (out == nullptr || outLen == 0) {
        return size;
    }
    if (outLen < size) {
        return static_cast<unsigned long>(-1);
    }
    std::copy(result.begin(), result.end(), out);
    outLen = size;
    return size;
}

/// One byte of a UTF-8 sequence: `prefix`, then `count` binary digits whose lowest has the value 2^`lowest`.
char Utf8Byte(const std::string& prefix, const std::string& bits, std::size_t lowest, std::size_t count) {
    std::string digits = prefix + bits.substr(bits.size() - lowest - count, count);
    return static_cast<char>(bin2dec(digits.data()));
}

} // namespace

unsigned long HexStr2BinData(std::string hex, std::vector<unsigned char>& out) {
    for (std::size_t position = 0; position < hex.size(); position += 2) {
        char pair[] = {hex.at(position), hex.at(position + 1), '\0'};
        out.push_back(static_cast<unsigned char>(hex2int(pair)));
    }
    return out.size();
}

unsigned long HexStr2BinData(char* hex, unsigned long len, unsigned char* out, unsigned long& outLen) {
    std::vector<unsigned char> bytes;
    HexStr2BinData(std::string(hex, len), bytes);
    return CopyToBuffer(bytes, out, outLen);
}

unsigned long HexStr2BinData(char* hex, unsigned char* out, unsigned long& outLen) {
    return HexStr2BinData(hex, std::strlen(hex), out, outLen);
}

unsigned long BinData2HexStr(std::vector<unsigned char> data, std::string& hex) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    hex.clear();
    hex.reserve(2 * data.size());
    for (const unsigned char byte : data) {
        hex += DIGITS[byte >> 4];
        hex += DIGITS[byte & 0x0F];
    }
    return hex.size();
}

unsigned long BinData2HexStr(unsigned char* data, int len, unsigned char* out, unsigned long& outLen) {
    std::string hex;
    BinData2HexStr(std::vector<unsigned char>(data, data + std::max(len, 0)), hex);
    return CopyToBuffer(hex, out, outLen);
}

long hex2int(char* text) {
    return std::strtol(text, nullptr, 16);
}

std::string int2bin(unsigned int value) {
    std::string digits;
    for (; value != 0; value >>= 1) {
        digits += (value & 1) != 0 ? '1' : '0';
    }
    std::reverse(digits.begin(), digits.end());
    return digits;
}

unsigned int bin2int(std::string digits) {
    constexpr std::size_t WIDTH = 32;
    const std::size_t first = digits.size() > WIDTH ? digits.size() - WIDTH : 0; // the rest is 0 modulo 2^32
    unsigned int sum = 0;
    for (std::size_t index = first; index < digits.size(); ++index) {
        const char digit[] = {digits[index], '\0'};
        const double product = std::ldexp(static_cast<double>(std::strtol(digit, nullptr, 10)),
                                          static_cast<int>(digits.size() - 1 - index));
        sum += static_cast<unsigned int>(static_cast<std::uint64_t>(product));
    }
    return sum;
}

int bin2dec(char* digits) {
    unsigned int sum = 0;
    for (; *digits != '\0'; ++digits) {
        if (*digits != '0' && *digits != '1') {
            return -1;
        }
        sum = 2 * sum + (*digits == '1' ? 1 : 0);
    }
    return static_cast<int>(sum);
}

std::string int2str(int code) {
    std::string text;
    const std::string bits = std::string(45, '0') + int2bin(static_cast<unsigned int>(code));
    if (code > 0xFFFF) {
        text = {Utf8Byte("11110", bits, 18, 3), Utf8Byte("10", bits, 12, 6), Utf8Byte("10", bits, 6, 6),
                Utf8Byte("10", bits, 0, 6)};
    } else if (code > 0x7FF) {
        text = {Utf8Byte("1110", bits, 12, 4), Utf8Byte("10", bits, 6, 6), Utf8Byte("10", bits, 0, 6)};
    } else if (code > 0x7F) {
        text = {Utf8Byte("110", bits, 6, 5), Utf8Byte("10", bits, 0, 6)};
    } else {
        text = {static_cast<char>(code & 0xFF)};
    }
    return text.c_str(); // a zero character ends the text, so code 0 is the empty one
}

void ReverseBytes(unsigned char* data, int len) {
    if (len >= 2) {
        std::reverse(data, data + len);
    }
}

unsigned long SwitchEndian(unsigned long value) {
    return ((value & 0x000000FFUL) << 24) | ((value & 0x0000FF00UL) << 8) | ((value & 0x00FF0000UL) >> 8) |
           ((value & 0xFF000000UL) >> 24);
}

} // namespace Velmor
