// SPDX-License-Identifier: MIT
#include "tokenlib/Hex.h"

#include <gmock/gmock.h>

using tokenlib::Bytes;
using tokenlib::FromHex;
using tokenlib::ToHex;

TEST(HexText, HasTwoUpperCaseDigitsAByte) {
    EXPECT_EQ("", ToHex({}));
    EXPECT_EQ("000AFF", ToHex({0x00, 0x0A, 0xFF}));
}

TEST(HexText, IsReadInEitherCase) {
    EXPECT_EQ(Bytes({0x0A, 0xFF}), FromHex("0aFf"));
    EXPECT_EQ(Bytes(), FromHex(""));
}

TEST(HexText, IsRefusedWithAnythingElseInIt) {
    for (const char* text : {"0", "0G", "G0", "0x01", " 01", "01 ", "0:"}) {
        EXPECT_EQ(std::nullopt, FromHex(text)) << text;
    }
}
