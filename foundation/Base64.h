// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_BASE64_H
#define ORSEL_FOUNDATION_BASE64_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Base64Tables.h"

namespace Velmor {

/// Variants of base64. Any other number means the standard alphabet on one line.
enum eBase64Type : int {
    BASE64_PEM = 0,      ///< lines of 64 characters
    BASE64_MIME = 1,     ///< lines of 76 characters; the only one that decodes leniently
    BASE64_STANDARD = 2, ///< one line
    BASE64_STANDARD_UNPADDED = 3,
    BASE64_URL = 4,
    BASE64_URL_UNPADDED = 5,
    BASE64_YUI = 6,
    BASE64_XML_NAME_TOKEN = 7,
    BASE64_XML_IDENTIFIER = 8,
    BASE64_PROGRAM_IDENTIFIER_V1 = 9,
    BASE64_PROGRAM_IDENTIFIER_V2 = 10,
    BASE64_REGEX = 11,
    BASE64_FREENET = 12,
    BASE64_URL_NO_LINE_END = 13, ///< BASE64_URL_UNPADDED that takes no line end when decoding
};

/// Encoder and decoder for the variants of base64. An object is not to be shared between threads.
class Base64 {
public:
    /// Starts with BASE64_STANDARD.
    Base64();

    /// Both store the type and apply its defaults.
    void Init(eBase64Type type);
    void SetEncodingType(eBase64Type type);
    eBase64Type GetEncodingType() const;
    /// Line length, line end, padding, strictness and tables as the present type has them.
    void ResetParametersToEncodingTypeDefaults();

    /// Characters a line; 0 and below mean one line. The next change of the type resets it.
    void SetLineLength(std::int32_t length);

    /// A line that is filled exactly gets its line end, the last one too, unless the type drops its padding.
    std::string Encode(std::vector<unsigned char> data) const;
    /// Empty on failure, so failure looks like empty input. Padding in the middle of the text is skipped.
    /// A lenient type fails never: what is no member of the alphabet is decoded as garbage.
    std::vector<unsigned char> Decode(std::string text) const;

private:
    friend unsigned long b64encode(const std::vector<unsigned char>& in, std::string& out,
                                   unsigned int lineMode);
    friend unsigned long b64decode(const std::string& in, std::vector<unsigned char>& out);
    friend unsigned long b64decode(const std::vector<unsigned char>& in, std::vector<unsigned char>& out);

    /// What ValueOf() gives beside the values of the alphabet and, when lenient, Base64NoMember.
    static constexpr std::uint16_t IS_SKIPPED = 0x100;
    static constexpr std::uint16_t FAILS = 0x200;

    std::string EncodeBytes(const unsigned char* data, std::size_t size) const;
    std::string BreakLines(const std::string& text) const;
    std::vector<unsigned char> DecodeText(const unsigned char* text, std::size_t size) const;
    std::uint16_t ValueOf(unsigned char c) const;
    /// Whether the alphabet is the one that is laid out for speed as well.
    bool HasBlockTables() const;

    bool m_Strict = true;
    bool m_Padding = true;
    std::string m_LineEnd;
    std::int32_t m_LineLength = 0;
    eBase64Type m_Type = BASE64_STANDARD;
    const char* m_IndexTable = IndexTable_BASE64_DEFAULT;
    const std::uint16_t* m_ReverseTable = ReverseIndexTable_BASE64_DEFAULT;
};

/// Standard base64 with padding. Line ends of "\r\n" after 64 characters for `lineMode` 1, after 76 for 2,
/// none otherwise. Replace `out` and return its size.
unsigned long b64encode(const std::vector<unsigned char>& in, std::string& out, unsigned int lineMode);
unsigned long b64encode(const std::vector<unsigned char>& in, std::vector<unsigned char>& out,
                        unsigned int lineMode);

/// Standard base64, strict. Replace `out`, which is empty on failure, and return its size.
unsigned long b64decode(const std::string& in, std::vector<unsigned char>& out);
unsigned long b64decode(const std::vector<unsigned char>& in, std::vector<unsigned char>& out);

/// The older encoder. An `outLen` of 0 asks for the size, and the answer is an upper bound. Otherwise writes
/// the text without a terminating zero and returns its length: `outLen` is not checked against it.
/// Line ends as above, but after 76 characters for every `lineMode` other than 0 and 1.
int b64encode(const char* in, unsigned int len, char* out, unsigned int outLen, unsigned int lineMode);

/// The older decoder. An `outLen` of 0 asks for an upper bound of the size. Otherwise writes the bytes and
/// returns their number: `outLen` is not checked against it. The text must be one line of whole groups; bad
/// input is not detected, and a short last group is filled up with characters of the group before.
int b64decode(const char* in, unsigned int len, char* out, unsigned int outLen);

/// Position of a character in the standard alphabet, by computation; 61 for every character outside.
int _charToIndex(char c);
/// The inverse; "=" for 64 and above.
char _indexToChar(int index);

} // namespace Velmor

#endif
