// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "tests/card/TokenLibraryMock.h"

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using testing::SetArgPointee;
using testing::StrEq;
using namespace Velmor;

namespace {

constexpr unsigned long CHANGE = 0x200;
constexpr unsigned long UNBLOCK = 0x201;
constexpr unsigned long FORCE_SOFTWARE = 0x80000002UL;

/// Type and one-byte value of each attribute of a list.
std::vector<std::pair<unsigned long, int>> Written(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    std::vector<std::pair<unsigned long, int>> list;
    for (CK_ULONG i = 0; i < count; ++i) {
        EXPECT_EQ(attributes[i].ulValueLen, 1U);
        list.emplace_back(attributes[i].type, *static_cast<const unsigned char*>(attributes[i].pValue));
    }
    return list;
}

class Pins : public MockedCardTest {
protected:
    void SetUp() override {
        MockedCardTest::SetUp();
        m_Card.m_hSession = 9;
        ON_CALL(m_Library, SetAttributeValue(_, _, _, _))
            .WillByDefault([this](auto, auto, auto* list, auto count) {
                m_Written.push_back(Written(list, count));
                const CK_RV rv = m_Answers.front();
                m_Answers.erase(m_Answers.begin());
                return rv;
            });
    }

    /// Plans the search for one object, which is there or not.
    void PlanObject(const std::string& label, CK_OBJECT_CLASS objectClass, bool there = true) {
        const InSequence inThisOrder;
        EXPECT_CALL(m_Library, FindObjectsInit(9, _, 2)).WillOnce([=](auto, CK_ATTRIBUTE* wanted, auto) {
            EXPECT_EQ(wanted[0].type, CKA_CLASS);
            EXPECT_EQ(*static_cast<CK_OBJECT_CLASS*>(wanted[0].pValue), objectClass);
            EXPECT_EQ(std::string(static_cast<char*>(wanted[1].pValue), wanted[1].ulValueLen), label);
            return CKR_OK;
        });
        EXPECT_CALL(m_Library, FindObjects(9, _, 1, _))
            .WillOnce(DoAll(SetArgPointee<1>(42), SetArgPointee<3>(there ? 1 : 0), Return(CKR_OK)));
        EXPECT_CALL(m_Library, FindObjectsFinal(9)).WillOnce(Return(CKR_OK));
    }
    /// Plans writes that the library answers one after the other with these codes.
    void PlanWrites(std::vector<CK_RV> answers) {
        m_Answers = answers;
        EXPECT_CALL(m_Library, SetAttributeValue(9, 42, _, _)).Times(static_cast<int>(answers.size()));
    }
    void SetClientVersion(int a, int b, int c, int d) {
        const int version[] = {a, b, c, d};
        std::copy(std::begin(version), std::end(version), m_Card.m_ClientVersion);
    }

    std::vector<std::vector<std::pair<unsigned long, int>>> m_Written;
    std::vector<CK_RV> m_Answers;
};

using Attribute = std::pair<unsigned long, int>;

} // namespace

// --- ChangePIN, UnblockPIN ---------------------------------------------------------------------------------

TEST_F(Pins, AreChangedAndUnblockedAtTheObjectThatTheyProtect) {
    const std::tuple<ApplType, const char*, CK_OBJECT_CLASS> objects[] = {
        {ApplSignature, "SK.CH.SIG", CKO_PRIVATE_KEY},
        {ApplEncryption, "SK.CH.EKEY", CKO_PRIVATE_KEY},
        {ApplIdentityLink, "PERSONENBINDUNG", CKO_DATA},
    };
    for (const auto& [appl, label, objectClass] : objects) {
        SCOPED_TRACE(label);
        m_Written.clear();
        m_Log.Clear();
        PlanObject(label, objectClass);
        PlanWrites({CKR_OK});
        EXPECT_EQ(m_Card.ChangePIN(appl), P11_OK);
        testing::Mock::VerifyAndClearExpectations(&m_Library);
        PlanObject(label, objectClass);
        PlanWrites({CKR_OK});
        EXPECT_EQ(m_Card.UnblockPIN(appl), P11_OK);
        testing::Mock::VerifyAndClearExpectations(&m_Library);
        EXPECT_THAT(m_Written,
                    ElementsAre(ElementsAre(Attribute(CHANGE, 0)), ElementsAre(Attribute(UNBLOCK, 0))));
        EXPECT_THAT(m_Log.Lines(), ElementsAre("M ChangePIN", "M UnblockPIN"));
    }
}

TEST_F(Pins, NeedASession) {
    m_Card.m_hSession = 0;
    EXPECT_EQ(m_Card.ChangePIN(ApplSignature), P11_ERROR);
    EXPECT_EQ(m_Card.UnblockPIN(ApplSignature), P11_ERROR);
    EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_ERROR);
    PINState state = PIN_STATE_OK;
    int tries = 17;
    EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, state, tries), -1);
    EXPECT_EQ(state, PIN_STATE_OK);
    EXPECT_EQ(tries, 17);
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("M ChangePIN", "E PKCS11 Session nicht offen", "M UnblockPIN",
                            "E PKCS11 Session nicht offen", "M InitPIN", "E PKCS11 Session nicht offen",
                            "M GetPINStatus", "E PKCS11 Session nicht offen"));
}

TEST_F(Pins, OfAnUnknownApplicationAreRefusedWithoutTouchingTheCard) {
    for (const int appl : {-1, 3}) {
        EXPECT_EQ(m_Card.ChangePIN(static_cast<ApplType>(appl)), P11_ERROR);
        EXPECT_EQ(m_Card.UnblockPIN(static_cast<ApplType>(appl)), P11_ERROR);
        EXPECT_EQ(m_Card.GenericPINCommand(static_cast<ApplType>(appl), CHANGE, true, true), P11_ERROR);
    }
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(Pins, WithoutTheirObjectFailWithoutAWordOfTheirOwn) {
    PlanObject("SK.CH.SIG", CKO_PRIVATE_KEY, false);
    EXPECT_EQ(m_Card.ChangePIN(ApplSignature), P11_ERROR);
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_EQ(m_Card.UnblockPIN(ApplSignature), P11_ERROR);
    EXPECT_THAT(m_Log.Errors(),
                ElementsAre("PKCS11 Proc_C_FindObjectsInit0x30", "tkPKCS11::FindObject: FindObjects error"));
}

struct PinResult {
    CK_RV m_Rv;
    PKCS11Return m_Plain;
    const char* m_Logged;
    PKCS11Return m_WithFlags;
};

TEST_F(Pins, TheLibrarysAnswerBecomesAResultInTwoDifferentWays) {
    const PinResult rows[] = {
        {CKR_OK, P11_OK, nullptr, P11_OK},
        {CKR_FUNCTION_CANCELED, P11_CANCELLED, "Proc_C_SetAttributeValue returned CKR_FUNCTION_CANCELED",
         P11_CANCELLED},
        {CKR_PIN_INCORRECT, P11_PIN_INCORRECT, "Proc_C_SetAttributeValue returned CKR_PIN_INCORRECT",
         P11_PIN_LOCKED},
        {CKR_PIN_LOCKED, P11_PIN_LOCKED, "Proc_C_SetAttributeValue returned CKR_PIN_LOCKED",
         P11_PIN_INCORRECT},
        {CKR_GENERAL_ERROR, P11_ERROR, "Proc_C_SetAttributeValue returned 0x5", P11_PIN_INCORRECT},
        {CKR_FUNCTION_FAILED, P11_ERROR, "Proc_C_SetAttributeValue returned 0x6", P11_PIN_INCORRECT},
    };
    for (const PinResult& row : rows) {
        SCOPED_TRACE(row.m_Rv);
        m_Log.Clear();
        PlanObject("SK.CH.SIG", CKO_PRIVATE_KEY);
        PlanWrites({row.m_Rv});
        EXPECT_EQ(m_Card.GenericPINCommand(ApplSignature, CHANGE), row.m_Plain);
        testing::Mock::VerifyAndClearExpectations(&m_Library);
        EXPECT_EQ(m_Log.Errors(), row.m_Logged != nullptr ? std::vector<std::string>{row.m_Logged}
                                                          : std::vector<std::string>{});
        m_Log.Clear();
        PlanObject("SK.CH.SIG", CKO_PRIVATE_KEY);
        PlanWrites({row.m_Rv});
        EXPECT_EQ(m_Card.GenericPINCommand(ApplSignature, CHANGE, false, false), row.m_WithFlags);
        testing::Mock::VerifyAndClearExpectations(&m_Library);
        EXPECT_THAT(m_Log.Lines(), IsEmpty());
    }
}

// --- InitPIN -----------------------------------------------------------------------------------------------

TEST_F(Pins, OfAcosSignatureKeysAreInitialisedOnTheScreenByAClientThatCan) {
    for (const int type : {CARD_ACOS_A03, CARD_ACOS_A04, CARD_ACOS_A05}) {
        m_Card.m_CardType = type;
        m_Written.clear();
        SetClientVersion(2, 0, 0, 0);
        PlanObject("SK.CH.SIG", CKO_PRIVATE_KEY);
        PlanWrites({CKR_OK});
        EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_OK);
        testing::Mock::VerifyAndClearExpectations(&m_Library);
        EXPECT_THAT(m_Written, ElementsAre(ElementsAre(Attribute(CHANGE, 1), Attribute(FORCE_SOFTWARE, 1))));
    }
    EXPECT_EQ(m_Log.Lines()[1], "M tkPKCS11::_GenericPINCommand: force Software Pin");
}

TEST_F(Pins, ALibraryThatRefusesTheScreenIsAskedAgainWithoutThatWish) {
    m_Card.m_CardType = CARD_ACOS_A04;
    SetClientVersion(2, 0, 0, 0);
    PlanObject("SK.CH.SIG", CKO_PRIVATE_KEY);
    PlanWrites({CKR_FUNCTION_FAILED, CKR_OK});
    EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_OK);
    EXPECT_THAT(m_Written, ElementsAre(ElementsAre(Attribute(CHANGE, 1), Attribute(FORCE_SOFTWARE, 1)),
                                       ElementsAre(Attribute(CHANGE, 1))));
}

TEST_F(Pins, TheScreenIsAnnouncedBeforeTheKeyIsLookedFor) {
    m_Card.m_CardType = CARD_ACOS_A04;
    SetClientVersion(2, 0, 0, 0);
    EXPECT_CALL(m_Library, FindObjectsInit(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_ERROR);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M InitPIN", "M tkPKCS11::_GenericPINCommand: force Software Pin",
                                           "E PKCS11 Proc_C_FindObjectsInit0x30",
                                           "E tkPKCS11::FindObject: FindObjects error"));
}

TEST_F(Pins, AnOldClientAsksAgainWithAnEmptyList) {
    m_Card.m_CardType = CARD_ACOS_A04;
    SetClientVersion(1, 0, 0, 0);
    PlanObject("SK.CH.SIG", CKO_PRIVATE_KEY);
    PlanWrites({CKR_FUNCTION_FAILED, CKR_PIN_INCORRECT});
    EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_PIN_LOCKED);
    EXPECT_THAT(m_Written, ElementsAre(ElementsAre(Attribute(CHANGE, 1)), IsEmpty()));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M InitPIN"));
}

TEST_F(Pins, OfAllOtherKeysAndCardsAreChangedByInitPin) {
    const std::tuple<int, ApplType, const char*, CK_OBJECT_CLASS> rows[] = {
        {CARD_ACOS_A03, ApplEncryption, "SK.CH.EKEY", CKO_PRIVATE_KEY},
        {CARD_ACOS_A05, ApplIdentityLink, "PERSONENBINDUNG", CKO_DATA},
        {CARD_ECARD_G2, ApplSignature, "SK.CH.SIG", CKO_PRIVATE_KEY},
        {CARD_CARDOS, ApplSignature, "SK.CH.SIG", CKO_PRIVATE_KEY},
        {CARD_ELU, ApplSignature, "SK.CH.SIG", CKO_PRIVATE_KEY},
    };
    SetClientVersion(2, 0, 0, 0);
    for (const auto& [type, appl, label, objectClass] : rows) {
        m_Card.m_CardType = type;
        m_Written.clear();
        PlanObject(label, objectClass);
        PlanWrites({CKR_FUNCTION_FAILED}); // and no second try
        EXPECT_EQ(m_Card.InitPIN(appl), P11_PIN_INCORRECT);
        testing::Mock::VerifyAndClearExpectations(&m_Library);
        EXPECT_THAT(m_Written, ElementsAre(ElementsAre(Attribute(CHANGE, 0))));
    }
}

TEST_F(Pins, OfAnUnknownCardAreNotInitialised) {
    m_Card.m_Slots.push_back(new SlotStruct{100, "Karte", "1"});
    m_Card.m_SlotIndex = 0;
    m_Card.m_Atr = "FF";
    EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_NOT_SUPPORTED);
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("M InitPIN", "E Unknown atr=FF", "E InitPIN for unknown card not allowed"));
}

TEST_F(Pins, AreInitialisedAfterTheCardTypeHasBeenLoaded) {
    m_Card.m_Slots.push_back(new SlotStruct{100, "Karte", "1"});
    m_Card.m_SlotIndex = 0;
    m_Card.m_Atr = "3BBD18008131FE45805102";
    PlanObject("SK.CH.SIG", CKO_PRIVATE_KEY);
    PlanWrites({CKR_OK});
    EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_OK);
    EXPECT_EQ(m_Card.m_CardType, CARD_ECARD_G2);
}

TEST_F(Pins, OfAnObjectThatIsClaimedAndNotHandedOutAreThoseOfNoObject) {
    m_Card.m_CardType = CARD_ACOS_A04;
    EXPECT_CALL(m_Library, FindObjectsInit(9, _, 2)).Times(2).WillRepeatedly(Return(CKR_OK));
    EXPECT_CALL(m_Library, FindObjects(9, _, 1, _))
        .Times(2)
        .WillRepeatedly(DoAll(SetArgPointee<3>(1), Return(CKR_OK)));
    EXPECT_CALL(m_Library, FindObjectsFinal(9)).Times(2).WillRepeatedly(Return(CKR_OK));
    EXPECT_CALL(m_Library, SetAttributeValue(9, CK_INVALID_HANDLE, _, _))
        .Times(2)
        .WillRepeatedly(Return(CKR_OBJECT_HANDLE_INVALID));
    EXPECT_EQ(m_Card.ChangePIN(ApplSignature), P11_ERROR);
    EXPECT_EQ(m_Card.InitPIN(ApplSignature), P11_PIN_INCORRECT);
}

// --- GetPINStatus ------------------------------------------------------------------------------------------

class PinStatus : public Pins {
protected:
    void SetUp() override {
        Pins::SetUp();
        m_Card.m_CardType = CARD_ECARD_G3A;
    }
    /// Plans the query; the library writes this byte and answers this code.
    void PlanQuery(const char* name, unsigned char firstByte, CK_RV rv) {
        EXPECT_CALL(m_Library, CardAttribute(9, StrEq(name), _, testing::Pointee(5U)))
            .WillOnce([=](auto, auto, unsigned char* out, auto) {
                for (int i = 0; i < 5; ++i) {
                    EXPECT_EQ(out[i], 0);
                }
                if (rv == CKR_OK) {
                    out[0] = firstByte;
                }
                return rv;
            });
    }
    PINState m_State = PIN_STATE_OK;
    int m_Tries = 17;
};

TEST_F(PinStatus, TellsStateAndTriesByTheFirstByte) {
    const std::tuple<unsigned char, PINState, int> rows[] = {
        {0xFF, PIN_STATE_UNKNOWN, -1},
        {0, PIN_STATE_BLOCKED, 0},
        {3, PIN_STATE_OK, 3},
        {0xFE, PIN_STATE_OK, 254},
    };
    for (const auto& [byte, state, tries] : rows) {
        PlanQuery("SicSig/PIN-Status", byte, CKR_OK);
        EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, m_State, m_Tries), 0);
        EXPECT_EQ(m_State, state);
        EXPECT_EQ(m_Tries, tries);
    }
}

TEST_F(PinStatus, AsksForThePropertyOfTheApplication) {
    for (const int type : {CARD_ECARD_G2, CARD_ECARD_G3A, CARD_ECARD_G3B}) {
        m_Card.m_CardType = type;
        PlanQuery("SicSig/PIN-Status", 3, CKR_OK);
        EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, m_State, m_Tries), 0);
        for (const ApplType appl : {ApplEncryption, ApplIdentityLink}) {
            PlanQuery("GewSig/PIN-Status", 3, CKR_OK);
            EXPECT_EQ(m_Card.GetPINStatus(appl, m_State, m_Tries), 0);
        }
    }
    EXPECT_EQ(m_Card.GetPINStatus(static_cast<ApplType>(3), m_State, m_Tries), -1);
    EXPECT_EQ(m_State, PIN_STATE_UNKNOWN);
}

TEST_F(PinStatus, AFailedQueryReadsAsABlockedPin) {
    for (const auto& [rv, result] : {std::pair<CK_RV, int>{CKR_FUNCTION_NOT_SUPPORTED, -2},
                                     std::pair<CK_RV, int>{CKR_DEVICE_REMOVED, -1}}) {
        PlanQuery("SicSig/PIN-Status", 0, rv);
        EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, m_State, m_Tries), result);
        EXPECT_EQ(m_State, PIN_STATE_BLOCKED);
        EXPECT_EQ(m_Tries, 0);
    }
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(PinStatus, TheByteOfAFailedQueryCounts) {
    for (const auto& [byte, state, tries] :
         {std::tuple<unsigned char, PINState, int>{3, PIN_STATE_OK, 3}, {0xFF, PIN_STATE_UNKNOWN, -1}}) {
        EXPECT_CALL(m_Library, CardAttribute(_, _, _, _))
            .WillOnce(DoAll(SetArgPointee<2>(byte), Return(CKR_DEVICE_REMOVED)));
        EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, m_State, m_Tries), -1);
        EXPECT_EQ(m_State, state);
        EXPECT_EQ(m_Tries, tries);
    }
}

TEST_F(PinStatus, AMissingEntryPointIsAQueryThatTheLibraryDoesNotHave) {
    tkPKCS11::Proc_C_CardAttribute = nullptr;
    EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, m_State, m_Tries), -2);
}

TEST_F(PinStatus, ALengthAboveTheBufferIsAFailedQuery) {
    EXPECT_CALL(m_Library, CardAttribute(_, _, _, _)).WillOnce(DoAll(SetArgPointee<3>(6), Return(CKR_OK)));
    EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, m_State, m_Tries), -1);
}

TEST_F(PinStatus, OtherCardsHaveNoSuchQuery) {
    for (const int type : {CARD_UNKNOWN, CARD_ACOS_A03, CARD_ACOS_A04, CARD_ELU, CARD_CARDOS}) {
        m_Card.m_CardType = type;
        m_Tries = 17;
        EXPECT_EQ(m_Card.GetPINStatus(ApplSignature, m_State, m_Tries), -1);
        EXPECT_EQ(m_State, PIN_STATE_UNKNOWN);
        EXPECT_EQ(m_Tries, -1);
    }
}
