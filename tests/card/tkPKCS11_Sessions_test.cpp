// SPDX-License-Identifier: MIT
// Sessions, and the search for objects in one.
#include "card/tkPKCS11.h"

#include "formats/slCertificate.h"
#include "tests/card/TokenLibraryMock.h"

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::IsNull;
using testing::NotNull;
using testing::Return;
using testing::SetArgPointee;
using namespace Velmor;

// --- Sessions ----------------------------------------------------------------------------------------------

class Sessions : public MockedCardTest {
protected:
    void SetUp() override {
        MockedCardTest::SetUp();
        PlanSlots({Token("a", "1"), Token("b", "2")});
        std::vector<SlotStruct*> slots;
        ASSERT_TRUE(m_Card.GetSlots(slots, true));
        m_Log.Clear();
    }
    void PlanOpen(CK_SLOT_ID slot, CK_FLAGS flags, CK_SESSION_HANDLE handle) {
        EXPECT_CALL(m_Library, OpenSession(slot, flags, IsNull(), IsNull(), &m_Card.m_hSession))
            .WillOnce(DoAll(SetArgPointee<4>(handle), Return(CKR_OK)));
    }
};

TEST_F(Sessions, OpenReadOnlyWhateverTheFlagSays) {
    for (const bool flag : {false, true}) {
        PlanOpen(101, 4, 77);
        ASSERT_TRUE(m_Card.OpenSession(1, flag));
        PlanOpen(100, 4, 78);
        ASSERT_TRUE(m_Card.OpenSessionWithVectorIndex(0, flag)); // the first stays open on the library's side
    }
    EXPECT_EQ(m_Card.m_hSession, 78U);
    EXPECT_EQ(m_Card.m_SlotIndex, 0);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 OpenSession", "M PKCS11 OpenSession",
                                           "M PKCS11 OpenSession", "M PKCS11 OpenSession"));
}

TEST_F(Sessions, AnIndexOutOfRangeFailsAndKeepsTheHandle) {
    m_Card.m_hSession = 55;
    EXPECT_FALSE(m_Card.OpenSession(-1, false));
    EXPECT_FALSE(m_Card.OpenSession(2, false));
    EXPECT_EQ(m_Card.m_hSession, 55U);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 OpenSession", "E PKCS11 slotListIndex out of range",
                                           "M PKCS11 OpenSession", "E PKCS11 slotListIndex out of range"));
}

TEST_F(Sessions, AFailedOpenLeavesNoSession) {
    m_Card.m_hSession = 55;
    EXPECT_CALL(m_Library, OpenSession(100, _, _, _, _)).WillOnce(Return(7));
    EXPECT_FALSE(m_Card.OpenSession(0, false));
    EXPECT_EQ(m_Card.m_hSession, 0U);
    EXPECT_EQ(m_Card.m_SlotIndex, -1);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_OpenSession ERROR0x7"));
}

TEST_F(Sessions, AReadWriteSessionBySlotIdClosesTheOpenOneFirst) {
    m_Card.m_hSession = 55;
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, CloseSession(55)).WillOnce(Return(CKR_OK));
    PlanOpen(101, 6, 56);
    ASSERT_TRUE(m_Card.OpenSessionWithSlotId(101, true));
    EXPECT_EQ(m_Card.m_SlotIndex, 1);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 Proc_C_CloseSession"));
}

TEST_F(Sessions, AReadWriteSessionBySlotIdClosesAlsoWhereNoneIsOpen) {
    ASSERT_EQ(m_Card.m_hSession, 0U);
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, CloseSession(0)).WillOnce(Return(CKR_SESSION_HANDLE_INVALID));
    PlanOpen(101, 6, 77);
    EXPECT_TRUE(m_Card.OpenSessionWithSlotId(101, true));
    EXPECT_EQ(m_Card.m_hSession, 77U);
    EXPECT_EQ(m_Card.m_SlotIndex, 1);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 Proc_C_CloseSession"));
}

TEST_F(Sessions, AReadOnlySessionBySlotIdClosesNothing) {
    m_Card.m_hSession = 55;
    PlanOpen(100, 4, 56);
    ASSERT_TRUE(m_Card.OpenSessionWithSlotId(100, false));
    EXPECT_EQ(m_Card.m_SlotIndex, 0);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Sessions, AnUnlistedSlotIdKeepsTheIndexAndARepeatedOneGivesTheLast) {
    m_Card.m_SlotIndex = 1;
    PlanOpen(999, 4, 56);
    ASSERT_TRUE(m_Card.OpenSessionWithSlotId(999, false));
    EXPECT_EQ(m_Card.m_SlotIndex, 1);
    m_Card.m_Slots.push_back(new SlotStruct{100, "c", "3"});
    PlanOpen(100, 4, 57);
    ASSERT_TRUE(m_Card.OpenSessionWithSlotId(100, false));
    EXPECT_EQ(m_Card.m_SlotIndex, 2);
}

TEST_F(Sessions, OpeningByIndexNamesThatIndexAlsoWhenTheSlotIdRepeats) {
    m_Card.m_Slots.push_back(new SlotStruct{100, "c", "3"});
    PlanOpen(100, 4, 57);
    ASSERT_TRUE(m_Card.OpenSession(0, false));
    EXPECT_EQ(m_Card.m_SlotIndex, 0);
}

TEST_F(Sessions, ASlotIdBeyondTheRangeOfIntIsOpenedAllTheSame) {
    const CK_SLOT_ID large = ~static_cast<CK_SLOT_ID>(0) - 5;
    m_Card.m_Slots.push_back(new SlotStruct{large, "c", "3"});
    PlanOpen(large, 4, 57);
    ASSERT_TRUE(m_Card.OpenSession(2, false));
    EXPECT_EQ(m_Card.m_SlotIndex, 2);
}

TEST_F(Sessions, ACloseKeepsTheHandleAndForgetsTheSlot) {
    PlanOpen(101, 4, 77);
    ASSERT_TRUE(m_Card.OpenSession(1, false));
    m_Card.m_Atr = "3B";
    m_Card.m_CardType = CARD_CARDOS;
    m_Log.Clear();
    EXPECT_CALL(m_Library, CloseSession(77)).WillOnce(Return(CKR_SESSION_HANDLE_INVALID));
    EXPECT_TRUE(m_Card.CloseSession());
    EXPECT_EQ(m_Card.m_hSession, 77U);
    EXPECT_EQ(m_Card.m_SlotIndex, -1);
    EXPECT_EQ(m_Card.m_Atr, "3B");
    EXPECT_EQ(m_Card.m_CardType, CARD_CARDOS);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 Proc_C_CloseSession"));
}

// --- Objects -----------------------------------------------------------------------------------------------

class Objects : public MockedCardTest {
protected:
    void SetUp() override {
        MockedCardTest::SetUp();
        m_Card.m_hSession = 9;
    }
    CK_ATTRIBUTE m_Template = {CKA_CLASS, nullptr, 0};
    unsigned long m_Handles[10] = {};
    unsigned long m_Found = 0;
};

TEST_F(Objects, AreSearchedInThreeCalls) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, FindObjectsInit(9, &m_Template, 1)).WillOnce(Return(CKR_OK));
    EXPECT_CALL(m_Library, FindObjects(9, m_Handles, 10, &m_Found))
        .WillOnce([](auto, auto* handles, auto, auto* found) {
            handles[0] = 21, handles[1] = 22;
            *found = 2;
            return CKR_OK;
        });
    EXPECT_CALL(m_Library, FindObjectsFinal(9)).WillOnce(Return(CKR_OK));
    EXPECT_TRUE(m_Card.FindObjects(&m_Template, 1, m_Handles, 10, &m_Found));
    EXPECT_EQ(m_Found, 2U);
    EXPECT_EQ(m_Handles[1], 22U);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Objects, AreNotSearchedWithoutASession) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.FindObjects(&m_Template, 1, m_Handles, 10, &m_Found));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Objects, ASearchThatDoesNotStartIsReported) {
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_OPERATION_ACTIVE));
    EXPECT_FALSE(m_Card.FindObjects(&m_Template, 1, m_Handles, 10, &m_Found));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_FindObjectsInit0x90"));
}

TEST_F(Objects, ASearchThatBreaksStaysOpen) {
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_OK));
    EXPECT_CALL(m_Library, FindObjects(_, _, _, _)).WillOnce(Return(CKR_DEVICE_REMOVED));
    EXPECT_FALSE(m_Card.FindObjects(&m_Template, 1, m_Handles, 10, &m_Found));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_FindObjects0x32"));
}

TEST_F(Objects, ASearchThatDoesNotEndIsReported) {
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_OK));
    EXPECT_CALL(m_Library, FindObjects(_, _, _, _)).WillOnce(DoAll(SetArgPointee<3>(1), Return(CKR_OK)));
    EXPECT_CALL(m_Library, FindObjectsFinal(_)).WillOnce(Return(CKR_GENERAL_ERROR));
    EXPECT_FALSE(m_Card.FindObjects(&m_Template, 1, m_Handles, 10, &m_Found));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_FindObjectsFinal0x5"));
}

TEST_F(Objects, ACountAboveTheRoomMakesTheSearchAFailure) {
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_OK));
    EXPECT_CALL(m_Library, FindObjects(_, _, _, _)).WillOnce(DoAll(SetArgPointee<3>(11), Return(CKR_OK)));
    EXPECT_CALL(m_Library, FindObjectsFinal(_)).WillOnce(Return(CKR_OK));
    EXPECT_FALSE(m_Card.FindObjects(&m_Template, 1, m_Handles, 10, &m_Found));
}

/// True for the template "class, label" of one object.
MATCHER_P2(AsksFor, objectClass, label, "") {
    CK_OBJECT_CLASS askedClass = 0;
    if (arg[0].type != CKA_CLASS || arg[0].ulValueLen != sizeof(CK_ULONG) || arg[1].type != CKA_LABEL) {
        return false;
    }
    std::memcpy(&askedClass, arg[0].pValue, sizeof(askedClass));
    return askedClass == objectClass &&
           std::string(static_cast<const char*>(arg[1].pValue), arg[1].ulValueLen) == label;
}

TEST_F(Objects, OneIsFoundByClassAndLabel) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, FindObjectsInit(9, AsksFor(CKO_PRIVATE_KEY, "SK.CH.SIG"), 2))
        .WillOnce(Return(CKR_OK));
    EXPECT_CALL(m_Library, FindObjects(9, NotNull(), 1, NotNull()))
        .WillOnce(DoAll(testing::Assign(&m_Handles[0], 33), SetArgPointee<1>(33), SetArgPointee<3>(1),
                        Return(CKR_OK)));
    EXPECT_CALL(m_Library, FindObjectsFinal(9)).WillOnce(Return(CKR_OK));
    unsigned long handle = 0;
    EXPECT_TRUE(m_Card.FindObject("SK.CH.SIG", CKO_PRIVATE_KEY, &handle));
    EXPECT_EQ(handle, 33U);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Objects, OneThatDoesNotExistIsNotFoundWithoutAWord) {
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_OK));
    EXPECT_CALL(m_Library, FindObjects(_, _, _, _)).WillOnce(DoAll(SetArgPointee<3>(0), Return(CKR_OK)));
    EXPECT_CALL(m_Library, FindObjectsFinal(_)).WillOnce(Return(CKR_OK));
    unsigned long handle = 44;
    EXPECT_FALSE(m_Card.FindObject("fehlt", CKO_DATA, &handle));
    EXPECT_EQ(handle, 44U);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Objects, AFailedSearchForOneIsReportedTwice) {
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    unsigned long handle = 0;
    EXPECT_FALSE(m_Card.FindObject("SK.CH.SIG", CKO_PRIVATE_KEY, &handle));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_FindObjectsInit0x30",
                                           "E tkPKCS11::FindObject: FindObjects error"));
}

// --- Collected certificates --------------------------------------------------------------------------------

TEST_F(Objects, CollectedCertificatesAreDeletedTogether) {
    m_Card.m_CertVector = {new slCertificate, new slCertificate};
    EXPECT_EQ(m_Card.CertVectorEnd() - m_Card.CertVectorBegin(), 2);
    m_Card.ClearCertVector();
    EXPECT_EQ(m_Card.CertVectorBegin(), m_Card.CertVectorEnd());
}
