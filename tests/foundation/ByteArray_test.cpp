// SPDX-License-Identifier: MIT
#include "foundation/ByteArray.h"

#include <sstream>
#include <stdexcept>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/support/TempDir.h"

using Velmor::ByteArray;
using Bytes = std::vector<unsigned char>;

namespace {

constexpr unsigned short LOWER_CASE_SPACED = 0;
constexpr unsigned short UPPER_CASE_TOGETHER = ByteArray::UPPERCASE | ByteArray::NOT_SPACED;
constexpr unsigned short EVERY_FLAG[] = {LOWER_CASE_SPACED, ByteArray::UPPERCASE, ByteArray::NOT_SPACED,
                                         UPPER_CASE_TOGETHER};

ByteArray Array(const Bytes& bytes) {
    return ByteArray(bytes);
}

} // namespace

// A public vector without a virtual operation or a further field.
static_assert(std::is_convertible_v<ByteArray*, Bytes*>);
static_assert(!std::is_polymorphic_v<ByteArray>);
static_assert(sizeof(ByteArray) == sizeof(Bytes));

TEST(ByteArray, TheFlagsAre16BitNumbers) {
    static_assert(std::is_same_v<std::remove_cv_t<decltype(ByteArray::UPPERCASE)>, unsigned short>);
    static_assert(std::is_same_v<std::remove_cv_t<decltype(ByteArray::NOT_SPACED)>, unsigned short>);
    EXPECT_EQ(1, ByteArray::UPPERCASE);
    EXPECT_EQ(2, ByteArray::NOT_SPACED);
}

TEST(ByteArray, IsEmptyByDefault) {
    EXPECT_TRUE(ByteArray().empty());
}

TEST(ByteArray, OfANumberHasThatManyZeroBytes) {
    EXPECT_EQ(Bytes({0, 0, 0}), ByteArray(3U));
    EXPECT_TRUE(ByteArray(0U).empty());
}

TEST(ByteArray, OfAStringHasAllItsBytesEmbeddedZeroIncluded) {
    EXPECT_EQ(Bytes({'a', 0, 0xFF}), ByteArray(std::string("a\0\xFF", 3)));
}

TEST(ByteArray, OfAVectorIsACopy) {
    Bytes original = {1, 2};
    const ByteArray copy(original);
    original[0] = 9;
    EXPECT_EQ(Bytes({1, 2}), copy);
}

TEST(ByteArray, OfAPointerAndALengthIsACopyOfThatManyBytes) {
    const unsigned char data[] = {1, 2, 3};
    EXPECT_EQ(Bytes({1, 2}), ByteArray(data, 2));
    EXPECT_TRUE(ByteArray(data, 0).empty());
    EXPECT_TRUE(ByteArray(nullptr, 0).empty());
}

TEST(ByteArray, OfAWideStringHasTheLow16BitsOfEachCharacterLowByteFirst) {
    EXPECT_EQ(Bytes({'A', 0, 0xAC, 0x20}), ByteArray(std::wstring(L"A\u20AC")));
    EXPECT_EQ(Bytes({0x00, 0xF6}), ByteArray(std::wstring(1, static_cast<wchar_t>(0x1F600))));
    EXPECT_TRUE(ByteArray(std::wstring()).empty());
}

TEST(ByteArray, EqualsItselfAndEveryArrayOfTheSameBytes) {
    const ByteArray bytes = Array({1, 2});
    EXPECT_TRUE(bytes == bytes);
    EXPECT_TRUE(bytes == Array({1, 2}));
    EXPECT_TRUE(ByteArray() == ByteArray());
    EXPECT_FALSE(bytes != Array({1, 2}));
}

TEST(ByteArray, DiffersFromOtherBytesAndOtherLengths) {
    const ByteArray bytes = Array({1, 2});
    for (const ByteArray& other : {Array({1, 3}), Array({1}), Array({1, 2, 3}), ByteArray()}) {
        EXPECT_FALSE(bytes == other);
        EXPECT_TRUE(bytes != other);
    }
}

TEST(ByteArray, ComparesWithAPlainVectorOnEitherSide) {
    const Bytes plain = {1, 2};
    EXPECT_TRUE(Array({1, 2}) == plain);
    EXPECT_TRUE(plain == Array({1, 2}));
    EXPECT_TRUE(Array({2}) != plain);
}

TEST(ByteArray, AddAppends) {
    ByteArray bytes = Array({1});
    bytes.Add(Bytes{2, 3});
    const unsigned char data[] = {4, 5, 6};
    bytes.Add(data, 2);
    bytes.Add(Bytes());
    EXPECT_EQ(Bytes({1, 2, 3, 4, 5}), bytes);
}

TEST(ByteArray, AddAppendsItsOwnContent) {
    ByteArray bytes = Array({1, 2});
    bytes.Add(bytes);
    bytes.Add(bytes.data() + 1, 3);
    EXPECT_EQ(Bytes({1, 2, 1, 2, 2, 1, 2}), bytes);
}

TEST(ByteArray, SubArrayEndsAtTheCountOrAtTheEnd) {
    const ByteArray bytes = Array({10, 11, 12});
    struct Row {
        unsigned int m_Start;
        unsigned int m_Count;
        Bytes m_Expected;
    };
    for (const Row& row :
         {Row{0, 3, {10, 11, 12}}, Row{0, 2, {10, 11}}, Row{1, 1, {11}}, Row{1, 0, {}}, Row{1, 100, {11, 12}},
          Row{1, 0xFFFFFFFF, {11, 12}}, Row{3, 1, {}}, Row{5, 10, {}}}) {
        EXPECT_EQ(row.m_Expected, bytes.SubArray(row.m_Start, row.m_Count))
            << row.m_Start << ", " << row.m_Count;
    }
}

TEST(ByteArray, SubArrayWithoutACountGoesToTheEnd) {
    const ByteArray bytes = Array({10, 11, 12});
    EXPECT_EQ(Bytes({10, 11, 12}), bytes.SubArray(0));
    EXPECT_EQ(Bytes({12}), bytes.SubArray(2));
    EXPECT_TRUE(bytes.SubArray(3).empty());
    EXPECT_TRUE(bytes.SubArray(4).empty());
    EXPECT_TRUE(ByteArray().SubArray(0).empty());
}

TEST(ByteArray, FromHexStringReadsPairsAndSkipsOneBlankBeforeEach) {
    struct Row {
        const char* m_Text;
        Bytes m_Expected;
    };
    for (const Row& row : {
             Row{"", {}},
             Row{"AB CD", {0xAB, 0xCD}},
             Row{"abcd", {0xAB, 0xCD}},
             Row{" AB", {0xAB}},
             Row{"AB  CD", {0xAB, 0x0C, 0x0D}}, // the second blank is part of the pair " C"
             Row{"ABC", {0xAB, 0x0C}},          // an unpaired digit is a byte of its own
             Row{"AB ", {0xAB}},
             Row{" ", {}},
             Row{"g1", {0}},
             Row{"1g", {1}},
             Row{"-1", {0xFF}},
             Row{"A BC", {0x0A, 0xBC}},
             Row{"AB\tCD", {0xAB, 0x0C, 0x0D}},
         }) {
        ByteArray bytes;
        bytes.FromHexString(row.m_Text);
        EXPECT_EQ(row.m_Expected, bytes) << '"' << row.m_Text << '"';
    }
}

TEST(ByteArray, FromHexStringAppends) {
    ByteArray bytes = Array({1});
    bytes.FromHexString("02");
    EXPECT_EQ(Bytes({1, 2}), bytes);
}

TEST(ByteArray, ToHexStringFollowsItsFlags) {
    struct Row {
        Bytes m_Bytes;
        unsigned short m_Flags;
        const char* m_Expected;
    };
    for (const Row& row : {
             Row{{0x0A, 0xFF, 0x01}, LOWER_CASE_SPACED, "0a ff 01"},
             Row{{0xAB}, LOWER_CASE_SPACED, "ab"},
             Row{{0xAB}, ByteArray::UPPERCASE, "AB"},
             Row{{0xAB, 0xCD}, ByteArray::UPPERCASE, "AB CD"},
             Row{{0xAB, 0xCD}, ByteArray::NOT_SPACED, "abcd"},
             Row{{0xAB, 0xCD}, UPPER_CASE_TOGETHER, "ABCD"},
             Row{{0xAB, 0xCD}, 4, "ab cd"},
             Row{{0, 0}, LOWER_CASE_SPACED, "00 00"},
         }) {
        EXPECT_EQ(row.m_Expected, Array(row.m_Bytes).ToHexString(row.m_Flags));
    }
}

TEST(ByteArray, ToHexStringOfAnEmptyArrayIsAFailure) {
    for (const unsigned short flags : EVERY_FLAG) {
        EXPECT_THROW(ByteArray().ToHexString(flags), std::out_of_range);
    }
}

TEST(ByteArray, HexTextOfEveryByteReadsBack) {
    ByteArray all;
    for (int byte = 0; byte < 256; ++byte) {
        all.push_back(static_cast<unsigned char>(byte));
    }
    for (const unsigned short flags : EVERY_FLAG) {
        ByteArray back;
        back.FromHexString(all.ToHexString(flags));
        EXPECT_EQ(all, back) << flags;
    }
}

TEST(ByteArray, ToStringHoldsEveryByteUnchanged) {
    EXPECT_EQ(std::string("a\0\xFF", 3), Array({'a', 0, 0xFF}).ToString());
    EXPECT_EQ("", ByteArray().ToString());
}

TEST(ByteArray, TrimsRemoveEveryEqualByteOfTheirSide) {
    struct Row {
        Bytes m_Bytes;
        Bytes m_Right;
        Bytes m_Left;
        Bytes m_Both;
    };
    for (const Row& row : {
             Row{{0, 0, 1, 0, 2, 0}, {0, 0, 1, 0, 2}, {1, 0, 2, 0}, {1, 0, 2}},
             Row{{0, 0}, {}, {}, {}},
             Row{{}, {}, {}, {}},
             Row{{1, 2}, {1, 2}, {1, 2}, {1, 2}},
         }) {
        ByteArray right = Array(row.m_Bytes);
        right.RTrim(0);
        EXPECT_EQ(row.m_Right, right);
        ByteArray left = Array(row.m_Bytes);
        left.LTrim(0);
        EXPECT_EQ(row.m_Left, left);
        ByteArray both = Array(row.m_Bytes);
        both.Trim(0);
        EXPECT_EQ(row.m_Both, both);
    }
}

TEST(ByteArray, ReverseTurnsTheOrderInPlace) {
    ByteArray bytes = Array({1, 2, 3});
    bytes.Reverse();
    EXPECT_EQ(Bytes({3, 2, 1}), bytes);
    ByteArray empty;
    empty.Reverse();
    EXPECT_TRUE(empty.empty());
}

TEST(ByteArray, PadsLengthenButNeverShorten) {
    struct Row {
        Bytes m_Bytes;
        unsigned int m_Size;
        Bytes m_Right;
        Bytes m_Left;
    };
    for (const Row& row : {
             Row{{1}, 3, {1, 9, 9}, {9, 9, 1}},
             Row{{}, 2, {9, 9}, {9, 9}},
             Row{{1, 2, 3}, 2, {1, 2, 3}, {1, 2, 3}},
             Row{{1, 2}, 2, {1, 2}, {1, 2}},
         }) {
        ByteArray right = Array(row.m_Bytes);
        right.PadRight(row.m_Size, 9);
        EXPECT_EQ(row.m_Right, right);
        ByteArray left = Array(row.m_Bytes);
        left.Padleft(row.m_Size, 9);
        EXPECT_EQ(row.m_Left, left);
    }
    ByteArray number = Array({1});
    number.Padleft(3, 0);
    EXPECT_EQ(Bytes({0, 0, 1}), number);
}

TEST(ByteArray, InsertionWritesRawBytesWhateverTheStreamFormat) {
    std::ostringstream out;
    out.width(8);
    out.fill('*');
    out << Array({'a', 0, 0xFF});
    EXPECT_EQ(std::string("a\0\xFF", 3), out.str());

    std::ostringstream nothing;
    nothing << ByteArray();
    EXPECT_EQ("", nothing.str());
}

TEST(ByteArray, ExtractionLeavesAnEmptyArrayAndTheStreamAlone) {
    std::istringstream in("xyz");
    ByteArray bytes;
    in >> bytes;
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ('x', in.get());
}

TEST(ByteArray, ExtractionAppendsPastTheSizeItStartedWith) {
    std::istringstream in("x y\nz");
    ByteArray bytes = Array({1});
    in >> bytes;
    EXPECT_EQ(Bytes({1, 'x', 'y', 'z'}), bytes);
    EXPECT_TRUE(in.fail());
}

TEST(ByteArray, LoadFromFileAppendsTheWholeFile) {
    const TempDir dir;
    for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 5000U}) {
        std::string content;
        for (std::size_t index = 0; index < size; ++index) {
            content += static_cast<char>(index % 251);
        }
        ByteArray bytes = Array({7});
        EXPECT_EQ(1, Velmor::LoadFromFile(dir.File("file", content), bytes));
        EXPECT_EQ("\x07" + content, bytes.ToString()) << size;
    }
}

TEST(ByteArray, LoadFromFileOfAMissingFileLeavesTheArrayUntouched) {
    const TempDir dir;
    ByteArray bytes = Array({7});
    EXPECT_EQ(0, Velmor::LoadFromFile(dir.Path("missing"), bytes));
    EXPECT_EQ(Bytes({7}), bytes);
}
