// SPDX-License-Identifier: MIT
#include "foundation/Base64.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "foundation/Base64BlockTables.h"
#include "tests/foundation/Base64Rule.h"

using namespace Velmor;
using Bytes = std::vector<unsigned char>;

namespace {

struct AlphabetRow {
    const char* m_Name;
    const char* m_IndexTable;
    const std::uint16_t* m_ReverseTable;
    const char* m_End;
    bool m_Pads;
};

const AlphabetRow ALPHABETS[] = {
    {"DEFAULT", IndexTable_BASE64_DEFAULT, ReverseIndexTable_BASE64_DEFAULT, "+/=", true},
    {"URL", IndexTable_BASE64_URL, ReverseIndexTable_BASE64_URL, "-_=", true},
    {"YUI", IndexTable_BASE64_YUI, ReverseIndexTable_BASE64_YUI, "._-", true},
    {"FREENET", IndexTable_BASE64_FREENET, ReverseIndexTable_BASE64_FREENET, "~-=", true},
    {"XML_NAME_TOKEN", IndexTable_BASE64_XML_NAME_TOKEN, ReverseIndexTable_BASE64_XML_NAME_TOKEN, ".- ",
     false},
    {"XML_IDENTIFIER", IndexTable_BASE64_XML_IDENTIFIER, ReverseIndexTable_BASE64_XML_IDENTIFIER,
     "_: ", false},
    {"PROGRAM_IDENTIFIER_V1", IndexTable_BASE64_PROGRAM_IDENTIFIER_V1,
     ReverseIndexTable_BASE64_PROGRAM_IDENTIFIER_V1, "_- ", false},
    {"PROGRAM_IDENTIFIER_V2", IndexTable_BASE64_PROGRAM_IDENTIFIER_V2,
     ReverseIndexTable_BASE64_PROGRAM_IDENTIFIER_V2, "._ ", false},
    {"REGEX", IndexTable_BASE64_REGEX, ReverseIndexTable_BASE64_REGEX, "!- ", false},
};

const TypeRow TYPES[] = {
    {0, "+/=", true, 64, true, true, "\r\n"},   {1, "+/=", true, 76, true, false, "\r\n"},
    {2, "+/=", true, 0, true, true, "\r\n"},    {3, "+/=", true, 0, false, true, "\r\n"},
    {4, "-_=", true, 0, true, true, "\r\n"},    {5, "-_=", true, 0, false, true, "\r\n"},
    {6, "._-", true, 0, true, true, "\r\n"},    {7, ".- ", false, 0, false, true, "\r\n"},
    {8, "_: ", false, 0, false, true, "\r\n"},  {9, "_- ", false, 0, false, true, "\r\n"},
    {10, "._ ", false, 0, false, true, "\r\n"}, {11, "!- ", false, 0, false, true, "\r\n"},
    {12, "~-=", true, 0, true, true, "\r\n"},   {13, "-_=", true, 0, false, true, ""},
    {14, "+/=", true, 0, true, true, "\r\n"},   {-1, "+/=", true, 0, true, true, "\r\n"},
};

Base64 CodecOf(int type) {
    Base64 codec;
    codec.Init(static_cast<eBase64Type>(type));
    return codec;
}

Bytes FromText(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes RandomBytes(std::mt19937& random, std::size_t size) {
    Bytes bytes(size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

std::string Encoded(const std::string& data, unsigned int lineMode) {
    std::string text = "old";
    const unsigned long length = b64encode(FromText(data), text, lineMode);
    EXPECT_EQ(text.size(), length);
    return text;
}

/// The older encoder over a roomy buffer.
std::string OlderEncoded(const std::string& data, unsigned int lineMode) {
    std::string out(4 * data.size() + 16, '.');
    const int written = b64encode(data.data(), static_cast<unsigned int>(data.size()), out.data(),
                                  static_cast<unsigned int>(out.size()), lineMode);
    EXPECT_EQ('.', out[static_cast<std::size_t>(written)]) << "no terminator is written";
    return out.substr(0, static_cast<std::size_t>(written));
}

/// The older decoder over a roomy buffer.
std::string OlderDecoded(const std::string& text) {
    std::string out(text.size() + 16, '.');
    const int written = b64decode(text.data(), static_cast<unsigned int>(text.size()), out.data(),
                                  static_cast<unsigned int>(out.size()));
    EXPECT_EQ('.', out[static_cast<std::size_t>(written)]);
    return out.substr(0, static_cast<std::size_t>(written));
}

} // namespace

TEST(Base64Tables, HoldTheAlphabetAndThePaddingCharacter) {
    for (const AlphabetRow& row : ALPHABETS) {
        EXPECT_EQ(COMMON_CHARACTERS + row.m_End, std::string(row.m_IndexTable, 65)) << row.m_Name;
    }
}

TEST(Base64Tables, ReverseEachCharacter) {
    for (const AlphabetRow& row : ALPHABETS) {
        const std::string alphabet = COMMON_CHARACTERS + row.m_End;
        for (int c = 0; c < 128; ++c) {
            const std::size_t position = alphabet.find(static_cast<char>(c));
            const bool member = position < 64 || (position == 64 && row.m_Pads);
            EXPECT_EQ(member ? position : 255U, row.m_ReverseTable[c]) << row.m_Name << ' ' << c;
        }
    }
}

TEST(Base64Tables, AreTheSameWhoeverComputesThem) {
    for (const AlphabetRow& row : ALPHABETS) {
        const Base64Reversal reversal =
            Base64ReversalOf(*reinterpret_cast<const Base64IndexTable*>(row.m_IndexTable));
        EXPECT_TRUE(std::equal(std::begin(reversal.m_Table), std::end(reversal.m_Table), row.m_ReverseTable))
            << row.m_Name;
    }
    const Base64BlockTables tables = MakeBase64BlockTables(); // at run time, where the sanitizers look
    EXPECT_EQ(0, std::memcmp(&tables, &BASE64_BLOCK_TABLES, sizeof(tables)));
}

TEST(Base64, IsOfType2AtFirst) {
    EXPECT_EQ(2, Base64().GetEncodingType());
}

TEST(Base64, KeepsAnyNumberAsItsType) {
    for (const TypeRow& row : TYPES) {
        Base64 codec;
        codec.SetEncodingType(static_cast<eBase64Type>(row.m_Type));
        EXPECT_EQ(row.m_Type, codec.GetEncodingType());
        codec.Init(BASE64_STANDARD);
        codec.Init(static_cast<eBase64Type>(row.m_Type));
        EXPECT_EQ(row.m_Type, codec.GetEncodingType());
    }
}

TEST(Base64, EncodesEveryTypeByTheRule) {
    std::mt19937 random(1);
    for (const TypeRow& row : TYPES) {
        const Base64 codec = CodecOf(row.m_Type);
        for (std::size_t size = 0; size < 400; ++size) {
            const Bytes data = RandomBytes(random, size);
            ASSERT_EQ(EncodedByTheRule(row, row.m_LineLength, data), codec.Encode(data)) << row.m_Type;
        }
    }
}

TEST(Base64, SplitsLinesOfAnyLengthByTheRule) {
    std::mt19937 random(2);
    for (const TypeRow& row : TYPES) {
        for (int lineLength = 4; lineLength < 20; ++lineLength) {
            Base64 codec = CodecOf(row.m_Type);
            codec.SetLineLength(lineLength);
            for (std::size_t size = 0; size < 60; ++size) {
                const Bytes data = RandomBytes(random, size);
                ASSERT_EQ(EncodedByTheRule(row, lineLength, data), codec.Encode(data))
                    << row.m_Type << ' ' << lineLength << ' ' << size;
            }
        }
    }
}

TEST(Base64, LooksAtNothingBehindTheBytes) {
    Bytes two = {1, 2, 0xFF}; // one that is gone still lies in the memory that the codec gets
    two.pop_back();
    EXPECT_EQ("AQI=", Base64().Encode(std::move(two)));
    Bytes one = {1, 0xFF, 0xFF};
    one.resize(1);
    EXPECT_EQ("AQ==", Base64().Encode(std::move(one)));
}

TEST(Base64, ReadsBackWhatEveryTypeWrites) {
    std::mt19937 random(3);
    for (const TypeRow& row : TYPES) {
        const Base64 codec = CodecOf(row.m_Type);
        for (std::size_t size = 0; size < 400; ++size) {
            const Bytes data = RandomBytes(random, size);
            ASSERT_EQ(data, codec.Decode(codec.Encode(data))) << row.m_Type << ' ' << size;
        }
    }
}

TEST(Base64, DecodesDamagedTextByTheRule) {
    std::mt19937 random(4);
    const std::string oddities = "\r\n =-_.!:~/+\x80\xFF" + std::string(1, '\0');
    for (const TypeRow& row : TYPES) {
        const Base64 codec = CodecOf(row.m_Type);
        for (int round = 0; round < 2000; ++round) {
            std::string text = codec.Encode(RandomBytes(random, random() % 40));
            for (auto damages = random() % 4; damages > 0; --damages) {
                text.insert(random() % (text.size() + 1), 1, oddities[random() % oddities.size()]);
            }
            ASSERT_EQ(DecodedByTheRule(row, text), codec.Decode(text)) << row.m_Type << ' ' << text;
        }
    }
}

TEST(Base64, KeepsTheLineEndOfAFullLastLineOnlyWithPadding) {
    const Bytes data(48, 'x');
    Base64 padded = CodecOf(2);
    padded.SetLineLength(64);
    EXPECT_EQ("\r\n", padded.Encode(data).substr(64));
    Base64 unpadded = CodecOf(3);
    unpadded.SetLineLength(64);
    EXPECT_EQ(64U, unpadded.Encode(data).size());
}

TEST(Base64, AChangeOfTheTypeResetsTheLineLength) {
    Base64 codec;
    codec.SetLineLength(4);
    codec.ResetParametersToEncodingTypeDefaults();
    EXPECT_EQ("YWJjYWJj", codec.Encode(FromText("abcabc")));
}

TEST(Base64, MayHaveOneCharacterALine) {
    Base64 codec;
    codec.SetLineLength(1);
    EXPECT_EQ("A\r\nQ\r\nI\r\nD\r\n", codec.Encode({1, 2, 3}));
}

TEST(Base64, TakesALineLengthBelow1AsOneLine) {
    Base64 codec;
    codec.SetLineLength(-1);
    EXPECT_EQ("YWJjYWJj", codec.Encode(FromText("abcabc")));
}

TEST(Base64, LeavesPaddingAwayInType3) {
    EXPECT_EQ("YQ", CodecOf(3).Encode({'a'}));
    EXPECT_EQ(Bytes({'a'}), CodecOf(3).Decode("YQ"));
}

TEST(Base64, DecodesAsItsTypeSays) {
    struct Row {
        int m_Type;
        const char* m_Text;
        const char* m_Expected;
    };
    for (const Row& row : {
             Row{2, "YW Jj", ""}, // a blank is no member of the alphabet
             Row{2, "YW\r\nJj", "abc"},
             Row{2, "YW\rJj\n", "abc"},
             Row{2, "YQ=Jj", "a\x02\x63"}, // padding in the middle vanishes: the bytes of "YQJj"
             Row{2, "YQJj", "a\x02\x63"},
             Row{2, "=YWJj", "abc"},
             Row{2, "YWJj\x80", ""},
             Row{2, "", ""},
             Row{2, "====", ""},
             Row{2, "Y", "`"},
             Row{3, "YQ==", ""},
             Row{5, "YQ==", ""},
             Row{5, "YQ", "a"},
             Row{7, "YQ ", ""}, // the blank of an alphabet without padding is no member
             Row{6, "YQ--", "a"},
             Row{13, "YWJj", "abc"},
             Row{13, "YW\r\nJj", ""},
             Row{13, "YWJj\n", ""},
             Row{1, "Y!Q=", "\x6F\xF4"}, // lenient: 255 enters the block
             Row{1, "\x80\xFF", "\xFF"}, // the high bit counts as 255
             Row{1, "!!!!", "\xFF\xFF\xFF"},
             Row{1, "!", "\xFC"},
         }) {
        EXPECT_EQ(FromText(row.m_Expected), CodecOf(row.m_Type).Decode(row.m_Text))
            << row.m_Type << ' ' << row.m_Text;
    }
}

TEST(b64encode, ReplacesItsOutputAndReturnsTheLength) {
    std::string text = "old";
    EXPECT_EQ(4U, b64encode(FromText("abc"), text, 0));
    EXPECT_EQ("YWJj", text);
    Bytes bytes = {1, 2};
    EXPECT_EQ(4U, b64encode(FromText("a"), bytes, 0));
    EXPECT_EQ(FromText("YQ=="), bytes);
    EXPECT_EQ(0U, b64encode(Bytes(), text, 1));
    EXPECT_EQ("", text);
}

TEST(b64encode, WritesIntoTheVectorThatItReads) {
    Bytes data = FromText("abc");
    EXPECT_EQ(4U, b64encode(data, data, 0));
    EXPECT_EQ(FromText("YWJj"), data);
}

TEST(b64encode, BreaksLinesAsTheModeSays) {
    const std::string bytes48(48, 'x');
    const std::string bytes57(57, 'x');
    EXPECT_EQ("YWJj", Encoded("abc", 0));
    EXPECT_EQ("YQ==", Encoded("a", 0));
    const std::string line64 = Encoded(bytes48, 0);
    const std::string line76 = Encoded(bytes57, 0);
    ASSERT_EQ(64U, line64.size());
    ASSERT_EQ(76U, line76.size());
    EXPECT_EQ(line64 + "\r\n", Encoded(bytes48, 1));
    EXPECT_EQ(line64 + "\r\nYQ==", Encoded(bytes48 + "a", 1));
    EXPECT_EQ(line76 + "\r\n", Encoded(bytes57, 2));
    EXPECT_EQ(line76 + "\r\nYWI=", Encoded(bytes57 + "ab", 2));
    EXPECT_EQ(line64 + line64, Encoded(bytes48 + bytes48, 3));
    EXPECT_EQ(line64 + line64, Encoded(bytes48 + bytes48, 64));
}

TEST(b64decode, ReplacesItsOutputAndReturnsTheSize) {
    Bytes bytes = {1, 2};
    EXPECT_EQ(3U, b64decode(std::string("YWJj"), bytes));
    EXPECT_EQ(FromText("abc"), bytes);
    EXPECT_EQ(1U, b64decode(FromText("YQ=="), bytes));
    EXPECT_EQ(FromText("a"), bytes);
}

TEST(b64decode, ReadsTheVectorThatItWrites) {
    Bytes data = FromText("YWJj");
    EXPECT_EQ(3U, b64decode(data, data));
    EXPECT_EQ(FromText("abc"), data);
}

TEST(b64decode, OfBadTextLeavesAnEmptyOutput) {
    Bytes bytes = {1, 2};
    EXPECT_EQ(0U, b64decode(std::string("YWJjY!=="), bytes));
    EXPECT_TRUE(bytes.empty());
    bytes = {1, 2};
    EXPECT_EQ(0U, b64decode(FromText("YWJjY!=="), bytes));
    EXPECT_TRUE(bytes.empty());
}

TEST(OlderB64encode, AnswersASizeQueryWithAnUpperBound) {
    struct Row {
        unsigned int m_Len;
        unsigned int m_LineMode;
        int m_Expected;
    };
    for (const Row& row : {Row{0, 0, 0}, Row{1, 0, 4}, Row{3, 0, 4}, Row{4, 0, 8}, Row{48, 0, 64},
                           Row{48, 1, 72}, Row{57, 2, 84}, Row{57, 7, 84}, Row{11, 1, 18}, Row{14, 2, 22}}) {
        EXPECT_EQ(row.m_Expected, b64encode(nullptr, row.m_Len, nullptr, 0, row.m_LineMode))
            << row.m_Len << ' ' << row.m_LineMode;
    }
}

TEST(OlderB64encode, StaysWithinItsUpperBound) {
    for (std::size_t size = 0; size < 300; ++size) {
        for (const unsigned int lineMode : {0U, 1U, 2U}) {
            const int bound = b64encode(nullptr, static_cast<unsigned int>(size), nullptr, 0, lineMode);
            EXPECT_LE(OlderEncoded(std::string(size, 'x'), lineMode).size(), static_cast<std::size_t>(bound));
        }
    }
}

TEST(OlderB64encode, WritesALineEndAfterEachFullLine) {
    const std::string bytes48(48, 'x');
    const std::string bytes57(57, 'x');
    const std::string line64 = Encoded(bytes48, 0);
    const std::string line76 = Encoded(bytes57, 0);
    EXPECT_EQ("", OlderEncoded("", 1));
    EXPECT_EQ("YQ==", OlderEncoded("a", 0));
    EXPECT_EQ("YWI=", OlderEncoded("ab", 1));
    EXPECT_EQ(line64 + "\r\n", OlderEncoded(bytes48, 1));
    EXPECT_EQ(line64 + "\r\nYWJj", OlderEncoded(bytes48 + "abc", 1));
    EXPECT_EQ(line76 + "\r\n", OlderEncoded(bytes57, 2));
    EXPECT_EQ(line76 + "\r\n", OlderEncoded(bytes57, 9));
    EXPECT_EQ(line64 + line64, OlderEncoded(bytes48 + bytes48, 0));
}

TEST(OlderB64encode, DoesNotCompareTheCapacityWithTheData) {
    char out[8] = "";
    EXPECT_EQ(4, b64encode("abc", 3, out, 1, 0));
    EXPECT_STREQ("YWJj", out);
}

TEST(OlderBase64, AgreesWithTheTables) {
    std::mt19937 random(5);
    for (std::size_t size = 0; size < 300; ++size) {
        const Bytes bytes = RandomBytes(random, size);
        const std::string data(bytes.begin(), bytes.end());
        const std::string text = OlderEncoded(data, 0);
        ASSERT_EQ(Encoded(data, 0), text);
        ASSERT_EQ(data, OlderDecoded(text));
    }
}

TEST(OlderB64decode, AnswersASizeQuery) {
    struct Row {
        unsigned int m_Len;
        int m_Expected;
    };
    for (const Row& row : {Row{0, 0}, Row{1, 3}, Row{4, 3}, Row{5, 6}, Row{8, 6}}) {
        EXPECT_EQ(row.m_Expected, b64decode(nullptr, row.m_Len, nullptr, 0)) << row.m_Len;
    }
}

TEST(OlderB64decode, CountsThePaddingOfEachGroup) {
    struct Row {
        const char* m_Text;
        std::string m_Expected;
    };
    for (const Row& row : {
             Row{"", ""}, Row{"YWJj", "abc"}, Row{"YWI=", "ab"}, Row{"YQ==", "a"},
             Row{"YQ=j", std::string("a\x0F")}, // only the third: two bytes, the sign counting as 61
             Row{"YQ==YWJj", "aabc"},
             Row{"YWJjYQ", "abca\x02\x63"}, // a short last group keeps characters of the group before
             Row{"YWI=Y", "abab"}, Row{"Y!Jj", "\x63\xD2\x63"}, // what is no member counts as 61
         }) {
        EXPECT_EQ(row.m_Expected, OlderDecoded(row.m_Text)) << row.m_Text;
    }
}

TEST(OlderBase64, ComputesTheAlphabet) {
    for (int index = 0; index < 64; ++index) {
        const char c = IndexTable_BASE64_DEFAULT[index];
        EXPECT_EQ(c, _indexToChar(index));
        EXPECT_EQ(index, _charToIndex(c));
    }
    EXPECT_EQ('=', _indexToChar(64));
    EXPECT_EQ('=', _indexToChar(200));
    for (const char c : {'=', '!', '\0', '\n', '-'}) {
        EXPECT_EQ(61, _charToIndex(c));
    }
}
