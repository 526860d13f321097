// SPDX-License-Identifier: MIT
// Base64 by its rule, without any table but the alphabet: what the codec is held against.
#ifndef ORSEL_TESTS_FOUNDATION_BASE64RULE_H
#define ORSEL_TESTS_FOUNDATION_BASE64RULE_H

#include <string>
#include <vector>

/// Characters 0 to 61 of every alphabet.
extern const std::string COMMON_CHARACTERS;

/// What each type stands for, written down a second time.
struct TypeRow {
    int m_Type;
    const char* end; ///< characters 62, 63 and the padding one
    bool m_Pads;     ///< the alphabet knows its padding character
    int m_LineLength;
    bool m_Padding;
    bool m_Strict;
    std::string m_LineEnd;
};

/// Lines are split by counting columns; a length of 0 makes one line.
std::string EncodedByTheRule(const TypeRow& row, int lineLength, const std::vector<unsigned char>& data);

/// Empty for text that a strict type refuses.
std::vector<unsigned char> DecodedByTheRule(const TypeRow& row, const std::string& text);

#endif
