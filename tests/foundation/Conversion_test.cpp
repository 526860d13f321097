// SPDX-License-Identifier: MIT
#include "foundation/Conversion.h"

#include <array>
#include <climits>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

using namespace Velmor;
using Bytes = std::vector<unsigned char>;

namespace {

constexpr auto TOO_SMALL = static_cast<unsigned long>(-1);

/// An output buffer whose bytes show whether they were written.
struct Buffer {
    std::array<unsigned char, 8> m_Bytes = {'.', '.', '.', '.', '.', '.', '.', '.'};
    unsigned long m_Length;

    explicit Buffer(unsigned long capacity) : m_Length(capacity) {}
    std::string Text() const { return std::string(m_Bytes.begin(), m_Bytes.end()); }
};

} // namespace

TEST(HexStr2BinData, AppendsAByteForEachPairAndReturnsTheSizeOfTheOutput) {
    Bytes out = {1};
    EXPECT_EQ(4U, HexStr2BinData("0aFFg1", out));
    EXPECT_EQ(Bytes({1, 0x0A, 0xFF, 0}), out);
    EXPECT_EQ(4U, HexStr2BinData("", out));
    Bytes empty;
    EXPECT_EQ(0U, HexStr2BinData("", empty));
}

TEST(HexStr2BinData, ThrowsAtAnUnpairedDigitAfterTheBytesBeforeIt) {
    Bytes out;
    EXPECT_THROW(HexStr2BinData("ABC", out), std::out_of_range);
    EXPECT_EQ(Bytes({0xAB}), out);
}

TEST(HexStr2BinData, FillsABuffer) {
    char hex[] = "616263ff";
    Buffer exact(3);
    EXPECT_EQ(3U, HexStr2BinData(hex, 6, exact.m_Bytes.data(), exact.m_Length));
    EXPECT_EQ(3U, exact.m_Length);
    EXPECT_EQ("abc.....", exact.Text());

    Buffer roomy(8);
    EXPECT_EQ(4U, HexStr2BinData(hex, roomy.m_Bytes.data(), roomy.m_Length));
    EXPECT_EQ(4U, roomy.m_Length);
    EXPECT_EQ("abc\xFF....", roomy.Text());
}

TEST(HexStr2BinData, OfABufferAnswersASizeQueryAndChangesNothing) {
    char hex[] = "616263";
    Buffer none(0);
    EXPECT_EQ(3U, HexStr2BinData(hex, none.m_Bytes.data(), none.m_Length));
    EXPECT_EQ(0U, none.m_Length);
    EXPECT_EQ("........", none.Text());

    unsigned long length = 8;
    EXPECT_EQ(3U, HexStr2BinData(hex, 6, nullptr, length));
    EXPECT_EQ(8U, length);
}

TEST(HexStr2BinData, RefusesABufferThatIsTooSmall) {
    char hex[] = "616263";
    Buffer small(2);
    EXPECT_EQ(TOO_SMALL, HexStr2BinData(hex, 6, small.m_Bytes.data(), small.m_Length));
    EXPECT_EQ(2U, small.m_Length);
    EXPECT_EQ("........", small.Text());
}

TEST(HexStr2BinData, OfABufferThrowsAtAnUnpairedDigitAndWritesNothing) {
    char hex[] = "ABC";
    Buffer buffer(8);
    EXPECT_THROW(HexStr2BinData(hex, buffer.m_Bytes.data(), buffer.m_Length), std::out_of_range);
    EXPECT_THROW(HexStr2BinData(hex, 3, buffer.m_Bytes.data(), buffer.m_Length), std::out_of_range);
    EXPECT_EQ("........", buffer.Text());
}

TEST(BinData2HexStr, ReplacesTheTextWithUpperCaseDigits) {
    std::string hex = "old";
    EXPECT_EQ(6U, BinData2HexStr(Bytes{0x0A, 0xFF, 0}, hex));
    EXPECT_EQ("0AFF00", hex);
    EXPECT_EQ(0U, BinData2HexStr(Bytes(), hex));
    EXPECT_EQ("", hex);
}

TEST(BinData2HexStr, FillsABufferWithoutATerminator) {
    unsigned char data[] = {0x0A, 0xFF};
    Buffer exact(4);
    EXPECT_EQ(4U, BinData2HexStr(data, 2, exact.m_Bytes.data(), exact.m_Length));
    EXPECT_EQ(4U, exact.m_Length);
    EXPECT_EQ("0AFF....", exact.Text());

    Buffer roomy(8);
    EXPECT_EQ(2U, BinData2HexStr(data, 1, roomy.m_Bytes.data(), roomy.m_Length));
    EXPECT_EQ(2U, roomy.m_Length);
    EXPECT_EQ("0A......", roomy.Text());
}

TEST(BinData2HexStr, OfABufferAnswersASizeQueryAndChangesNothing) {
    unsigned char data[] = {0x0A, 0xFF};
    Buffer none(0);
    EXPECT_EQ(4U, BinData2HexStr(data, 2, none.m_Bytes.data(), none.m_Length));
    EXPECT_EQ(0U, none.m_Length);
    EXPECT_EQ("........", none.Text());

    unsigned long length = 1;
    EXPECT_EQ(4U, BinData2HexStr(data, 2, nullptr, length));
    EXPECT_EQ(1U, length);
}

TEST(BinData2HexStr, RefusesABufferOneShort) {
    unsigned char data[] = {0x0A, 0xFF};
    Buffer small(3);
    EXPECT_EQ(TOO_SMALL, BinData2HexStr(data, 2, small.m_Bytes.data(), small.m_Length));
    EXPECT_EQ(3U, small.m_Length);
    EXPECT_EQ("........", small.Text());
}

TEST(BinData2HexStr, OfNoBytesIsEmpty) {
    unsigned char data[] = {0x0A};
    for (const int len : {0, -1}) {
        Buffer buffer(8);
        EXPECT_EQ(0U, BinData2HexStr(data, len, buffer.m_Bytes.data(), buffer.m_Length));
        EXPECT_EQ(0U, buffer.m_Length);
    }
}

TEST(BinData2HexStr, RandomDataReadsBack) {
    std::mt19937 random(4711);
    for (unsigned int size = 0; size < 300; ++size) {
        Bytes data(size);
        for (unsigned char& byte : data) {
            byte = static_cast<unsigned char>(random());
        }
        std::string hex;
        EXPECT_EQ(2 * size, BinData2HexStr(data, hex));
        Bytes back;
        EXPECT_EQ(size, HexStr2BinData(hex, back));
        ASSERT_EQ(data, back);
    }
}

TEST(hex2int, ReadsWhatStrtolReads) {
    struct Row {
        std::string m_Text;
        long m_Expected;
    };
    for (Row row : {Row{"ff", 255}, Row{"FF", 255}, Row{"0x1f", 31}, Row{"1g", 1}, Row{"g1", 0}, Row{"", 0},
                    Row{" a", 10}, Row{"-1", -1}, Row{"7fffffff", 0x7fffffff}}) {
        EXPECT_EQ(row.m_Expected, hex2int(row.m_Text.data())) << row.m_Text;
    }
}

TEST(int2bin, WritesDigitsWithoutLeadingZeros) {
    EXPECT_EQ("", int2bin(0));
    EXPECT_EQ("1", int2bin(1));
    EXPECT_EQ("10", int2bin(2));
    EXPECT_EQ("11111111", int2bin(255));
    EXPECT_EQ(std::string(32, '1'), int2bin(0xFFFFFFFF));
    EXPECT_EQ("1" + std::string(31, '0'), int2bin(0x80000000));
}

TEST(bin2int, SumsWithoutValidation) {
    struct Row {
        const char* m_Digits;
        unsigned int m_Expected;
    };
    for (const Row& row : {Row{"", 0}, Row{"0", 0}, Row{"101", 5}, Row{"102", 6}, Row{"9", 9}, Row{"1x1", 5},
                           Row{"-1 1", 5}, Row{"11111111111111111111111111111111", 0xFFFFFFFF}}) {
        EXPECT_EQ(row.m_Expected, bin2int(row.m_Digits)) << row.m_Digits;
    }
}

TEST(bin2int, CountsModulo2ToThe32) {
    EXPECT_EQ(1U, bin2int("1" + std::string(31, '0') + "1" + "1") - 2U);
    EXPECT_EQ(0U, bin2int("2" + std::string(31, '0')));
    EXPECT_EQ(1U, bin2int("1" + std::string(2000, '0') + "1"));
}

TEST(bin2dec, RefusesEveryOtherCharacter) {
    struct Row {
        std::string m_Digits;
        int m_Expected;
    };
    for (Row row : {Row{"", 0}, Row{"0", 0}, Row{"101", 5}, Row{"102", -1}, Row{"x1", -1}, Row{"1 ", -1},
                    Row{"1111111111111111111111111111111", INT_MAX}}) {
        EXPECT_EQ(row.m_Expected, bin2dec(row.m_Digits.data())) << row.m_Digits;
    }
}

TEST(bin2dec, ReadsBackWhatInt2binWrites) {
    for (unsigned int value = 1; value < 0x40000000; value = 3 * value + 1) {
        std::string digits = int2bin(value);
        EXPECT_EQ(static_cast<int>(value), bin2dec(digits.data()));
        EXPECT_EQ(value, bin2int(digits));
    }
}

TEST(int2str, EncodesUtf8) {
    struct Row {
        int m_Code;
        const char* m_Expected;
    };
    for (const Row& row : {
             Row{0, ""},
             Row{1, "\x01"},
             Row{'A', "A"},
             Row{127, "\x7F"},
             Row{128, "\xC2\x80"},
             Row{0xE4, "\xC3\xA4"},
             Row{0x7FF, "\xDF\xBF"},
             Row{0x800, "\xE0\xA0\x80"},
             Row{0x20AC, "\xE2\x82\xAC"},
             Row{0xD800, "\xED\xA0\x80"}, // surrogates are not treated apart
             Row{0xFFFF, "\xEF\xBF\xBF"},
             Row{0x10000, "\xF0\x90\x80\x80"},
             Row{0x1F600, "\xF0\x9F\x98\x80"},
             Row{0x10FFFF, "\xF4\x8F\xBF\xBF"},
             Row{0x110000, "\xF4\x90\x80\x80"},        // no check of the range
             Row{0x200000 + 0xE4, "\xF0\x80\x83\xA4"}, // bits above 20 are lost
             Row{INT_MAX, "\xF7\xBF\xBF\xBF"},
             Row{-1, "\xFF"},
             Row{-256, ""},
             Row{INT_MIN + 'A', "A"},
         }) {
        EXPECT_EQ(row.m_Expected, int2str(row.m_Code)) << row.m_Code;
    }
}

TEST(ReverseBytes, TurnsTheOrderInPlace) {
    struct Row {
        int m_Len;
        Bytes m_Expected;
    };
    for (const Row& row : {Row{4, {4, 3, 2, 1}}, Row{3, {3, 2, 1, 4}}, Row{2, {2, 1, 3, 4}},
                           Row{1, {1, 2, 3, 4}}, Row{0, {1, 2, 3, 4}}, Row{-3, {1, 2, 3, 4}}}) {
        Bytes data = {1, 2, 3, 4};
        ReverseBytes(data.data(), row.m_Len);
        EXPECT_EQ(row.m_Expected, data) << row.m_Len;
    }
    ReverseBytes(nullptr, 0);
}

TEST(SwitchEndian, SwapsFourBytes) {
    EXPECT_EQ(0x04030201UL, SwitchEndian(0x01020304UL));
    EXPECT_EQ(0x000000FFUL, SwitchEndian(0xFF000000UL));
    EXPECT_EQ(0xFF000000UL, SwitchEndian(0x000000FFUL));
    EXPECT_EQ(0UL, SwitchEndian(0));
}

TEST(SwitchEndian, DropsWhatIsAbove32BitsOnEveryPlatform) {
    EXPECT_EQ(0xFFFFFFFFUL, SwitchEndian(ULONG_MAX));
}
