// SPDX-License-Identifier: MIT
#include "foundation/Base64.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "foundation/Base64BlockTables.h"

namespace Velmor {

namespace {

constexpr std::size_t BYTES_A_BLOCK = 3;
constexpr std::size_t CHARACTERS_A_BLOCK = 4;

struct Alphabet {
    const char* m_IndexTable;
    const std::uint16_t* m_ReverseTable;
};

template <const Base64IndexTable& IndexTable>
constexpr Alphabet ALPHABET_OF = {IndexTable, BASE64_REVERSE_OF<IndexTable>.m_Table};

/// One row of the settings that a type stands for.
struct TypeDefaults {
    Alphabet m_Alphabet;
    std::int32_t m_LineLength;
    bool m_Padding;
    bool m_Strict;
    const char* m_LineEnd;
};

constexpr TypeDefaults DEFAULTS_BY_TYPE[] = {
    {ALPHABET_OF<IndexTable_BASE64_DEFAULT>, 64, true, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_DEFAULT>, 76, true, false, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_DEFAULT>, 0, true, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_DEFAULT>, 0, false, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_URL>, 0, true, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_URL>, 0, false, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_YUI>, 0, true, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_XML_NAME_TOKEN>, 0, false, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_XML_IDENTIFIER>, 0, false, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_PROGRAM_IDENTIFIER_V1>, 0, false, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_PROGRAM_IDENTIFIER_V2>, 0, false, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_REGEX>, 0, false, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_FREENET>, 0, true, true, "\r\n"},
    {ALPHABET_OF<IndexTable_BASE64_URL>, 0, false, true, ""},
};

const TypeDefaults& DefaultsOf(eBase64Type type) {
    const bool known = type >= 0 && type <= BASE64_URL_NO_LINE_END;
    return DEFAULTS_BY_TYPE[known ? type : BASE64_STANDARD];
}

std::size_t BlocksOf(std::size_t size, std::size_t blockSize) {
    return (size + blockSize - 1) / blockSize;
}

/// Writes four characters for one to three bytes.
void EncodeBlock(const char* indexTable, const unsigned char* in, std::size_t count, char* out) {
    const unsigned int second = count > 1 ? in[1] : 0;
    const unsigned int third = count > 2 ? in[2] : 0;
    out[0] = indexTable[in[0] >> 2];
    out[1] = indexTable[((in[0] & 0x03) << 4) | (second >> 4)];
    out[2] = indexTable[count > 1 ? ((second & 0x0F) << 2) | (third >> 6) : BASE64_PADDING];
    out[3] = indexTable[count > 2 ? third & 0x3F : BASE64_PADDING];
}

/// Encodes as long as three bytes are left; moves both pointers.
void EncodeWholeBlocks(const unsigned char*& in, const unsigned char* end, char*& out) {
    for (; end - in >= 3; in += BYTES_A_BLOCK, out += CHARACTERS_A_BLOCK) {
        const unsigned int bits = (static_cast<unsigned int>(in[0]) << 16) | (in[1] << 8) | in[2];
        std::memcpy(out, BASE64_BLOCK_TABLES.m_Pairs[bits >> 12], 2);
        std::memcpy(out + 2, BASE64_BLOCK_TABLES.m_Pairs[bits & 0xFFF], 2);
    }
}

/// Decodes as long as four members of the alphabet follow each other; moves both pointers.
void DecodeWholeBlocks(const unsigned char*& in, const unsigned char* end, unsigned char*& out) {
    for (; end - in >= 4; in += CHARACTERS_A_BLOCK, out += BYTES_A_BLOCK) {
        const auto& places = BASE64_BLOCK_TABLES.m_Places;
        const std::uint32_t bits = places[0][in[0]] | places[1][in[1]] | places[2][in[2]] | places[3][in[3]];
        if ((bits & Base64BlockTables::NO_MEMBER) != 0) {
            return;
        }
        out[0] = static_cast<unsigned char>(bits >> 16);
        out[1] = static_cast<unsigned char>(bits >> 8);
        out[2] = static_cast<unsigned char>(bits);
    }
}

/// Four values give three bytes, three give two, two give one, and a single one gives a byte of its own.
/// Values above 63 come from lenient decoding and enter the shifts as they are.
void DecodeBlock(const std::uint16_t* values, std::size_t count, unsigned char*& out) {
    if (count == 1) {
        *out++ = static_cast<unsigned char>(values[0] << 2);
        return;
    }
    for (std::size_t index = 1; index < count; ++index) {
        *out++ = static_cast<unsigned char>((values[index - 1] << (2 * index)) |
                                            (values[index] >> (6 - 2 * index)));
    }
}

} // namespace

Base64::Base64() {
    Init(BASE64_STANDARD);
}

void Base64::Init(eBase64Type type) {
    m_Type = type;
    ResetParametersToEncodingTypeDefaults();
}

void Base64::SetEncodingType(eBase64Type type) {
    Init(type);
}

eBase64Type Base64::GetEncodingType() const {
    return m_Type;
}

void Base64::ResetParametersToEncodingTypeDefaults() {
    const TypeDefaults& defaults = DefaultsOf(m_Type);
    m_Strict = defaults.m_Strict;
    m_Padding = defaults.m_Padding;
    m_LineEnd = defaults.m_LineEnd;
    m_LineLength = defaults.m_LineLength;
    m_IndexTable = defaults.m_Alphabet.m_IndexTable;
    m_ReverseTable = defaults.m_Alphabet.m_ReverseTable;
}

void Base64::SetLineLength(std::int32_t length) {
    m_LineLength = length;
}

std::string Base64::Encode(std::vector<unsigned char> data) const {
    return EncodeBytes(data.data(), data.size());
}

std::string Base64::EncodeBytes(const unsigned char* data, std::size_t size) const {
    std::string text(BlocksOf(size, BYTES_A_BLOCK) * CHARACTERS_A_BLOCK, '\0');
    char* out = text.data();
    const unsigned char* const end = data + size;
    if (HasBlockTables()) {
        EncodeWholeBlocks(data, end, out);
    }
    for (std::size_t count = 0; data != end; data += count, out += CHARACTERS_A_BLOCK) {
        count = std::min(static_cast<std::size_t>(end - data), BYTES_A_BLOCK);
        EncodeBlock(m_IndexTable, data, count, out);
    }
    if (m_LineLength > 0) {
        text = BreakLines(text);
    }
    if (!m_Padding) {
        text.erase(text.find_last_not_of(m_LineEnd + m_IndexTable[BASE64_PADDING]) + 1);
    }
    return text;
}

std::string Base64::BreakLines(const std::string& text) const {
    const auto length = static_cast<std::size_t>(m_LineLength);
    const std::size_t fullLines = text.size() / length;
    std::string lines;
    lines.reserve(text.size() + fullLines * m_LineEnd.size());
    for (std::size_t line = 0; line < fullLines; ++line) {
        lines.append(text, line * length, length);
        lines += m_LineEnd;
    }
    return lines.append(text, fullLines * length, length);
}

std::vector<unsigned char> Base64::Decode(std::string text) const {
    return DecodeText(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

std::vector<unsigned char> Base64::DecodeText(const unsigned char* text, std::size_t size) const {
    std::vector<unsigned char> bytes(BlocksOf(size, CHARACTERS_A_BLOCK) * BYTES_A_BLOCK);
    unsigned char* out = bytes.data();
    const unsigned char* const end = text + size;
    std::array<std::uint16_t, CHARACTERS_A_BLOCK> block = {};
    std::size_t count = 0;
    while (true) {
        if (count == 0 && HasBlockTables()) {
            DecodeWholeBlocks(text, end, out);
        }
        if (text == end) {
            break;
        }
        const std::uint16_t value = ValueOf(*text++);
        if (value == FAILS) {
            return {};
        }
        if (value == IS_SKIPPED) {
            continue;
        }
        block[count++] = value;
        if (count == CHARACTERS_A_BLOCK) {
            DecodeBlock(block.data(), count, out);
            count = 0;
        }
    }
    DecodeBlock(block.data(), count, out);
    bytes.resize(static_cast<std::size_t>(out - bytes.data()));
    return bytes;
}

bool Base64::HasBlockTables() const {
    return m_IndexTable == IndexTable_BASE64_DEFAULT;
}

std::uint16_t Base64::ValueOf(unsigned char c) const {
    if (m_LineEnd.find(static_cast<char>(c)) != std::string::npos) {
        return IS_SKIPPED;
    }
    const std::uint16_t value = c < 128 ? m_ReverseTable[c] : BASE64_NO_MEMBER;
    if (value == BASE64_PADDING && (m_Padding || !m_Strict)) {
        return IS_SKIPPED;
    }
    return value >= BASE64_PADDING && m_Strict ? FAILS : value;
}

unsigned long b64encode(const std::vector<unsigned char>& in, std::string& out, unsigned int lineMode) {
    Base64 codec;
    codec.SetLineLength(lineMode == 1 ? 64 : lineMode == 2 ? 76 : 0);
    out = codec.EncodeBytes(in.data(), in.size());
    return out.size();
}

unsigned long b64encode(const std::vector<unsigned char>& in, std::vector<unsigned char>& out,
                        unsigned int lineMode) {
    std::string text;
    b64encode(in, text, lineMode);
    out.assign(text.begin(), text.end());
    return out.size();
}

unsigned long b64decode(const std::string& in, std::vector<unsigned char>& out) {
    out = Base64().DecodeText(reinterpret_cast<const unsigned char*>(in.data()), in.size());
    return out.size();
}

unsigned long b64decode(const std::vector<unsigned char>& in, std::vector<unsigned char>& out) {
    out = Base64().DecodeText(in.data(), in.size());
    return out.size();
}

} // namespace Velmor
