// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_BASE64BLOCKTABLES_H
#define ORSEL_FOUNDATION_BASE64BLOCKTABLES_H

#include <cstddef>
#include <cstdint>

#include "foundation/Base64Tables.h"

namespace Velmor {

/// The default alphabet laid out for speed: whole blocks of three bytes and four characters take two look-ups
/// one way and four the other. Made at compile time from the index table and the reverse table.
struct Base64BlockTables {
    static constexpr std::uint32_t NO_MEMBER = 0x80000000;

    char m_Pairs[4096][2] = {}; ///< the two characters of 12 bits
    std::uint32_t m_Places[4][256] =
        {}; ///< the share of a character in the 24 bits, by its place in the block
};

constexpr Base64BlockTables MakeBase64BlockTables() {
    Base64BlockTables tables;
    for (std::size_t bits = 0; bits < 4096; ++bits) {
        tables.m_Pairs[bits][0] = IndexTable_BASE64_DEFAULT[bits >> 6];
        tables.m_Pairs[bits][1] = IndexTable_BASE64_DEFAULT[bits & 0x3F];
    }
    for (std::size_t place = 0; place < 4; ++place) {
        for (std::size_t character = 0; character < 256; ++character) {
            const std::uint32_t value =
                character < 128 ? ReverseIndexTable_BASE64_DEFAULT[character] : BASE64_NO_MEMBER;
            tables.m_Places[place][character] =
                value < BASE64_PADDING ? value << (18 - 6 * place) : Base64BlockTables::NO_MEMBER;
        }
    }
    return tables;
}

inline constexpr Base64BlockTables BASE64_BLOCK_TABLES = MakeBase64BlockTables();

} // namespace Velmor

#endif
