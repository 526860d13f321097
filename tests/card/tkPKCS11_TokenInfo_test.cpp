// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "tests/card/TokenLibraryMock.h"

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::IsNull;
using testing::NotNull;
using testing::Pointee;
using testing::Return;
using testing::SetArgPointee;
using namespace Velmor;

class GetTokenInfo : public MockedCardTest {
protected:
    /// The library lists slots 100 .. 100+count-1 and answers for one of them.
    void PlanToken(CK_ULONG count, CK_SLOT_ID slot, const CK_TOKEN_INFO& token) {
        const InSequence inThisOrder;
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
            .WillOnce(DoAll(SetArgPointee<2>(count), Return(CKR_OK)));
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), Pointee(count)))
            .WillOnce([count](CK_BBOOL, CK_SLOT_ID* ids, CK_ULONG*) {
                for (CK_ULONG i = 0; i < count; ++i) {
                    ids[i] = 100 + i;
                }
                return CKR_OK;
            });
        EXPECT_CALL(m_Library, GetTokenInfo(slot, _))
            .WillOnce(DoAll(SetArgPointee<1>(token), Return(CKR_OK)));
    }
};

TEST_F(GetTokenInfo, GivesTheFourTextsInTheirWholeWidth) {
    CK_TOKEN_INFO token = Token("Karte", "123", "Modell", "Hersteller");
    token.label[7] = 0; // does not end the text here
    PlanToken(3, 102, token);
    TokenInfoStruct info;
    ASSERT_TRUE(m_Card.GetTokenInfo(2, info));
    EXPECT_EQ(info.m_Label, std::string("Karte  \0", 8) + std::string(24, ' '));
    EXPECT_EQ(info.m_ManufacturerId, "Hersteller" + std::string(22, ' '));
    EXPECT_EQ(info.m_Model, "Modell          ");
    EXPECT_EQ(info.m_Serial, "123             ");
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(GetTokenInfo, FailsBehindTheLastTokenWithoutAWord) {
    for (const unsigned long index : {2UL, 3UL, ~0UL}) {
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
            .WillOnce(DoAll(SetArgPointee<2>(2), Return(CKR_OK)));
        TokenInfoStruct info = {"l", "h", "m", "s"};
        EXPECT_FALSE(m_Card.GetTokenInfo(index, info)) << index;
        EXPECT_EQ(info.m_Label + info.m_ManufacturerId + info.m_Model + info.m_Serial, "lhms");
    }
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(GetTokenInfo, FailsWhenTheTokenGoesBetweenTheTwoCalls) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
        .WillOnce(DoAll(SetArgPointee<2>(2), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), _))
        .WillOnce(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
    TokenInfoStruct info;
    EXPECT_FALSE(m_Card.GetTokenInfo(1, info));
}

TEST_F(GetTokenInfo, FailsOnACountThatNoReaderStackHas) {
    for (const CK_ULONG count : {0x10001UL, ~0UL}) {
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
            .WillOnce(DoAll(SetArgPointee<2>(count), Return(CKR_OK)));
        TokenInfoStruct info;
        EXPECT_FALSE(m_Card.GetTokenInfo(0, info)) << count;
    }
}

TEST_F(GetTokenInfo, TakesTheLargestCountThatIsLessThanThat) {
    PlanToken(0x10000, 100, Token("Karte", "123", "Modell", "Hersteller"));
    TokenInfoStruct info;
    EXPECT_TRUE(m_Card.GetTokenInfo(0, info));
}

TEST_F(GetTokenInfo, ReportsWhichCallFailedAndLeavesTheRecordAlone) {
    TokenInfoStruct2 info;
    info.m_Label = "alt";
    info.m_HasInfobox = true;

    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_FALSE(m_Card.GetTokenInfo(0, info));
    {
        const InSequence inThisOrder;
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
            .WillOnce(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), _)).WillOnce(Return(CKR_DEVICE_MEMORY));
    }
    EXPECT_FALSE(m_Card.GetTokenInfo(0, info));
    {
        const InSequence inThisOrder;
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, _, _))
            .Times(2)
            .WillRepeatedly(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
        EXPECT_CALL(m_Library, GetTokenInfo(_, _)).WillOnce(Return(CKR_DEVICE_REMOVED));
    }
    EXPECT_FALSE(m_Card.GetTokenInfo(0, info));

    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetSlotList(1) ERROR0x30",
                                           "E PKCS11 Proc_C_GetSlotList(2) ERROR0x31",
                                           "E PKCS11 Proc_C_GetTokenInfo ERROR0x32"));
    EXPECT_EQ(info.m_Label, "alt");
    EXPECT_TRUE(info.m_HasInfobox);
}

struct ClassificationRow {
    const char* m_Model;
    const char* m_Label;
    SignKey m_EncKeyType;
    unsigned int m_EncKeyBits;
    SignKey m_SigKeyType;
    unsigned int m_SigKeyBits;
    TokenType m_TokenType;
    bool m_HasInfobox;
};

TEST_F(GetTokenInfo, ClassifiesByModelAndLabel) {
    const ClassificationRow rows[] = {
        {"ACOS EMV-A03", "irgendwas", KEY_RSA, 1536, KEY_ECC, 192, TOKEN_ACOS_03, false},
        {"ACOS EMV-A04xx", "", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ACOS_04, true},
        {"ACOS EMV-A05", "irgendwas", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ACOS_05, true},
        {"ATOS 5.3", "Orsel Carta e-Card", KEY_RSA, 2048, KEY_ECC, 256, TOKEN_ECARD_G4, true},
        {"Starcos SPK 3.4+", "Orsel Carta e", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ECARD_G3B, true},
        {"Starcos SPK 3.4", "Orsel Carta e", KEY_RSA, 1536, KEY_ECC, 256, TOKEN_ECARD_G3A, false},
        {"Starcos SPK 3.1", "Orsel Carta e", KEY_ECC, 192, KEY_ECC, 192, TOKEN_ECARD_G2, false},
        {"CardOS 5.3", "irgendwas", KEY_RSA, 2048, KEY_ECC, 256, TOKEN_CARDOS_53, true},
    };
    for (const ClassificationRow& row : rows) {
        SCOPED_TRACE(row.m_Model);
        PlanToken(1, 100, Token(row.m_Label, "1", row.m_Model));
        TokenInfoStruct2 info;
        info.m_HasInfobox = !row.m_HasInfobox;
        ASSERT_TRUE(m_Card.GetTokenInfo(0, info));
        EXPECT_EQ(info.m_EncKeyType, row.m_EncKeyType);
        EXPECT_EQ(info.m_EncKeyBits, row.m_EncKeyBits);
        EXPECT_EQ(info.m_SigKeyType, row.m_SigKeyType);
        EXPECT_EQ(info.m_SigKeyBits, row.m_SigKeyBits);
        EXPECT_EQ(info.m_TokenType, row.m_TokenType);
        EXPECT_EQ(info.m_HasInfobox, row.m_HasInfobox);
        EXPECT_EQ(info.m_Serial, "1               ");
    }
}

TEST_F(GetTokenInfo, ASecondFormGivesTheFourTextsToo) {
    PlanToken(1, 100, Token("Karte", "123", "Modell", "Hersteller"));
    TokenInfoStruct2 info;
    ASSERT_TRUE(m_Card.GetTokenInfo(0, info));
    EXPECT_EQ(info.m_Label, "Karte" + std::string(27, ' '));
    EXPECT_EQ(info.m_ManufacturerId, "Hersteller" + std::string(22, ' '));
    EXPECT_EQ(info.m_Model, "Modell          ");
    EXPECT_EQ(info.m_Serial, "123             ");
}

TEST_F(GetTokenInfo, LeavesTheKindOfAnUnrecognisedTokenAsTheCallerSetIt) {
    const std::pair<const char*, const char*> tokens[] = {
        {"Starcos SPK 3.4", "Orsel Carta ACOS"},
        {"Starcos SPK 3.4+", "orsel carta e"},
        {"Starcos SPK 3.1", "Carta"},
        {"ATOS 5.3", "CardOS 5.3"},
        {"acos EMV-A03", "Orsel Carta e"},
        {"", ""},
    };
    for (const auto& [model, label] : tokens) {
        SCOPED_TRACE(model);
        PlanToken(1, 100, Token(label, "1", model));
        TokenInfoStruct2 info = {"", "", "", "", KEY_ECC, 11, KEY_RSA, 12, TOKEN_ECARD_G2, true};
        ASSERT_TRUE(m_Card.GetTokenInfo(0, info));
        EXPECT_EQ(info.m_EncKeyType, KEY_ECC);
        EXPECT_EQ(info.m_EncKeyBits, 11U);
        EXPECT_EQ(info.m_SigKeyType, KEY_RSA);
        EXPECT_EQ(info.m_SigKeyBits, 12U);
        EXPECT_EQ(info.m_TokenType, TOKEN_ECARD_G2);
        EXPECT_FALSE(info.m_HasInfobox);
    }
}
