// SPDX-License-Identifier: MIT
#include "simulator/store/InfoboxFile.h"

#include <gmock/gmock.h>

namespace infobox = orselsim::infobox;
using orselsim::Bytes;
using orselsim::FromHex;
using orselsim::ToHex;

namespace {

std::string Marked(const std::string& file, const std::string& label, bool makePrivate) {
    Bytes bytes = FromHex(file).value();
    infobox::MarkEntry(bytes, label, makePrivate);
    return ToHex(bytes);
}

} // namespace

TEST(TheInfoboxFile, HasItsEntriesBehindTheHead) {
    EXPECT_EQ("56494B01", ToHex(infobox::MakeFile({}, 0)));
    EXPECT_EQ("56494B01"
              "01000200C001"
              "0A010000",
              ToHex(infobox::MakeFile({{1, 0, {0xC0, 1}}, {10, 1, {}}}, 0)));
    EXPECT_EQ("56494B0100000000", ToHex(infobox::MakeFile({}, 8)));
    EXPECT_EQ(4U + 4 + 258, infobox::MakeFile({{1, 0, Bytes(258)}}, 0).size());
    EXPECT_EQ("56494B0101000201", ToHex(infobox::MakeFile({{1, 0, Bytes(258)}}, 0)).substr(0, 16));
}

TEST(TheInfoboxFile, NamesItsObjectsByTheirTag) {
    EXPECT_EQ("0x01", infobox::ObjectLabel(1));
    EXPECT_EQ("0xab", infobox::ObjectLabel(171));
}

TEST(TheInfoboxFile, MarksThePrivateEntryAlone) {
    const std::string file = "56494B01"
                             "01000100AA"
                             "02000100BB"
                             "02000100CC"
                             "0000";
    EXPECT_EQ("56494B01"
              "01000100AA"
              "02010100BB"
              "02000100CC"
              "0000",
              Marked(file, "0x02", true));
    EXPECT_EQ("56494B01"
              "01010100AA"
              "02000100BB"
              "02000100CC"
              "0000",
              Marked(file, "0x01", true));
    EXPECT_EQ(file, Marked(file, "0x01", false));
    EXPECT_EQ(file, Marked(file, "0x03", true));
    EXPECT_EQ(file, Marked(file, "RFU1", true));
}

TEST(TheInfoboxFile, KeepsTheOtherBitsOfAnEntry) {
    EXPECT_EQ("56494B0101FF0000", Marked("56494B0101FE0000", "0x01", true));
    EXPECT_EQ("56494B0101FE0000", Marked("56494B0101FF0000", "0x01", false));
}

TEST(TheInfoboxFile, ThatIsDamagedStaysAsItIs) {
    for (const char* file :
         {"", "56", "56494B", "56494B01", "58494B0102000000", "56494B010100FFFF", "56494B01020000"}) {
        EXPECT_EQ(file, Marked(file, "0x02", true));
    }
}
