// SPDX-License-Identifier: MIT
// Words, names and tables: what needs no card.
#include <gmock/gmock.h>

#include <clocale>

#include "cli/Names.h"
#include "cli/Table.h"
#include "cli/Words.h"
#include "tests/support/CommandOutput.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using orselcli::Bytes;
using orselcli::BytesOfHex;
using orselcli::ColumnsOf;
using orselcli::CutTo;
using orselcli::Fields;
using orselcli::Filled;
using orselcli::Harmless;
using orselcli::HexDump;
using orselcli::InLocaleCharacters;
using orselcli::Table;
using testing::ElementsAre;

TEST(TextFromACard, CannotSteerATerminal) {
    EXPECT_EQ(Harmless("plain J\u00f6rg \u20ac"), "plain J\u00f6rg \u20ac");
    EXPECT_EQ(Harmless("a\033[31mb\nc\x7f"), "a?[31mb?c?");
    EXPECT_EQ(Harmless("\u009b\u202e\u200b"), "???");
    EXPECT_EQ(Harmless("\u2066\u2069\ufeff\u2028"), "????");
    EXPECT_EQ(Harmless("\u2065\u206a\u2010\u2030\u00a0\ue000"), "\u2065\u206a\u2010\u2030\u00a0\ue000");
}

TEST(TextFromACard, IsUtf8OrQuestionMarks) {
    EXPECT_EQ(Harmless("M\xfcller"), "M?ller");
    EXPECT_EQ(Harmless("\xc0\xaf"), "??");      // longer than needed
    EXPECT_EQ(Harmless("\xed\xa0\x80"), "???"); // half of a pair
    EXPECT_EQ(Harmless("\xf4\x90\x80\x80"), "????");
    EXPECT_EQ(Harmless("cut \xe2\x82"), "cut ??");
    EXPECT_EQ(Harmless("\xe2x\x82 \xe2\x82y"), "?x? ??y"); // broken off in the middle
    EXPECT_EQ(Harmless("\xf5\x80\x80\x80"), "????");
}

TEST(ATextForTheTerminal, IsInTheLocalesCharacters) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    EXPECT_EQ(InLocaleCharacters("Gr\u00fc\u00dfe"), "Gr\u00fc\u00dfe");
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(InLocaleCharacters("Gr\u00fc\u00dfe"), "Gr\u00fc\u00dfe");
    const TempDir locales;
    const std::string name = "de_DE.ISO-8859-1";
    const std::string said = OutputOf("localedef -f ISO-8859-1 -i de_DE " + locales.Path(name) + " 2>&1");
    const ScopedVariable path("LOCPATH", locales.Path());
    ASSERT_NE(nullptr, std::setlocale(LC_CTYPE, name.c_str())) << said;
    EXPECT_EQ(InLocaleCharacters("Gr\u00fc\u00dfe \u2013 \u20ac"), "Gr\xfc\xdf"
                                                                   "e - EUR");
    EXPECT_EQ(InLocaleCharacters("cut \xe2\x82"), "cut \xe2\x82") << "what is no text stays";
    std::setlocale(LC_CTYPE, "C.UTF-8");
}

TEST(ATextThatIsTooWide, EndsWithAnEllipsis) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    EXPECT_EQ(CutTo("Müller", 6), "Müller");
    EXPECT_EQ(CutTo("Müller", 4), "Mül\u2026");
    EXPECT_EQ(CutTo("Müller", 0), "");
    EXPECT_EQ(ColumnsOf("Mü"), 2U);
}

TEST(PlacesInAText, AreFilledInOrder) {
    EXPECT_EQ(Filled("{} of {}", {"1", "2"}), "1 of 2");
    EXPECT_EQ(Filled("{}", {"{}", "x"}), "{}"); // an argument is no place
    EXPECT_EQ(Filled("none", {"1"}), "none");
}

TEST(ATable, LinesItsColumnsUp) {
    Table table({"", "Name"});
    table.Add({"@1", "Jörg"});
    table.Add({"@10", ""});
    EXPECT_THAT(table.Lines(0), ElementsAre("     Name", "@1   Jörg", "@10"));
}

TEST(ATable, FitsItsWidth) {
    Table table({"A", "B"});
    table.Add({"short", "a text that is far too long for this"});
    for (const std::string& line : table.Lines(20)) {
        EXPECT_LE(ColumnsOf(line), 20U);
    }
    EXPECT_EQ(table.Lines(20)[1], "short  a text that \u2026");
}

TEST(AFieldThatIsTooWide, GoesOnBelowItself) {
    const std::vector<std::pair<std::string, std::string>> fields = {{"Name", "Jörg"},
                                                                     {"Keys", "one, two, three, four"}};
    EXPECT_EQ(Fields(fields, 16), "Name:  Jörg\n"
                                  "Keys:  one, two,\n"
                                  "       three,\n"
                                  "       four\n");
    EXPECT_EQ(Fields(fields, 0), "Name:  Jörg\nKeys:  one, two, three, four\n");
    EXPECT_EQ(Fields({{"Name", "unbreakable"}}, 12), "Name:  unbreakable\n");
    EXPECT_EQ(Fields({{"Name", ""}}, 12), "Name:  \n");
}

TEST(Hexadecimal, TakesBlanksAndColonsBetweenDigits) {
    Bytes bytes;
    EXPECT_TRUE(BytesOfHex("00 A4:0c", bytes));
    EXPECT_EQ(bytes, (Bytes{0x00, 0xA4, 0x0C}));
    for (const char* bad : {"", " ", "0", "0g", "0x00", "-1", "00 1"}) {
        EXPECT_FALSE(BytesOfHex(bad, bytes)) << bad;
    }
}

TEST(ADump, ShowsOffsetBytesAndCharacters) {
    const std::string text = "0123456789abcdef\n";
    EXPECT_EQ(HexDump(Bytes(text.begin(), text.end())),
              "00000000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  0123456789abcdef\n"
              "00000010  0a                                               .\n");
}
