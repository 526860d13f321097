// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_BASE64TABLES_H
#define ORSEL_FOUNDATION_BASE64TABLES_H

#include <cstdint>

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

/// What a function can give back of such a table.
struct Base64Reversal {
    Base64ReverseTable m_Table = {};
};

constexpr Base64Reversal Base64ReversalOf(const Base64IndexTable& indexTable) {
    Base64Reversal reversal;
    for (std::uint16_t& value : reversal.m_Table) {
        value = BASE64_NO_MEMBER;
    }
    for (std::uint16_t value = 0; value <= BASE64_PADDING; ++value) {
        if (indexTable[value] != ' ') {
            reversal.m_Table[static_cast<unsigned char>(indexTable[value])] = value;
        }
    }
    return reversal;
}

/// The one copy of each, which the names below and the codec share.
template <const Base64IndexTable& IndexTable>
inline constexpr Base64Reversal BASE64_REVERSE_OF = Base64ReversalOf(IndexTable);

inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_DEFAULT =
    BASE64_REVERSE_OF<IndexTable_BASE64_DEFAULT>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_URL =
    BASE64_REVERSE_OF<IndexTable_BASE64_URL>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_YUI =
    BASE64_REVERSE_OF<IndexTable_BASE64_YUI>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_FREENET =
    BASE64_REVERSE_OF<IndexTable_BASE64_FREENET>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_XML_NAME_TOKEN =
    BASE64_REVERSE_OF<IndexTable_BASE64_XML_NAME_TOKEN>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_XML_IDENTIFIER =
    BASE64_REVERSE_OF<IndexTable_BASE64_XML_IDENTIFIER>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_PROGRAM_IDENTIFIER_V1 =
    BASE64_REVERSE_OF<IndexTable_BASE64_PROGRAM_IDENTIFIER_V1>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_PROGRAM_IDENTIFIER_V2 =
    BASE64_REVERSE_OF<IndexTable_BASE64_PROGRAM_IDENTIFIER_V2>.m_Table;
inline constexpr const Base64ReverseTable& ReverseIndexTable_BASE64_REGEX =
    BASE64_REVERSE_OF<IndexTable_BASE64_REGEX>.m_Table;

} // namespace Velmor

#endif
