// SPDX-License-Identifier: MIT
#include "viewer/VisibleText.h"

#include <gtest/gtest.h>

using viewer::CutText;
using viewer::VisibleText;

TEST(VisibleText, LeavesOrdinaryTextInAnyScriptAlone) {
    for (const char* text :
         {"", "Erika Müßig", "山田 太郎", "Παπαδόπουλος", "שלום", "a\u0301", "😀", "<U+202E>", "\U0010fffd"}) {
        EXPECT_EQ(text, VisibleText(text));
    }
}

TEST(VisibleText, NamesControlCharacters) {
    EXPECT_EQ("a<U+0000>b<U+000A>c<U+001B>[31m<U+007F><U+0085>",
              VisibleText(std::string("a\0b\nc\x1b[31m\x7f\u0085", 13)));
    EXPECT_EQ("<U+0009><U+000D>", VisibleText("\t\r"));
}

TEST(VisibleText, NamesWhatTurnsTheDirectionOrHasNoShape) {
    struct {
        const char* m_Text;
        const char* m_Shown;
    } const cases[] = {
        {"\u202egpj.exe", "<U+202E>gpj.exe"},
        {"\u200f", "<U+200F>"},
        {"\u2066x\u2069", "<U+2066>x<U+2069>"},
        {"\u061c", "<U+061C>"},
        {"\u200b", "<U+200B>"},
        {"\u00ad", "<U+00AD>"},
        {"\u2028\u2029", "<U+2028><U+2029>"},
        {"\ufeff", "<U+FEFF>"},
        {"\u3164", "<U+3164>"},
        {"\U000e0041", "<U+E0041>"},
        {"\u202a", "<U+202A>"},
        {"\u2060", "<U+2060>"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(row.m_Shown, VisibleText(row.m_Text));
    }
}

TEST(VisibleText, NamesBytesThatAreNoUtf8) {
    EXPECT_EQ("J<0xF6>rg", VisibleText("J\xf6rg"));
    EXPECT_EQ("<0xC3>", VisibleText("\xc3"));                               // broken off
    EXPECT_EQ("<0xC0><0x80>", VisibleText("\xc0\x80"));                     // longer than need be
    EXPECT_EQ("<0xE0><0x80><0xAF>", VisibleText("\xe0\x80\xaf"));           // as well
    EXPECT_EQ("<0xED><0xA0><0x80>", VisibleText("\xed\xa0\x80"));           // half of a pair
    EXPECT_EQ("<0xF4><0x90><0x80><0x80>", VisibleText("\xf4\x90\x80\x80")); // beyond the last character
    EXPECT_EQ("<0xFF>ä", VisibleText("\xff\xc3\xa4"));
}

TEST(VisibleText, IsAlwaysTextForTheToolkit) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
        EXPECT_FALSE(viewer::FromUtf8(VisibleText(all)).empty()) << byte;
    }
}

TEST(CutText, KeepsWholeCharacters) {
    EXPECT_EQ("äö", CutText("äö", 4));
    EXPECT_EQ("ä…", CutText("äö", 3));
    EXPECT_EQ("ä…", CutText("äö", 2));
    EXPECT_EQ("…", CutText("äö", 1));
    EXPECT_EQ("", CutText("", 0));
}
