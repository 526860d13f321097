// SPDX-License-Identifier: MIT
#include "bridge/Serials.h"

#include <gmock/gmock.h>

#include "tokenlib/Output.h"

using namespace orselbridge;

namespace {

ListedToken Token(CK_SLOT_ID slot, const std::string& label, const std::string& serial,
                  const std::string& reader = "reader") {
    ListedToken token;
    token.m_Slot = slot;
    tokenlib::FillField(token.m_Info.label, label);
    tokenlib::FillField(token.m_Info.serialNumber, serial);
    token.m_SlotDescription = reader;
    return token;
}

} // namespace

TEST(TheSerialsOfTokens, AreTheirOwnWhereTheyTellThemApart) {
    const auto serials = SerialsOf({Token(1, "a", "0123"), Token(2, "b", "4567")});
    EXPECT_EQ("0123", serials[0].second);
    EXPECT_EQ("4567", serials[1].second);
}

TEST(TheSerialsOfTokens, AreMadeWhereThereIsNone) {
    const auto serials = SerialsOf({Token(1, "a", ""), Token(2, "b", "")});
    EXPECT_EQ(16U, serials[0].second.size());
    EXPECT_NE(serials[0].second, serials[1].second);
    EXPECT_EQ(serials[1].second, SerialsOf({Token(7, "b", "")})[0].second) << "in any slot, beside any token";
}

TEST(TheSerialsOfTokens, AreMadeForTheSecondWithTheSame) {
    const auto serials = SerialsOf({Token(1, "PIN 1", "0123"), Token(2, "PIN 2", "0123")});
    EXPECT_EQ("0123", serials[0].second);
    EXPECT_NE("0123", serials[1].second);
}

TEST(TheSerialsOfTokens, GoByTheReaderWhereTokensAreAlike) {
    const auto serials =
        SerialsOf({Token(1, "a", "", "left"), Token(2, "a", "", "right"), Token(3, "a", "", "third")});
    EXPECT_NE(serials[0].second, serials[1].second);
    EXPECT_NE(serials[1].second, serials[2].second);
}

TEST(TheSerialsOfTokens, OfCardsThatNobodyHasPersonalisedStayZero) {
    const std::string zeros(16, '0');
    const auto serials = SerialsOf({Token(1, "", zeros), Token(2, "", zeros)});
    EXPECT_EQ(zeros, serials[0].second);
    EXPECT_EQ(zeros, serials[1].second);
}

TEST(TheSerialsOfTokens, OfTheFamilysCardsMayBeZeroAlthoughTheyHavePins) {
    const std::string zeros(16, '0');
    ListedToken token = Token(1, "", zeros);
    token.m_Info.flags = CKF_USER_PIN_INITIALIZED;
    tokenlib::FillField(token.m_Info.model, "CardOS 5.3");
    EXPECT_EQ(zeros, SerialsOf({token})[0].second);
}

TEST(TheSerialsOfTokens, AreMadeWhereALibraryWritesZerosForWantOfOne) {
    const std::string zeros(16, '0');
    ListedToken token = Token(1, "Maria Muster", zeros);
    token.m_Info.flags = CKF_USER_PIN_INITIALIZED;
    EXPECT_NE(zeros, SerialsOf({token})[0].second);
    EXPECT_EQ(16U, SerialsOf({token})[0].second.size());
}

TEST(AFieldOfText, EndsAtItsZeroByteOrItsBlanks) {
    const unsigned char blanks[8] = {'a', ' ', 'b', ' ', ' ', ' ', ' ', ' '};
    const unsigned char zero[4] = {'a', 0, 'b', 'c'};
    const unsigned char full[2] = {'a', 'b'};
    EXPECT_EQ("a b", FieldText(blanks));
    EXPECT_EQ("a", FieldText(zero));
    EXPECT_EQ("ab", FieldText(full));
}
