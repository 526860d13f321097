// SPDX-License-Identifier: MIT
#include "tokenlib/Names.h"

#include <gmock/gmock.h>

using namespace tokenlib;

TEST(ConstantNames, AreThoseOfTheStandard) {
    EXPECT_EQ("CKR_OK", ReturnName(CKR_OK));
    EXPECT_EQ("CKR_PIN_LOCKED", ReturnName(0xA4));
    EXPECT_EQ("CKR_FUNCTION_CANCELED", ReturnName(0x50));
    EXPECT_EQ("CKA_VALUE", AttributeName(0x11));
    EXPECT_EQ("CKO_DATA", ClassName(0));
    EXPECT_EQ("CKM_ECDSA_SHA1", MechanismName(0x1042));
}

TEST(ConstantNames, OfUnknownNumbersAreTheNumbers) {
    EXPECT_EQ("0x80000000", ReturnName(CKR_VENDOR_DEFINED));
    EXPECT_EQ("0x80000002", AttributeName(FORCE_SOFTWARE_PIN));
    EXPECT_EQ("0x200", AttributeName(CHANGE_PIN_COMMAND)) << "not by the standard's meaning of this number";
    EXPECT_EQ("0x201", AttributeName(UNBLOCK_PIN_COMMAND));
}

TEST(ConstantNames, AreReadBackLikeNumbers) {
    EXPECT_EQ(0xA0U, ReturnByName("CKR_PIN_INCORRECT"));
    EXPECT_EQ(0xA0U, ReturnByName("0xA0"));
    EXPECT_EQ(0xA0U, ReturnByName("0XA0"));
    EXPECT_EQ(160U, ReturnByName("160"));
    EXPECT_EQ(2U, AttributeByName("CKA_PRIVATE"));
    for (const char* text :
         {"", "0x", "CKR_NOTHING", "ckr_ok", "1 ", " 1", "-1", "0x1G", "99999999999999999999"}) {
        EXPECT_EQ(std::nullopt, ReturnByName(text)) << text;
    }
}
