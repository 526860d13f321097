// SPDX-License-Identifier: MIT
#include "foundation/StringUtils.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/foundation/Seconds.h"

namespace {

long Memfind(std::string hay, std::string needle, long start) {
    return Velmor::MyMemfind(hay.data(), static_cast<long>(hay.size()), needle.data(),
                             static_cast<long>(needle.size()), start);
}

} // namespace

TEST(AsciiTests, KnowDigitsAndLettersOfAsciiOnly) {
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const bool digit = code >= '0' && code <= '9';
        const bool letter = (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z');
        EXPECT_EQ(digit, Velmor::isdigit(c)) << code;
        EXPECT_EQ(digit, Velmor::IsDigit(c)) << code;
        EXPECT_EQ(letter, Velmor::isalpha(c)) << code;
        EXPECT_EQ(letter, Velmor::IsAlpha(c)) << code;
    }
}

TEST(StringContainsChar, FindsACharacterAnywhere) {
    EXPECT_TRUE(Velmor::StringContainsChar("abc", 'a'));
    EXPECT_TRUE(Velmor::StringContainsChar("abc", 'c'));
    EXPECT_FALSE(Velmor::StringContainsChar("abc", 'd'));
    EXPECT_FALSE(Velmor::StringContainsChar("abc", '\0'));
    EXPECT_TRUE(Velmor::StringContainsChar(std::string("a\0b", 3), '\0'));
    EXPECT_FALSE(Velmor::StringContainsChar("", 'a'));
}

TEST(GenerateRandomString, HasTheLengthAskedFor) {
    for (const int len : {1, 2, 10, 1000}) {
        EXPECT_EQ(static_cast<std::size_t>(len), Velmor::GenerateRandomString(len).size());
    }
    EXPECT_EQ("", Velmor::GenerateRandomString(0));
    EXPECT_EQ("", Velmor::GenerateRandomString(-5));
    EXPECT_EQ(10U, Velmor::GenerateRandomString().size());
}

TEST(GenerateRandomString, UsesEveryCharacterOfItsAlphabetAndNoOther) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz123456789";
    const std::string name = Velmor::GenerateRandomString(20000);
    EXPECT_EQ(std::string::npos, name.find_first_not_of(alphabet));
    for (const char c : alphabet) {
        EXPECT_NE(std::string::npos, name.find(c)) << c;
    }
}

TEST(GenerateRandomString, IsTheSeedOfTheSecondAndNothingElse) {
    const std::time_t now = BeginningOfASecond();
    const std::string first = Velmor::GenerateRandomString();
    EXPECT_EQ(first, Velmor::GenerateRandomString(10));

    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz123456789";
    std::srand(static_cast<unsigned int>(now));
    std::string expected;
    for (int index = 0; index < 10; ++index) {
        expected += alphabet[static_cast<std::size_t>(std::rand() % 61)];
    }
    EXPECT_EQ(expected, first);
}

TEST(MyMemfind, GivesTheOffsetOfTheFirstMatchAtOrAfterTheStart) {
    struct Row {
        const char* m_Hay;
        const char* m_Needle;
        long m_Start;
        long m_Expected;
    };
    for (const Row& row : {
             Row{"abcabc", "abc", 0, 0},
             Row{"abcabc", "abc", 1, 3},
             Row{"abcabc", "abc", 3, 3},
             Row{"abcabc", "abc", 4, -1},
             Row{"abcabc", "abc", -5, 0},
             Row{"abcabc", "c", 5, 5},
             Row{"abcabc", "c", 6, -1},
             Row{"abcabc", "c", 100, -1},
             Row{"aaab", "aab", 0, 1}, // the search restarts one byte past a failed candidate
             Row{"abcab", "abd", 0, -1},
             Row{"abcab", "bc", 2, -1},
             Row{"ab", "abc", 0, -1},
             Row{"", "a", 0, -1},
             Row{"xyz", "xyz", 0, 0},
         }) {
        EXPECT_EQ(row.m_Expected, Memfind(row.m_Hay, row.m_Needle, row.m_Start))
            << row.m_Hay << ' ' << row.m_Needle;
    }
}

TEST(MyMemfind, TreatsZeroBytesAsAnyOther) {
    EXPECT_EQ(2, Memfind(std::string("a\0\0b", 4), std::string("\0b", 2), 0));
}

TEST(MyMemfind, LooksAtNothingBehindTheLengths) {
    char hay[] = "xabc";
    char needle[] = "abcd";
    EXPECT_EQ(1, Velmor::MyMemfind(hay, 4, needle, 3, 0));
    EXPECT_EQ(-1, Velmor::MyMemfind(hay, 3, needle, 3, 0));
    EXPECT_EQ(-1, Velmor::MyMemfind(hay, 0, needle, 0, 0));
}

TEST(MyMemfind, RefusesNegativeLengths) {
    char text[] = "abc";
    EXPECT_EQ(-1, Velmor::MyMemfind(text, -1, text, 1, 0));
    EXPECT_EQ(-1, Velmor::MyMemfind(text, 3, text, -1, 0));
}

TEST(MyMemfind, LooksForTheFirstByteOfAnEmptyNeedle) {
    char hay[] = "abc";
    char c[] = "c";
    char x[] = "x";
    EXPECT_EQ(2, Velmor::MyMemfind(hay, 3, c, 0, 0));
    EXPECT_EQ(-1, Velmor::MyMemfind(hay, 3, x, 0, 0));
}

TEST(NocaseCmp, ComparesTheFirstCharactersOrAll) {
    EXPECT_EQ(0, Velmor::nocase_cmp("ABC", "abc", 0));
    EXPECT_EQ(0, Velmor::nocase_cmp("ABCx", "abcY", 3));
    EXPECT_LT(Velmor::nocase_cmp("ABCx", "abcY", 4), 0);
    EXPECT_LT(Velmor::nocase_cmp("abc", "ABCD", 0), 0);
    EXPECT_GT(Velmor::nocase_cmp("B", "a", -1), 0);
    EXPECT_EQ(0, Velmor::nocase_cmp("", "", 0));
}

TEST(NocaseFind, FindsFromThePositionOn) {
    EXPECT_EQ(1U, Velmor::nocase_find("xABCabc", "aBc", 0));
    EXPECT_EQ(4U, Velmor::nocase_find("xABCabc", "aBc", 2));
    EXPECT_EQ(std::string::npos, Velmor::nocase_find("xABCabc", "aBc", 5));
    EXPECT_EQ(std::string::npos, Velmor::nocase_find("abc", "d", 0));
    EXPECT_EQ(std::string::npos, Velmor::nocase_find("abc", "a", 4));
    EXPECT_EQ(std::string::npos, Velmor::nocase_find("abc", "a", -1));
    EXPECT_EQ(2U, Velmor::nocase_find("abc", "", 2));
}

TEST(NocaseStartsWith, ComparesTheBeginning) {
    EXPECT_TRUE(Velmor::nocase_StartsWith("ABCdef", "abC"));
    EXPECT_TRUE(Velmor::nocase_StartsWith("abc", "ABC"));
    EXPECT_TRUE(Velmor::nocase_StartsWith("abc", ""));
    EXPECT_TRUE(Velmor::nocase_StartsWith("", ""));
    EXPECT_FALSE(Velmor::nocase_StartsWith("ab", "abc"));
    EXPECT_FALSE(Velmor::nocase_StartsWith("xabc", "abc"));
}

TEST(NocaseEndsWith, ComparesTheEnd) {
    EXPECT_TRUE(Velmor::nocase_EndsWith("abcDEF", "dEf"));
    EXPECT_TRUE(Velmor::nocase_EndsWith("abc", "ABC"));
    EXPECT_TRUE(Velmor::nocase_EndsWith("abc", ""));
    EXPECT_FALSE(Velmor::nocase_EndsWith("bc", "abc"));
    EXPECT_FALSE(Velmor::nocase_EndsWith("abcx", "abc"));
}

TEST(StringCase, ChangesCharacterByCharacter) {
    EXPECT_EQ("AB1Z", Velmor::Str2Upper("aB1z"));
    EXPECT_EQ("ab1z", Velmor::Str2Lower("aB1Z"));
    EXPECT_EQ("", Velmor::Str2Upper(""));
    EXPECT_EQ("", Velmor::Str2Lower(""));
    EXPECT_EQ("\xC3\xA4", Velmor::Str2Upper("\xC3\xA4")); // bytes, not characters of UTF-8
}

TEST(StripXmlRequest, KeepsWhatStandsBetweenTheOutermostSigns) {
    struct Row {
        const char* m_Text;
        const char* m_Expected;
    };
    for (const Row& row : {Row{"ab<x>y</x>cd", "<x>y</x>"}, Row{"<x>", "<x>"}, Row{"ab<x", "<x"},
                           Row{"x>cd", "x>"}, Row{"abc", "abc"}, Row{"", ""}, Row{"a>b<c", "<c"}}) {
        EXPECT_EQ(row.m_Expected, Velmor::stripXMLRequest(row.m_Text)) << row.m_Text;
    }
}

TEST(TrimSpaces, CutsWhiteSpaceAtBothEnds) {
    EXPECT_EQ("a b", Velmor::TrimSpaces(" \t\r\na b\v\f "));
    EXPECT_EQ("a", Velmor::TrimSpaces("a"));
}

TEST(TrimSpaces, OfNothingButWhiteSpaceIsAFailure) {
    EXPECT_THROW(Velmor::TrimSpaces(""), std::out_of_range);
    EXPECT_THROW(Velmor::TrimSpaces(" \t\n"), std::out_of_range);
}

TEST(RemoveTrailingSpaces, CutsInPlace) {
    std::string text = " a b \t\n";
    Velmor::RemoveTrailingSpaces(text);
    EXPECT_EQ(" a b", text);
    Velmor::RemoveTrailingSpaces(text);
    EXPECT_EQ(" a b", text);
}

TEST(ReplaceAll, GoesOnBehindTheInsertedText) {
    struct Row {
        const char* m_Text;
        const char* m_From;
        const char* m_To;
        const char* m_Expected;
    };
    for (const Row& row :
         {Row{"aXbXc", "X", "--", "a--b--c"}, Row{"aa", "a", "aa", "aaaa"}, Row{"aaa", "aa", "b", "ba"},
          Row{"abab", "ab", "", ""}, Row{"abc", "x", "y", "abc"}, Row{"", "a", "b", ""}}) {
        EXPECT_EQ(row.m_Expected, Velmor::replaceAll(row.m_Text, row.m_From, row.m_To)) << row.m_Text;
    }
}
