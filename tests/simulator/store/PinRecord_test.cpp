// SPDX-License-Identifier: MIT
#include "simulator/store/PinRecord.h"

#include <gmock/gmock.h>

using orselsim::CountedSecret;
using orselsim::HashedSecret;
using orselsim::PinRecord;

TEST(AHashedSecret, MatchesItselfAlone) {
    const HashedSecret secret = HashedSecret::of("123456");
    EXPECT_TRUE(secret.matches("123456"));
    for (const char* other : {"", "12345", "1234567", "123457"})
        EXPECT_FALSE(secret.matches(other)) << other;
}

TEST(AHashedSecret, HasASaltOfItsOwn) {
    const HashedSecret a = HashedSecret::of("1234");
    const HashedSecret b = HashedSecret::of("1234");
    EXPECT_NE(a.salt, b.salt);
    EXPECT_NE(a.hash, b.hash);
}

TEST(ACountedSecret, LosesATryWithEachMistakeAndGetsThemBack) {
    CountedSecret secret;
    secret.secret = HashedSecret::of("1234");
    EXPECT_FALSE(secret.check("0000"));
    EXPECT_FALSE(secret.check("0000"));
    EXPECT_EQ(1U, secret.triesLeft);
    EXPECT_TRUE(secret.check("1234"));
    EXPECT_EQ(3U, secret.triesLeft);
}

TEST(ACountedSecret, MatchesNothingOnceItIsBlocked) {
    CountedSecret secret;
    secret.secret = HashedSecret::of("1234");
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(secret.check("0000"));
    EXPECT_TRUE(secret.isBlocked());
    EXPECT_FALSE(secret.check("1234"));
    EXPECT_EQ(0U, secret.triesLeft);
}

TEST(ACountedSecret, MatchesNothingBeforeItIsSet) {
    CountedSecret secret;
    EXPECT_FALSE(secret.check(""));
    EXPECT_EQ(3U, secret.triesLeft);
}

TEST(APin, TakesDigitsOfItsLengthOnly) {
    PinRecord pin;
    pin.minLength = 4;
    pin.maxLength = 6;
    for (const char* good : {"1234", "12345", "000000"})
        EXPECT_TRUE(pin.accepts(good)) << good;
    for (const char* bad : {"", "123", "1234567", "12a4", "12 4", "１２３４"})
        EXPECT_FALSE(pin.accepts(bad)) << bad;
}

TEST(APin, IsInitialisedOnceItIsSet) {
    PinRecord pin;
    pin.pin.triesLeft = 0;
    EXPECT_FALSE(pin.isInitialised());
    pin.set("1234");
    EXPECT_TRUE(pin.isInitialised());
    EXPECT_EQ(3U, pin.pin.triesLeft);
    EXPECT_TRUE(pin.pin.check("1234"));
}
