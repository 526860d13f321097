// SPDX-License-Identifier: MIT
#include "simulator/store/PinRecord.h"

#include <gmock/gmock.h>

using orselsim::CountedSecret;
using orselsim::HashedSecret;
using orselsim::PinRecord;

TEST(AHashedSecret, MatchesItselfAlone) {
    const HashedSecret secret = HashedSecret::Of("123456");
    EXPECT_TRUE(secret.Matches("123456"));
    for (const char* other : {"", "12345", "1234567", "123457"}) {
        EXPECT_FALSE(secret.Matches(other)) << other;
    }
}

TEST(AHashedSecret, HasASaltOfItsOwn) {
    const HashedSecret a = HashedSecret::Of("1234");
    const HashedSecret b = HashedSecret::Of("1234");
    EXPECT_NE(a.m_Salt, b.m_Salt);
    EXPECT_NE(a.m_Hash, b.m_Hash);
}

TEST(ACountedSecret, LosesATryWithEachMistakeAndGetsThemBack) {
    CountedSecret secret;
    secret.m_Secret = HashedSecret::Of("1234");
    EXPECT_FALSE(secret.Check("0000"));
    EXPECT_FALSE(secret.Check("0000"));
    EXPECT_EQ(1U, secret.m_TriesLeft);
    EXPECT_TRUE(secret.Check("1234"));
    EXPECT_EQ(3U, secret.m_TriesLeft);
}

TEST(ACountedSecret, MatchesNothingOnceItIsBlocked) {
    CountedSecret secret;
    secret.m_Secret = HashedSecret::Of("1234");
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(secret.Check("0000"));
    }
    EXPECT_TRUE(secret.IsBlocked());
    EXPECT_FALSE(secret.Check("1234"));
    EXPECT_EQ(0U, secret.m_TriesLeft);
}

TEST(ACountedSecret, MatchesNothingBeforeItIsSet) {
    CountedSecret secret;
    EXPECT_FALSE(secret.Check(""));
    EXPECT_EQ(3U, secret.m_TriesLeft);
}

TEST(APin, TakesDigitsOfItsLengthOnly) {
    PinRecord pin;
    pin.m_MinLength = 4;
    pin.m_MaxLength = 6;
    for (const char* good : {"1234", "12345", "000000"}) {
        EXPECT_TRUE(pin.Accepts(good)) << good;
    }
    for (const char* bad : {"", "123", "1234567", "12a4", "12 4", "１２３４"}) {
        EXPECT_FALSE(pin.Accepts(bad)) << bad;
    }
}

TEST(APin, IsInitialisedOnceItIsSet) {
    PinRecord pin;
    pin.m_Pin.m_TriesLeft = 0;
    EXPECT_FALSE(pin.IsInitialised());
    pin.Set("1234");
    EXPECT_TRUE(pin.IsInitialised());
    EXPECT_EQ(3U, pin.m_Pin.m_TriesLeft);
    EXPECT_TRUE(pin.m_Pin.Check("1234"));
}
