// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include <cstddef>

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

// --- Binding without a library -----------------------------------------------------------------------------

TEST(ACardWithoutALibrary, StaysUnboundAndSaysWhy) {
    const LogCapture log;
    testing::internal::CaptureStderr();
    ProbedCard card;
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("libOrselP11.so"));
    EXPECT_EQ(card.m_hLibrary, nullptr);
    EXPECT_FALSE(ProbedCard::m_bInitialized);
    EXPECT_THAT(log.Lines(),
                ElementsAre("M PKCS11 INIT", "M PKCS11 LoadLibrary", "E PKCS11 LoadLibrary ERROR"));
}

TEST(ACardWithoutALibrary, StartsWithEverythingAtZero) {
    ProbedCard card;
    EXPECT_THAT(card.m_Slots, IsEmpty());
    EXPECT_EQ(card.m_hSession, 0U);
    EXPECT_EQ(card.m_Manufacturer + card.m_Description + card.m_Version + card.m_Atr, "");
    EXPECT_EQ(card.m_CardType, CARD_UNKNOWN);
    EXPECT_EQ(card.m_SlotIndex, -1);
    EXPECT_THAT(card.m_ClientVersion, ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(card.CertVectorBegin(), card.CertVectorEnd());
}

TEST(ACardWithoutALibrary, HasItsMembersInTheirOrder) {
    ProbedCard card;
    const void* const members[] = {
        &card.m_Slots,        &card.m_hSession, &card.m_hLibrary,  &card.m_Manufacturer,  &card.m_Description,
        &card.m_Version,      &card.m_Subject,  &card.m_SubjectCN, &card.m_Atr,           &card.m_SigningCert,
        &card.m_CertVector,   &card.m_CardType, &card.m_SlotIndex, &card.m_ClientVersion, &card.m_Fingerprint,
        &card.m_SerialNumber, &card.m_Issuer,   &card.m_PublicKey,
    };
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members)));
}

TEST(ACardWithoutALibrary, TriesAgainAtEachInitAndIsDestroyedWithoutACall) {
    ProbedCard card;
    const LogCapture log;
    EXPECT_FALSE(card.Init());
    EXPECT_FALSE(card.init());
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 LoadLibrary ERROR", "PKCS11 LoadLibrary ERROR"));
    log.Clear();
    EXPECT_TRUE(card.Destroy());
    EXPECT_TRUE(card.destroy());
    EXPECT_THAT(log.Lines(), ElementsAre("M PKCS11 Destroy", "M PKCS11 Destroy"));
}

TEST(ACardWithoutALibrary, FailsEveryOperationQuietly) {
    ProbedCard card;
    const LogCapture log;
    std::vector<SlotStruct*> slots;
    TokenInfoStruct info;
    unsigned long handle = 0;
    EXPECT_FALSE(card.GetSlots(slots, true));
    EXPECT_FALSE(card.GetTokenInfo(0, info));
    EXPECT_FALSE(card.OpenSession(0, false));
    EXPECT_FALSE(card.OpenSessionWithSlotId(1, true));
    EXPECT_FALSE(card.FindObject("SK.CH.SIG", CKO_PRIVATE_KEY, &handle));
    EXPECT_TRUE(card.CloseSession());
    EXPECT_THAT(log.Errors(),
                ElementsAre("PKCS11 Proc_C_GetSlotList ERROR0x54", "PKCS11 Proc_C_GetSlotList(1) ERROR0x54",
                            "PKCS11 slotListIndex out of range", "PKCS11 Proc_C_OpenSession ERROR0x54",
                            "tkPKCS11::FindObject: FindObjects error"));
}

// --- Enumerations ------------------------------------------------------------------------------------------

TEST(CardTypes, HaveTheNumbersThatOtherProgramsShare) {
    EXPECT_THAT((std::vector<int>{ApplSignature, ApplEncryption, ApplIdentityLink}), ElementsAre(0, 1, 2));
    EXPECT_THAT((std::vector<int>{P11_NOT_SUPPORTED, P11_ERROR, P11_OK, P11_CANCELLED, P11_PIN_INCORRECT,
                                  P11_PIN_LOCKED}),
                ElementsAre(-2, -1, 0, 1, 2, 3));
    EXPECT_THAT((std::vector<int>{PIN_STATE_BLOCKED, PIN_STATE_OK, PIN_STATE_UNKNOWN}), ElementsAre(0, 1, 2));
    EXPECT_THAT((std::vector<int>{KEY_RSA, KEY_ECC}), ElementsAre(0, 1));
    EXPECT_THAT((std::vector<int>{HASH_SHA1, HASH_RIPEMD160, HASH_SHA224, HASH_SHA256, HASH_SHA512, HASH_MD5,
                                  HASH_MD4, HASH_SHA384, HASH_RAW}),
                ElementsAre(0, 1, 2, 3, 4, 5, 6, 8, 10));
    EXPECT_THAT((std::vector<int>{TOKEN_ACOS_03, TOKEN_ACOS_04, TOKEN_ACOS_05, TOKEN_ECARD_G2,
                                  TOKEN_ECARD_G3A, TOKEN_ECARD_G3B, TOKEN_ECARD_G4, TOKEN_CARDOS_53}),
                ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT((std::vector<int>{CARD_UNKNOWN, CARD_ACOS_A03, CARD_ECARD_G2, CARD_ELU, CARD_ACOS_A04,
                                  CARD_ACOS_A05, CARD_ECARD_G3A, CARD_ECARD_G3B, CARD_CARDOS}),
                ElementsAre(0, 1, 3, 4, 5, 6, 7, 8, 9));
}

// The order of their fields is part of the interface.
static_assert(offsetof(SlotStruct, m_SlotId) == 0);
static_assert(offsetof(SlotStruct, m_SlotId) < offsetof(SlotStruct, m_Label));
static_assert(offsetof(SlotStruct, m_Label) < offsetof(SlotStruct, m_Serial));

static_assert(offsetof(TokenInfoStruct, m_Label) == 0);
static_assert(offsetof(TokenInfoStruct, m_Label) < offsetof(TokenInfoStruct, m_ManufacturerId));
static_assert(offsetof(TokenInfoStruct, m_ManufacturerId) < offsetof(TokenInfoStruct, m_Model));
static_assert(offsetof(TokenInfoStruct, m_Model) < offsetof(TokenInfoStruct, m_Serial));

static_assert(offsetof(TokenInfoStruct2, m_Label) == 0);
static_assert(offsetof(TokenInfoStruct2, m_Label) < offsetof(TokenInfoStruct2, m_ManufacturerId));
static_assert(offsetof(TokenInfoStruct2, m_ManufacturerId) < offsetof(TokenInfoStruct2, m_Model));
static_assert(offsetof(TokenInfoStruct2, m_Model) < offsetof(TokenInfoStruct2, m_Serial));
static_assert(offsetof(TokenInfoStruct2, m_Serial) < offsetof(TokenInfoStruct2, m_EncKeyType));
static_assert(offsetof(TokenInfoStruct2, m_EncKeyType) < offsetof(TokenInfoStruct2, m_EncKeyBits));
static_assert(offsetof(TokenInfoStruct2, m_EncKeyBits) < offsetof(TokenInfoStruct2, m_SigKeyType));
static_assert(offsetof(TokenInfoStruct2, m_SigKeyType) < offsetof(TokenInfoStruct2, m_SigKeyBits));
static_assert(offsetof(TokenInfoStruct2, m_SigKeyBits) < offsetof(TokenInfoStruct2, m_TokenType));
static_assert(offsetof(TokenInfoStruct2, m_TokenType) < offsetof(TokenInfoStruct2, m_HasInfobox));

TEST(CardTypes, AFreshTokenRecordStandsForAnUnknownCard) {
    EXPECT_EQ(TokenInfoStruct2().m_TokenType, 8);
}

// --- GetSlots ----------------------------------------------------------------------------------------------

using GetSlots = MockedCardTest;

TEST_F(GetSlots, ListsTheTokensInTheLibrarysOrderWithTheirPadding) {
    PlanSlots({Token("Orsel Carta", "1111111111111111"), Token("Firmenausweis", "22")});
    std::vector<SlotStruct*> slots;
    ASSERT_TRUE(m_Card.GetSlots(slots, true));
    ASSERT_EQ(slots.size(), 2U);
    EXPECT_EQ(slots[0]->m_SlotId, 100U);
    EXPECT_EQ(slots[0]->m_Label, "Orsel Carta                     ");
    EXPECT_EQ(slots[0]->m_Serial, "1111111111111111");
    EXPECT_EQ(slots[1]->m_SlotId, 101U);
    EXPECT_EQ(slots[1]->m_Serial, "22              ");
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("M PKCS11 GetSlots", "M token label:  Orsel Carta                     ",
                            "M token serial:  1111111111111111",
                            "M token label:  Firmenausweis                   ",
                            "M token serial:  22              "));
}

TEST_F(GetSlots, EndsTheTextsAtAZeroByteAndAtTheFieldsWidth) {
    CK_TOKEN_INFO terminated = Token("Karte", "12345678");
    terminated.label[5] = 0;
    terminated.serialNumber[4] = 0;
    CK_TOKEN_INFO full = Token(std::string(32, 'L'), std::string(16, 'S'));
    PlanSlots({terminated, full});
    std::vector<SlotStruct*> slots;
    ASSERT_TRUE(m_Card.GetSlots(slots, true));
    EXPECT_EQ(slots[0]->m_Label, "Karte");
    EXPECT_EQ(slots[0]->m_Serial, "1234");
    EXPECT_EQ(slots[1]->m_Label, std::string(32, 'L'));
    EXPECT_EQ(slots[1]->m_Serial, std::string(16, 'S'));
}

TEST_F(GetSlots, WithoutATokenGivesAnEmptyListAndSucceeds) {
    PlanSlots({});
    SlotStruct stale;
    std::vector<SlotStruct*> slots = {&stale};
    EXPECT_TRUE(m_Card.GetSlots(slots, true));
    EXPECT_THAT(slots, IsEmpty());
}

TEST_F(GetSlots, LeavesEmptyCardsOutUnlessAskedForThem) {
    const std::vector<CK_TOKEN_INFO> tokens = {Token("Leer", "0000000000000000"),
                                               Token("Voll", "0000000000000001")};
    std::vector<SlotStruct*> slots;
    PlanSlots(tokens);
    ASSERT_TRUE(m_Card.GetSlots(slots, true));
    EXPECT_EQ(slots.size(), 2U);
    for (const bool shortForm : {true, false}) {
        PlanSlots(tokens);
        ASSERT_TRUE(shortForm ? m_Card.GetSlots(slots) : m_Card.GetSlots(slots, false));
        ASSERT_EQ(slots.size(), 1U);
        EXPECT_EQ(slots[0]->m_Serial, "0000000000000001");
    }
}

TEST_F(GetSlots, DoesNotTakeAShorterRowOfZerosForAnEmptyCard) {
    PlanSlots({Token("Karte", "00000000")});
    std::vector<SlotStruct*> slots;
    ASSERT_TRUE(m_Card.GetSlots(slots, false));
    EXPECT_EQ(slots.size(), 1U);
}

TEST_F(GetSlots, ReportsAFailureOfTheFirstCountAndLeavesTheListEmpty) {
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), Pointee(0U))).WillOnce(Return(CKR_DEVICE_ERROR));
    SlotStruct stale;
    std::vector<SlotStruct*> slots = {&stale};
    EXPECT_FALSE(m_Card.GetSlots(slots, true));
    EXPECT_THAT(slots, IsEmpty());
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 GetSlots", "E PKCS11 Proc_C_GetSlotList ERROR0x30"));
}

TEST_F(GetSlots, ReportsAFailureOfTheSecondCall) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
        .WillOnce(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), _)).WillOnce(Return(CKR_GENERAL_ERROR));
    std::vector<SlotStruct*> slots;
    EXPECT_FALSE(m_Card.GetSlots(slots, true));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_GetSlotList(2) ERROR0x5"));
}

TEST_F(GetSlots, OffersRoomForAtMost128Tokens) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
        .WillOnce(DoAll(SetArgPointee<2>(129), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), Pointee(128U)))
        .WillOnce(Return(CKR_BUFFER_TOO_SMALL));
    std::vector<SlotStruct*> slots;
    EXPECT_FALSE(m_Card.GetSlots(slots, true));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_GetSlotList(2) ERROR0x150"));
}

TEST_F(GetSlots, NeverReadsBehindItsRoomWhateverCountComesBack) {
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, _, _))
        .WillRepeatedly(DoAll(SetArgPointee<2>(1000000), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetTokenInfo(_, _)).Times(128).WillRepeatedly(Return(CKR_SLOT_ID_INVALID));
    std::vector<SlotStruct*> slots;
    EXPECT_TRUE(m_Card.GetSlots(slots, true));
    EXPECT_THAT(slots, IsEmpty());
}

TEST_F(GetSlots, AsksAboutNoMoreTokensThanItOfferedRoomFor) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
        .WillOnce(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), Pointee(1U)))
        .WillOnce(DoAll(SetArgPointee<1>(7), SetArgPointee<2>(3), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetTokenInfo(7, _)).WillOnce(Return(CKR_TOKEN_NOT_PRESENT));
    std::vector<SlotStruct*> slots;
    EXPECT_TRUE(m_Card.GetSlots(slots, true));
}

TEST_F(GetSlots, GoesOnBehindATokenOrASlotThatCannotBeQueried) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
        .WillOnce(DoAll(SetArgPointee<2>(3), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), _))
        .WillOnce([](CK_BBOOL, CK_SLOT_ID* ids, CK_ULONG*) {
            ids[0] = 5, ids[1] = 6, ids[2] = 7;
            return CKR_OK;
        });
    EXPECT_CALL(m_Library, GetTokenInfo(5, _)).WillOnce(Return(CKR_TOKEN_NOT_PRESENT));
    EXPECT_CALL(m_Library, GetTokenInfo(6, _))
        .WillOnce(DoAll(SetArgPointee<1>(Token("a", "1")), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotInfo(6, _)).WillOnce(Return(CKR_DEVICE_REMOVED));
    EXPECT_CALL(m_Library, GetTokenInfo(7, _))
        .WillOnce(DoAll(SetArgPointee<1>(Token("b", "2")), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotInfo(7, _))
        .WillOnce(DoAll(SetArgPointee<1>(RemovableSlot()), Return(CKR_OK)));
    std::vector<SlotStruct*> slots;
    ASSERT_TRUE(m_Card.GetSlots(slots, true));
    ASSERT_EQ(slots.size(), 1U);
    EXPECT_EQ(slots[0]->m_SlotId, 7U);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_GetTokenInfo ERROR (continue)0xe0",
                                            "PKCS11 Proc_C_GetTokenInfo ERROR (continue)0x32"));
}

TEST_F(GetSlots, SkipsADeviceThatIsNotRemovableWithoutAWord) {
    CK_SLOT_INFO fixed = {};
    fixed.flags = CKF_TOKEN_PRESENT | CKF_HW_SLOT;
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, _, _))
        .WillRepeatedly(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetTokenInfo(_, _))
        .WillOnce(DoAll(SetArgPointee<1>(Token("a", "1")), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotInfo(_, _)).WillOnce(DoAll(SetArgPointee<1>(fixed), Return(CKR_OK)));
    std::vector<SlotStruct*> slots;
    ASSERT_TRUE(m_Card.GetSlots(slots, true));
    EXPECT_THAT(slots, IsEmpty());
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 GetSlots"));
}

TEST_F(GetSlots, RenewsTheRecordsOfTheCallBefore) {
    PlanSlots({Token("a", "1"), Token("b", "2")});
    std::vector<SlotStruct*> first;
    ASSERT_TRUE(m_Card.GetSlots(first, true));
    PlanSlots({Token("c", "3")});
    std::vector<SlotStruct*> second;
    ASSERT_TRUE(m_Card.GetSlots(second, true));
    EXPECT_EQ(m_Card.m_Slots, second);
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(second[0]->m_Serial, "3               ");
}

TEST_F(GetSlots, DeleteSlotsForgetsEveryRecordAndKeepsTheVectorsRoom) {
    PlanSlots({Token("a", "1")});
    std::vector<SlotStruct*> slots;
    ASSERT_TRUE(m_Card.GetSlots(slots, true));
    m_Card.m_Slots.push_back(nullptr);
    const size_t capacity = m_Card.m_Slots.capacity();
    m_Card.DeleteSlots();
    EXPECT_THAT(m_Card.m_Slots, IsEmpty());
    EXPECT_EQ(m_Card.m_Slots.capacity(), capacity);
}
