// SPDX-License-Identifier: MIT
#include "formats/asn1.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "formats/slCertificate.h" // the two headers must bear each other
#include "tests/formats/Bytes.h"

using Velmor::eASN1Type;

TEST(Asn1Length, IsReadInThreeForms) {
    const struct {
        Bytes m_Given;
        int m_Length;
        int m_Moved;
    } table[] = {
        {{0x00}, 0, 1},
        {{0x7f}, 127, 1},
        {{0x81, 0x80}, 128, 2},
        {{0x81, 0x05}, 5, 2},
        {{0x82, 0x01, 0x00}, 256, 3},
        {{0x82, 0xff, 0xfe}, 65534, 3},
        {{0x80}, 128, 1},
        {{0x83}, 131, 1},
        {{0x84}, 132, 1},
        {{0xff}, 255, 1},
    };
    for (const auto& row : table) {
        Bytes buffer = {0xee, 0xee};
        buffer.insert(buffer.end(), row.m_Given.begin(), row.m_Given.end());
        int pos = 2;
        EXPECT_EQ(row.m_Length, Velmor::getLen(buffer.data(), pos)) << testing::PrintToString(row.m_Given);
        EXPECT_EQ(2 + row.m_Moved, pos);
    }
}

TEST(Asn1Length, IsWholeIfAllItsBytesAreThere) {
    const struct {
        Bytes m_Given;
        int m_Pos;
        bool m_Length;
        bool m_Value;
    } table[] = {
        {{}, 0, false, false},
        {{0x00}, 0, true, true},
        {{0x00}, 1, false, false},
        {{0x00}, -1, false, false},
        {{0x02, 1}, 0, true, false},
        {{0x02, 1, 2}, 0, true, true},
        {{0xee, 0x02, 1, 2}, 1, true, true},
        {{0x81}, 0, false, false},
        {{0x81, 0x01}, 0, true, false},
        {{0x81, 0x01, 1}, 0, true, true},
        {{0x82, 0x00}, 0, false, false},
        {{0x82, 0x00, 0x01}, 0, true, false},
        {{0x82, 0x00, 0x01, 1}, 0, true, true},
        {{0x82, 0xff, 0xff, 1}, 0, true, false},
        {{0xff, 1}, 0, true, false},
    };
    for (const auto& row : table) {
        Bytes exact = row.m_Given; // no byte may be read behind it
        const int size = static_cast<int>(exact.size());
        EXPECT_EQ(row.m_Length, Velmor::HasWholeLength(exact.data(), row.m_Pos, size))
            << testing::PrintToString(row.m_Given);
        EXPECT_EQ(row.m_Value, Velmor::HasWholeValue(exact.data(), row.m_Pos, size))
            << testing::PrintToString(row.m_Given);
    }
}

TEST(RemoveLeadingNulls, MovesTheRestToTheFront) {
    const struct {
        Bytes m_Given;
        int m_Length;
        Bytes m_Left; ///< with what stays behind the new end
        int m_LeftLength;
    } table[] = {
        {{0, 0, 1}, 3, {1, 0, 1}, 1},       {{1, 0}, 2, {1, 0}, 2}, {{0, 0}, 2, {0, 0}, 0},
        {{0, 1, 0, 2}, 4, {1, 0, 2, 2}, 3}, {{0, 5}, 1, {0, 5}, 0}, {{0, 5}, 0, {0, 5}, 0},
        {{0, 5}, -1, {0, 5}, -1},
    };
    for (const auto& row : table) {
        Bytes buffer = row.m_Given;
        int length = row.m_Length;
        Velmor::RemoveLeadingNulls(buffer.data(), length);
        EXPECT_EQ(row.m_LeftLength, length);
        EXPECT_EQ(row.m_Left, buffer);
    }
}

TEST(Bin2DecStr, WritesDigitsAndTwoZeroBytes) {
    const struct {
        Bytes m_Given;
        std::string m_Digits;
    } table[] = {
        {{0x01, 0x00}, "256"},
        {{0x00}, "0"},
        {{0x00, 0x00, 0x00}, "0"},
        {{0x00, 0x07}, "7"},
        {{0x09}, "9"},
        {{0x0a}, "10"},
        {{0x63}, "99"},
        {{0x64}, "100"},
        {{0xff}, "255"},
        {{0xff, 0xff, 0xff, 0xff}, "4294967295"},
        {{0x0d, 0xe0, 0xb6, 0xb3, 0xa7, 0x64, 0x00, 0x00}, "1000000000000000000"},
    };
    for (const auto& row : table) {
        Bytes given = row.m_Given;
        Bytes out(row.m_Digits.size() + 3, 0xee);
        EXPECT_EQ(static_cast<int>(row.m_Digits.size()),
                  Velmor::bin2decStr(given.data(), static_cast<int>(given.size()), out.data()));
        EXPECT_EQ(row.m_Digits + std::string("\0\0\xee", 3), std::string(out.begin(), out.end()));
    }
}

TEST(Bin2DecStr, AgreesWithLibcryptoForEveryLength) {
    unsigned int state = 1;
    for (int size = 1; size <= 200; ++size) {
        Bytes given(size);
        for (unsigned char& byte : given) {
            state = state * 1103515245 + 12345;
            byte = static_cast<unsigned char>(state >> 16);
        }
        Bytes out(static_cast<std::size_t>(size) * 5 / 2 + 3);
        const int digits = Velmor::bin2decStr(given.data(), size, out.data());
        EXPECT_EQ(DecimalOf(given), std::string(out.begin(), out.begin() + digits));
    }
}

TEST(Bin2DecStr, RefusesNoBytes) {
    unsigned char byte = 1;
    unsigned char out = 0xee;
    EXPECT_EQ(-1, Velmor::bin2decStr(&byte, 0, &out));
    EXPECT_EQ(-1, Velmor::bin2decStr(nullptr, 1, &out));
    EXPECT_EQ(-1, Velmor::bin2decStr(&byte, -1, &out));
    EXPECT_EQ(0xee, out);
}

TEST(ReadBitString, CopiesWhatStandsBehindTheCountOfUnusedBits) {
    const struct {
        Bytes m_Given; ///< from the length on
        int m_Capacity;
        bool m_Result;
        Bytes m_Copied;
        int m_Size;
        int m_Pos;
    } table[] = {
        {{0x03, 0x00, 0xaa, 0xbb}, 256, true, {0xaa, 0xbb}, 2, 4},
        {{0x81, 0x03, 0x00, 0xaa, 0xbb}, 256, true, {0xaa, 0xbb}, 2, 5},
        {{0x01, 0x00}, 256, true, {}, 0, 2},
        {{0x03, 0x00, 0xaa, 0xbb}, 3, true, {0xaa, 0xbb}, 2, 4}, // the count takes part in the capacity
        {{0x03, 0x00, 0xaa, 0xbb}, 2, false, {}, 2, 4},          // too long: capacity as it was
        {{0x03, 0x04, 0xaa, 0xbb}, 256, false, {}, 2, 4},        // unused bits
        {{0x04, 0x81, 0x00, 0xaa, 0xbb}, 256, true, {0x00, 0xaa}, 2, 5}, // the count is read like a length
        {{0x04, 0x82, 0x00, 0x00, 0xbb}, 256, true, {0x00}, 1, 5},
        {{0x04, 0x81, 0x01, 0xaa, 0xbb}, 256, false, {}, 2, 5},
        {{0x00}, 256, false, {}, 0, 1},       // no count at all
        {{0x01, 0x81}, 256, false, {}, 0, 2}, // a count that is cut off
        {{0x01, 0x82}, 256, false, {}, 0, 2},
        {{0x02, 0x82, 0x00}, 256, false, {}, 0, 3},
        {{0x00}, 0, false, {}, 0, 1},
        {{0x00}, -1, false, {}, -1, 1},
    };
    for (const auto& row : table) {
        Bytes buffer = row.m_Given;
        Bytes out(4, 0xee);
        int pos = 0;
        int size = row.m_Capacity;
        EXPECT_EQ(row.m_Result, Velmor::ReadBitString(buffer.data(), pos, out.data(), size))
            << testing::PrintToString(row.m_Given);
        Bytes expected = row.m_Copied;
        expected.resize(4, 0xee);
        EXPECT_EQ(expected, out) << testing::PrintToString(row.m_Given);
        EXPECT_EQ(row.m_Size, size) << testing::PrintToString(row.m_Given);
        EXPECT_EQ(row.m_Pos, pos) << testing::PrintToString(row.m_Given);
    }
}

TEST(ReadUtf8String, EndsAtAZeroByteButMovesBehindTheValue) {
    const struct {
        Bytes m_Given; ///< from the length on
        std::string m_Text;
        int m_Pos;
    } table[] = {
        {{0x03, 'A', 'B', 'C', 'D'}, "ABC", 4},
        {{0x00, 'A'}, "", 1},
        {{0x05, 'A', 'B', 0x00, 'C', 'D'}, "AB", 6},
        {{0x02, 0xc3, 0xbc}, "\xc3\xbc", 3},
        {{0x01, 0xfc}, "\xfc", 2}, // not UTF-8, and not converted
        {{0x81, 0x02, 'A', 'B'}, "AB", 4},
        {{0x82, 0x00, 0x02, 'A', 'B'}, "AB", 5},
    };
    for (const auto& row : table) {
        Bytes buffer = row.m_Given;
        int pos = 0;
        EXPECT_EQ(row.m_Text, Velmor::ReadUtf8String(buffer.data(), pos));
        EXPECT_EQ(row.m_Pos, pos);
    }
}

TEST(Oid2Str, WritesEachByteAsOneNumber) {
    const struct {
        Bytes m_Given;
        char m_Separator;
        std::string m_Text;
    } table[] = {
        {{0x55, 0x04, 0x03}, '.', "2.5.4.3"},
        {{0x2a}, '.', "1.2"},
        {{0x2a, 0x86, 0x48}, '.', "1.2.134.72"},
        {{0x2a, 0x86, 0x48}, ' ', "1 2 134 72"},
        {{0xff, 0xff}, '.', "6.15.255"},
        {{0x00}, '.', "0.0"},
        {{}, '.', ""},
    };
    for (const auto& row : table) {
        Bytes oid = row.m_Given;
        EXPECT_EQ(row.m_Text, Velmor::OID2Str(oid.data(), static_cast<int>(oid.size()), row.m_Separator));
    }
}

TEST(Oid2Str, GivesTheFirstTwoNumbersForNoLengthToo) {
    Bytes oid = {0x2a, 0x86};
    for (const int length : {1, 0, -1}) {
        EXPECT_EQ("1.2", Velmor::OID2Str(oid.data(), length, '.')) << length;
    }
    EXPECT_EQ("", Velmor::OID2Str(nullptr, 0, '.'));
}

TEST(ParseValue, KnowsSixKinds) {
    const struct {
        unsigned char m_Tag;
        eASN1Type m_Type;
        int m_Number;
    } table[] = {
        {0x04, Velmor::ASN1_OCTET_STRING, 1},     {0x12, Velmor::ASN1_NUMERIC_STRING, 2},
        {0x18, Velmor::ASN1_GENERALIZED_TIME, 3}, {0x0c, Velmor::ASN1_UTF8_STRING, 4},
        {0x02, Velmor::ASN1_INTEGER, 5},          {0x13, Velmor::ASN1_PRINTABLE_STRING, 6},
    };
    for (const auto& row : table) {
        Bytes buffer = {0xee, row.m_Tag, 0x81, 0x02, 'A', 0x00, 'C'};
        Bytes out(3, 0xee);
        int pos = 1;
        auto type = static_cast<eASN1Type>(0);
        int length = 0;
        EXPECT_TRUE(Velmor::parseValue(buffer.data(), pos, type, out.data(), length));
        EXPECT_EQ(row.m_Type, type);
        EXPECT_EQ(row.m_Number, type);
        EXPECT_EQ(2, length);
        EXPECT_EQ((Bytes{'A', 0x00, 0xee}), out);
        EXPECT_EQ(6, pos);
    }
}

TEST(ParseValue, LeavesEverythingAloneForAnyOtherTag) {
    const std::set<int> known = {0x02, 0x04, 0x0c, 0x12, 0x13, 0x18};
    for (int tag = 0; tag < 256; ++tag) {
        if (known.count(tag) != 0) {
            continue;
        }
        Bytes buffer = {static_cast<unsigned char>(tag), 0x01, 'A'};
        unsigned char out = 0xee;
        int pos = 0;
        auto type = Velmor::ASN1_INTEGER;
        int length = 42;
        EXPECT_FALSE(Velmor::parseValue(buffer.data(), pos, type, &out, length)) << tag;
        EXPECT_EQ(0, pos);
        EXPECT_EQ(Velmor::ASN1_INTEGER, type);
        EXPECT_EQ(0xee, out);
        EXPECT_EQ(42, length);
    }
}
