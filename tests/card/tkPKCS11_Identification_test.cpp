// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "tests/card/TokenLibraryMock.h"

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using testing::SetArgPointee;
using testing::StrEq;
using namespace Velmor;

class Identification : public MockedCardTest {
protected:
    void SetUp() override {
        MockedCardTest::SetUp();
        m_Card.m_hSession = 9;
        m_Card.m_Slots.push_back(new SlotStruct{100, "Karte", "1"});
        m_Card.m_SlotIndex = 0;
    }

    /// Plans one read of a property through a buffer of this capacity.
    void PlanAttribute(const char* name, unsigned long capacity, std::vector<unsigned char> value) {
        EXPECT_CALL(m_Library, CardAttribute(9, StrEq(name), _, testing::Pointee(capacity)))
            .WillOnce([value](auto, auto, unsigned char* out, unsigned long* length) {
                std::copy(value.begin(), value.end(), out);
                *length = value.size();
                return CKR_OK;
            });
    }
    void PlanModel(const std::string& model) {
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, _, _))
            .Times(2)
            .WillRepeatedly(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
        EXPECT_CALL(m_Library, GetTokenInfo(_, _))
            .WillOnce(DoAll(SetArgPointee<1>(Token("Karte", "1", model)), Return(CKR_OK)));
    }
};

constexpr const char* ACOS_ATR = "3BBF11008131FE45455041";

// --- ReadATR, SetAtr, Reset --------------------------------------------------------------------------------

TEST_F(Identification, TheAtrIsUpperCaseHexadecimalTextWithoutBlanks) {
    PlanAttribute("ATR", 1024, {0x3B, 0xDF, 0x0A, 0xfe});
    EXPECT_EQ(m_Card.ReadATR(false), "3BDF0AFE");
    EXPECT_EQ(m_Card.m_Atr, "3BDF0AFE");
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Identification, ACachedAtrIsReadAgainOnlyByForce) {
    m_Card.m_Atr = "3B01";
    EXPECT_EQ(m_Card.ReadATR(false), "3B01");
    PlanAttribute("ATR", 1024, {0x3B, 0x02});
    EXPECT_EQ(m_Card.ReadATR(true), "3B02");
}

TEST_F(Identification, AnAtrThatCannotBeReadIsEmptyAndReported) {
    m_Card.m_Atr = "3B01";
    EXPECT_CALL(m_Library, CardAttribute(_, _, _, _)).WillOnce(Return(CKR_DEVICE_REMOVED));
    EXPECT_EQ(m_Card.ReadATR(true), "");
    EXPECT_EQ(m_Card.m_Atr, "");
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E Failed get ATR, rv = 0x32"));
}

TEST_F(Identification, AnAtrLongerThanTheBufferIsAFailedRead) {
    EXPECT_CALL(m_Library, CardAttribute(_, _, _, _)).WillOnce(DoAll(SetArgPointee<3>(1025), Return(CKR_OK)));
    EXPECT_EQ(m_Card.ReadATR(false), "");
    EXPECT_THAT(m_Log.Errors(), testing::SizeIs(1));
    EXPECT_CALL(m_Library, CardAttribute(_, _, _, _)).WillOnce(DoAll(SetArgPointee<3>(257), Return(CKR_OK)));
    EXPECT_EQ(m_Card.Reset(), "");
    EXPECT_THAT(m_Log.Errors(), testing::SizeIs(2));
}

TEST_F(Identification, AnAtrThatFillsTheBufferIsTaken) {
    PlanAttribute("ATR", 1024, std::vector<unsigned char>(1024, 0x3B));
    EXPECT_EQ(m_Card.ReadATR(false).length(), 2048U);
}

TEST_F(Identification, WithoutTheVendorEntryPointThereIsNoAtrAndNoWord) {
    tkPKCS11::Proc_C_CardAttribute = nullptr;
    m_Card.m_Atr = "3B01";
    EXPECT_EQ(m_Card.ReadATR(false), "");
    EXPECT_EQ(m_Card.Reset(), "");
    EXPECT_EQ(m_Card.m_Atr, "3B01");
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Identification, SetAtrReplacesTheCachedText) {
    unsigned char bytes[] = {0x3B, 0xAB};
    m_Card.SetAtr(bytes, 2);
    EXPECT_EQ(m_Card.m_Atr, "3BAB");
    m_Card.SetAtr(bytes, 0);
    EXPECT_EQ(m_Card.m_Atr, "");
}

TEST_F(Identification, AResetGivesTheNewAtrThroughASmallerBuffer) {
    m_Card.m_Atr = "3B01";
    PlanAttribute("Reset", 256, {0x3B, 0x77});
    EXPECT_EQ(m_Card.Reset(), "3B77");
    EXPECT_EQ(m_Card.m_Atr, "3B77");
}

TEST_F(Identification, AFailedResetForgetsTheAtrAndIsReportedWithoutABlank) {
    m_Card.m_Atr = "3B01";
    EXPECT_CALL(m_Library, CardAttribute(_, StrEq("Reset"), _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_EQ(m_Card.Reset(), "");
    EXPECT_EQ(m_Card.m_Atr, "");
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E Failed do Reset, rv =0x30"));
}

// --- AtrCmp ------------------------------------------------------------------------------------------------

TEST_F(Identification, AtrsAreComparedByPrefixAndCase) {
    EXPECT_TRUE(m_Card.AtrCmp("3BBF11", "3BBF"));
    EXPECT_TRUE(m_Card.AtrCmp("3BBF", "3BBF"));
    EXPECT_TRUE(m_Card.AtrCmp("", ""));
    EXPECT_FALSE(m_Card.AtrCmp("3BB", "3BBF"));
    EXPECT_FALSE(m_Card.AtrCmp("3bbf11", "3BBF"));
    EXPECT_FALSE(m_Card.AtrCmp("003BBF", "3BBF"));
}

// --- LoadCardType, GetCardType -----------------------------------------------------------------------------

TEST_F(Identification, EveryKnownAtrGivesItsCardType) {
    const std::pair<const char*, int> rows[] = {
        {"3BBF94008131FE65454C55204175737472696129312E313B", CARD_ELU},
        {"3BBD18008131FE45805102", CARD_ECARD_G2},
        {"3BDD96FF81B1FE451F038031B0520203", CARD_ECARD_G3A},
        {"3BDF18008131FE588031B05202046405C903AC73B7B1D422", CARD_ECARD_G3B},
        {"3BDF18008131FE588031905241016405C903AC73B7B1D444", CARD_CARDOS},
    };
    for (const auto& [atr, type] : rows) {
        for (const char* rest : {"", "0102"}) {
            m_Card.m_Atr = std::string(atr) + rest;
            EXPECT_TRUE(m_Card.LoadCardType()) << atr;
            EXPECT_EQ(m_Card.m_CardType, type) << atr;
        }
    }
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Identification, OneAtrCoversThreeAcosGenerationsToldApartByTheModel) {
    const std::pair<const char*, int> rows[] = {
        {"ACOS EMV-A03", CARD_ACOS_A03},    {"ACOS EMV-A04", CARD_ACOS_A04}, {"ACOS EMV-A05", CARD_ACOS_A05},
        {"ACOS EMV-A05xyz", CARD_ACOS_A05}, {"Anderes", CARD_ACOS_A03},
    };
    for (const auto& [model, type] : rows) {
        m_Card.m_Atr = ACOS_ATR;
        PlanModel(model);
        EXPECT_TRUE(m_Card.LoadCardType()) << model;
        EXPECT_EQ(m_Card.m_CardType, type) << model;
    }
}

TEST_F(Identification, AnAcosCardWhoseModelCannotBeReadIsTheOldestGeneration) {
    m_Card.m_Atr = ACOS_ATR;
    EXPECT_CALL(m_Library, GetSlotList(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_TRUE(m_Card.LoadCardType());
    EXPECT_EQ(m_Card.m_CardType, CARD_ACOS_A03);
}

TEST_F(Identification, AnUnknownAtrIsReportedAndLeavesTheTypeUnknown) {
    m_Card.m_CardType = CARD_CARDOS;
    m_Card.m_Atr = "3BBF1100";
    EXPECT_FALSE(m_Card.LoadCardType());
    EXPECT_EQ(m_Card.m_CardType, CARD_UNKNOWN);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E Unknown atr=3BBF1100"));
}

TEST_F(Identification, ALibraryWithoutTheVendorEntryPointGivesAnUnknownCard) {
    tkPKCS11::Proc_C_CardAttribute = nullptr;
    EXPECT_FALSE(m_Card.LoadCardType());
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E Unknown atr="));
}

TEST_F(Identification, WithoutASessionThereIsNoCardType) {
    m_Card.m_CardType = CARD_CARDOS;
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.LoadCardType());
    EXPECT_EQ(m_Card.m_CardType, CARD_UNKNOWN);
    m_Card.m_hSession = 9;
    for (const int index : {-1, 1}) {
        m_Card.m_SlotIndex = index;
        EXPECT_FALSE(m_Card.LoadCardType());
    }
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E no session (1)", "E no session (2)", "E no session (2)"));
}

TEST_F(Identification, ACachedAtrDecidesAlsoAfterAChangeOfCard) {
    PlanAttribute("ATR", 1024, {0x3B, 0xBD, 0x18, 0x00, 0x81, 0x31, 0xFE, 0x45, 0x80, 0x51, 0x02});
    EXPECT_TRUE(m_Card.LoadCardType());
    EXPECT_TRUE(m_Card.LoadCardType()); // no second read is planned
    EXPECT_EQ(m_Card.m_CardType, CARD_ECARD_G2);
}

TEST_F(Identification, GetCardTypeLoadsOnlyWhileTheTypeIsUnknown) {
    m_Card.m_CardType = CARD_CARDOS;
    EXPECT_EQ(m_Card.GetCardType(), CARD_CARDOS);
    m_Card.m_CardType = CARD_UNKNOWN;
    m_Card.m_Atr = "FF";
    EXPECT_EQ(m_Card.GetCardType(), CARD_UNKNOWN);
    EXPECT_EQ(m_Card.GetCardType(), CARD_UNKNOWN);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Unknown atr=FF", "Unknown atr=FF"));
    m_Card.m_Atr = "3BBD18008131FE45805102";
    EXPECT_EQ(m_Card.GetCardType(), CARD_ECARD_G2);
}

TEST_F(Identification, TheKindOfCardFollowsFromTheLoadedTypeAlone) {
    struct Row {
        int m_Type;
        bool m_Acos, m_ECard, m_CardOs;
    };
    const Row rows[] = {
        {CARD_UNKNOWN, false, false, false},
        {CARD_ACOS_A03, true, false, false},
        {2, false, false, false},
        {CARD_ECARD_G2, false, true, false},
        {CARD_ELU, false, false, false},
        {CARD_ACOS_A04, true, false, false},
        {CARD_ACOS_A05, true, false, false},
        {CARD_ECARD_G3A, false, true, false},
        {CARD_ECARD_G3B, false, true, false},
        {CARD_CARDOS, false, false, true},
    };
    m_Card.m_Atr = "3BBD18008131FE45805102"; // an e-card, if anybody looked
    for (const Row& row : rows) {
        m_Card.m_CardType = row.m_Type;
        EXPECT_EQ(m_Card.IsAcos(), row.m_Acos) << row.m_Type;
        EXPECT_EQ(m_Card.IsECard(), row.m_ECard) << row.m_Type;
        EXPECT_EQ(m_Card.IsCardOS(), row.m_CardOs) << row.m_Type;
    }
}

// --- Client version ----------------------------------------------------------------------------------------

TEST_F(Identification, AnAbsentClientHasFourZeros) {
    int version[4] = {1, 2, 3, 4};
    m_Card.LoadOrselClientVersion(version);
    EXPECT_THAT(version, ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(m_Card.GetOrselClientVersion(), "0.0.0.0");
}

TEST_F(Identification, ASoftwarePinDependsOnEachFieldOfTheClientVersionByItself) {
    struct Row {
        int m_Version[4];
        bool m_Supported;
    };
    const Row rows[] = {
        {{0, 0, 0, 0}, false}, {{1, 3, 2, 10}, false}, {{2, 0, 0, 0}, true},  {{0, 4, 0, 0}, true},
        {{0, 0, 3, 0}, true},  {{0, 0, 0, 11}, true},  {{1, 0, 0, 11}, true}, {{3, 0, 0, 0}, true},
    };
    for (const Row& row : rows) {
        std::copy(std::begin(row.m_Version), std::end(row.m_Version), m_Card.m_ClientVersion);
        EXPECT_EQ(m_Card.ClientSupportForceSofwarePin(), row.m_Supported)
            << row.m_Version[0] << "." << row.m_Version[1] << "." << row.m_Version[2] << "."
            << row.m_Version[3];
    }
}
