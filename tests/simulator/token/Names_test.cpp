// SPDX-License-Identifier: MIT
#include "simulator/token/Names.h"

#include <gmock/gmock.h>

using namespace orselsim;

TEST(ConstantNames, AreThoseOfTheStandard) {
    EXPECT_EQ("CKR_OK", returnName(CKR_OK));
    EXPECT_EQ("CKR_PIN_LOCKED", returnName(0xA4));
    EXPECT_EQ("CKR_FUNCTION_CANCELED", returnName(0x50));
    EXPECT_EQ("CKA_VALUE", attributeName(0x11));
    EXPECT_EQ("CKO_DATA", className(0));
    EXPECT_EQ("CKM_ECDSA_SHA1", mechanismName(0x1042));
}

TEST(ConstantNames, OfUnknownNumbersAreTheNumbers) {
    EXPECT_EQ("0x80000000", returnName(CKR_VENDOR_DEFINED));
    EXPECT_EQ("0x80000002", attributeName(forceSoftwarePin));
    EXPECT_EQ("0x200", attributeName(changePinCommand)) << "not by the standard's meaning of this number";
    EXPECT_EQ("0x201", attributeName(unblockPinCommand));
}

TEST(ConstantNames, AreReadBackLikeNumbers) {
    EXPECT_EQ(0xA0U, returnByName("CKR_PIN_INCORRECT"));
    EXPECT_EQ(0xA0U, returnByName("0xA0"));
    EXPECT_EQ(0xA0U, returnByName("0XA0"));
    EXPECT_EQ(160U, returnByName("160"));
    EXPECT_EQ(2U, attributeByName("CKA_PRIVATE"));
    for (const char* text :
         {"", "0x", "CKR_NOTHING", "ckr_ok", "1 ", " 1", "-1", "0x1G", "99999999999999999999"})
        EXPECT_EQ(std::nullopt, returnByName(text)) << text;
}
