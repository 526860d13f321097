// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_BASE64TABLES_H
#define ORSEL_FOUNDATION_BASE64TABLES_H

#include <cstddef>
#include <cstdint>
#include <utility>

/// The alphabets of base64 and, made from them, the way back from a character to its position.
namespace Velmor {

/// 65 characters: the alphabet, then the padding character; a blank there means that nothing pads.
using Base64IndexTable = char[66];

inline constexpr Base64IndexTable IndexTable_BASE64_DEFAULT =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
inline constexpr Base64IndexTable IndexTable_BASE64_URL =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_=";
inline constexpr Base64IndexTable IndexTable_BASE64_YUI =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
inline constexpr Base64IndexTable IndexTable_BASE64_FREENET =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789~-=";
inline constexpr Base64IndexTable IndexTable_BASE64_XML_NAME_TOKEN =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.- ";
inline constexpr Base64IndexTable IndexTable_BASE64_XML_IDENTIFIER =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_: ";
inline constexpr Base64IndexTable IndexTable_BASE64_PROGRAM_IDENTIFIER_V1 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_- ";
inline constexpr Base64IndexTable IndexTable_BASE64_PROGRAM_IDENTIFIER_V2 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._ ";
inline constexpr Base64IndexTable IndexTable_BASE64_REGEX =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!- ";

/// What a reverse table holds for a character outside the alphabet, and for the padding character.
inline constexpr std::uint16_t BASE64_NO_MEMBER = 255;
inline constexpr std::uint16_t BASE64_PADDING = 64;

/// 128 values, one for each ASCII character.
using Base64ReverseTable = std::uint16_t[128];

constexpr std::uint16_t Base64ValueOf(const Base64IndexTable& indexTable, char c) {
    for (std::uint16_t value = 0; value < BASE64_PADDING; ++value) {
        if (indexTable[value] == c) {
            return value;
        }
    }
    return c == indexTable[BASE64_PADDING] && c != ' ' ? BASE64_PADDING : BASE64_NO_MEMBER;
}

/// Makes the reverse table of an alphabet at compile time.
template <const Base64IndexTable& IndexTable, typename Characters = std::make_index_sequence<128>>
struct Base64Reversal;

template <const Base64IndexTable& IndexTable, std::size_t... Characters>
struct Base64Reversal<IndexTable, std::index_sequence<Characters...>> {
    static constexpr Base64ReverseTable TABLE = {Base64ValueOf(IndexTable, static_cast<char>(Characters))...};
};

inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_DEFAULT =
    Base64Reversal<IndexTable_BASE64_DEFAULT>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_URL =
    Base64Reversal<IndexTable_BASE64_URL>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_YUI =
    Base64Reversal<IndexTable_BASE64_YUI>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_FREENET =
    Base64Reversal<IndexTable_BASE64_FREENET>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_XML_NAME_TOKEN =
    Base64Reversal<IndexTable_BASE64_XML_NAME_TOKEN>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_XML_IDENTIFIER =
    Base64Reversal<IndexTable_BASE64_XML_IDENTIFIER>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_PROGRAM_IDENTIFIER_V1 =
    Base64Reversal<IndexTable_BASE64_PROGRAM_IDENTIFIER_V1>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_PROGRAM_IDENTIFIER_V2 =
    Base64Reversal<IndexTable_BASE64_PROGRAM_IDENTIFIER_V2>::TABLE;
inline constexpr const Base64ReverseTable& REVERSE_INDEX_TABLE_BASE64_REGEX =
    Base64Reversal<IndexTable_BASE64_REGEX>::TABLE;

} // namespace Velmor

#endif
