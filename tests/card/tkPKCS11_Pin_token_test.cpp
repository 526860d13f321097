// SPDX-License-Identifier: MIT
// PIN commands on the simulated token library, whose questions are answered by a script.
#include "card/tkPKCS11.h"

#include "tests/card/TokenTest.h"

using orseltest::TraceRecord;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace Velmor;

namespace {

class PinsOfACard : public TokenTest {
protected:
    /// The attributes of every write so far, as the trace shows them.
    std::vector<std::string> Writes() const {
        std::vector<std::string> writes;
        for (const TraceRecord& record : m_Deck.GetTrace("C_SetAttributeValue")) {
            writes.push_back(record.Value("attributes"));
        }
        return writes;
    }
    void SetClientVersion(int major) { m_Card->m_ClientVersion[0] = major; }

    PINState m_State = PIN_STATE_OK;
    int m_Tries = 17;
};

} // namespace

// --- ChangePIN ---------------------------------------------------------------------------------------------

TEST_F(PinsOfACard, AreChangedAtTheObjectsThatTheyProtect) {
    const std::tuple<ApplType, const char*, const char*, const char*> rows[] = {
        {ApplSignature, "signature", "123456", "654321"},
        {ApplEncryption, "encryption", "1234", "4321"},
        {ApplIdentityLink, "encryption", "4321", "98765"},
    };
    PutIn("acos-a03");
    for (const auto& [appl, pin, before, after] : rows) {
        m_Deck.AnswerPins({before, after, after});
        EXPECT_EQ(Card().ChangePIN(appl), P11_OK);
        EXPECT_TRUE(m_Deck.HasPin(m_Name, pin, after)) << pin;
    }
    EXPECT_THAT(Writes(), ElementsAre("0x200:0", "0x200:0", "0x200:0"));
    for (const char* const digits : {"123456", "654321", "4321", "98765"}) {
        EXPECT_THAT(m_Deck.TraceText(), Not(HasSubstr(digits)));
    }
}

TEST_F(PinsOfACard, AreChangedOnEveryKind) {
    for (const std::string& kind : KnownKinds()) {
        m_Deck.Add(kind);
    }
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        SCOPED_TRACE(KnownKinds()[index]);
        Open(static_cast<int>(index));
        m_Deck.AnswerPins({"123456", "111222", "111222", "1234", "3333", "3333"});
        EXPECT_EQ(Card().ChangePIN(ApplSignature), P11_OK);
        EXPECT_EQ(Card().ChangePIN(ApplEncryption), P11_OK);
        Card().CloseSession();
    }
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(PinsOfACard, AreLockedByTheThirdWrongTryAndStayIt) {
    PutIn("ecard-g3b");
    const PKCS11Return results[] = {P11_PIN_INCORRECT, P11_PIN_INCORRECT, P11_PIN_LOCKED, P11_PIN_LOCKED};
    const unsigned triesLeft[] = {2, 1, 0, 0};
    const LogCapture log;
    for (size_t i = 0; i < std::size(results); ++i) {
        m_Deck.AnswerPins({"999999", "654321", "654321"}); // the last time nobody is asked
        EXPECT_EQ(Card().ChangePIN(ApplSignature), results[i]) << i;
        EXPECT_EQ(m_Deck.TriesLeft(m_Name, "signature"), triesLeft[i]) << i;
    }
    EXPECT_THAT(log.Errors(), ElementsAre("Proc_C_SetAttributeValue returned CKR_PIN_INCORRECT",
                                          "Proc_C_SetAttributeValue returned CKR_PIN_INCORRECT",
                                          "Proc_C_SetAttributeValue returned CKR_PIN_LOCKED",
                                          "Proc_C_SetAttributeValue returned CKR_PIN_LOCKED"));
}

TEST_F(PinsOfACard, StayAsTheyAreWhenTheUserCancels) {
    PutIn("acos-a05");
    const LogCapture log;
    m_Deck.AnswerPins({"cancel"});
    EXPECT_EQ(Card().ChangePIN(ApplSignature), P11_CANCELLED);
    m_Deck.AnswerPins({"1234", "4321", "cancel"});
    EXPECT_EQ(Card().ChangePIN(ApplEncryption), P11_CANCELLED);
    EXPECT_TRUE(m_Deck.HasPin(m_Name, "signature", "123456"));
    EXPECT_TRUE(m_Deck.HasPin(m_Name, "encryption", "1234"));
    EXPECT_THAT(log.Errors(), ElementsAre("Proc_C_SetAttributeValue returned CKR_FUNCTION_CANCELED",
                                          "Proc_C_SetAttributeValue returned CKR_FUNCTION_CANCELED"));
}

TEST_F(PinsOfACard, AreRefusedInAWrongFormWithoutCostingATry) {
    PutIn("acos-a05");
    const LogCapture log;
    m_Deck.AnswerPins({"123456", "12345", "12345", "123456", "abcdef", "abcdef"});
    EXPECT_EQ(Card().ChangePIN(ApplSignature), P11_ERROR);
    EXPECT_EQ(Card().ChangePIN(ApplSignature), P11_ERROR);
    EXPECT_EQ(m_Deck.TriesLeft(m_Name, "signature"), 3U);
    EXPECT_THAT(log.Errors(), ElementsAre("Proc_C_SetAttributeValue returned 0xa2",
                                          "Proc_C_SetAttributeValue returned 0xa1"));
}

TEST_F(PinsOfACard, NeedTheirObject) {
    PutIn("cardos-53"); // its identity link lies in the infobox, under another name
    m_Deck.RemoveObject(m_Name, "SK.CH.SIG");
    const LogCapture log;
    EXPECT_EQ(Card().ChangePIN(ApplSignature), P11_ERROR);
    EXPECT_EQ(Card().UnblockPIN(ApplIdentityLink), P11_ERROR);
    EXPECT_THAT(log.Errors(), IsEmpty());
    EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(PinsOfACard, CannotBeChangedOnACardThatIsGone) {
    PutIn("acos-a03");
    m_Deck.TakeOut(m_Name);
    EXPECT_EQ(Card().ChangePIN(ApplSignature), P11_ERROR);
    EXPECT_EQ(Card().UnblockPIN(ApplEncryption), P11_ERROR);
    m_Deck.PutBack(m_Name);
}

// --- UnblockPIN --------------------------------------------------------------------------------------------

TEST_F(PinsOfACard, AreUnblockedWithThePuk) {
    PutIn("acos-a03");
    m_Deck.SetTries(m_Name, "signature", 0);
    m_Deck.SetTries(m_Name, "encryption", 0);
    m_Deck.AnswerPins({"12345678", "222333", "222333", "12345678", "4444", "4444"});
    EXPECT_EQ(Card().UnblockPIN(ApplSignature), P11_OK);
    EXPECT_EQ(Card().UnblockPIN(ApplIdentityLink), P11_OK);
    EXPECT_TRUE(m_Deck.HasPin(m_Name, "signature", "222333"));
    EXPECT_TRUE(m_Deck.HasPin(m_Name, "encryption", "4444"));
    EXPECT_EQ(m_Deck.TriesLeft(m_Name, "signature"), 3U);
    EXPECT_THAT(Writes(), ElementsAre("0x201:0", "0x201:0"));
    m_Deck.AnswerPins({"87654321", "222333", "222333"});
    EXPECT_EQ(Card().UnblockPIN(ApplEncryption), P11_PIN_INCORRECT);
}

TEST_F(PinsOfACard, AreNotUnblockedOnACardWithoutAPuk) {
    PutIn("ecard-g2");
    const LogCapture log;
    EXPECT_EQ(Card().UnblockPIN(ApplSignature), P11_ERROR);
    EXPECT_THAT(log.Errors(), ElementsAre("Proc_C_SetAttributeValue returned 0x54"));
}

// --- InitPIN -----------------------------------------------------------------------------------------------

TEST_F(PinsOfACard, AreInitialisedOnTheScreenByAClientThatCan) {
    PutIn("acos-a04");
    m_Deck.UnsetPin(m_Name, "signature");
    SetClientVersion(2);
    m_Deck.AnswerPins({"777888", "777888"});
    EXPECT_EQ(Card().InitPIN(ApplSignature), P11_OK);
    EXPECT_TRUE(m_Deck.HasPin(m_Name, "signature", "777888"));
    EXPECT_THAT(Writes(), ElementsAre("0x200:1,0x80000002:1"));
}

TEST_F(PinsOfACard, AreInitialisedWithoutTheScreenWhereTheCardRefusesIt) {
    PutIn("acos-a04");
    m_Deck.UnsetPin(m_Name, "signature");
    m_Deck.Change(m_Name, [](orselsim::Card& card) { card.m_Record.m_AllowsSoftwarePin = false; });
    SetClientVersion(2);
    m_Deck.AnswerPins({"777888", "777888"});
    EXPECT_EQ(Card().InitPIN(ApplSignature), P11_OK);
    EXPECT_THAT(Writes(), ElementsAre("0x200:1,0x80000002:1", "0x200:1"));
}

TEST_F(PinsOfACard, AreAskedForOnceMoreWithAnEmptyListByAnOldClient) {
    m_Deck.PlanFaults({"C_SetAttributeValue call=1 rv=CKR_FUNCTION_FAILED"});
    PutIn("acos-a04");
    SetClientVersion(1);
    EXPECT_EQ(Card().InitPIN(ApplSignature), P11_PIN_INCORRECT); // the library refuses the empty list
    EXPECT_THAT(Writes(), ElementsAre("0x200:1", ""));
}

TEST_F(PinsOfACard, AreInitialisedOnce) {
    PutIn("acos-a04");
    EXPECT_EQ(Card().InitPIN(ApplSignature), P11_PIN_INCORRECT);
    EXPECT_TRUE(m_Deck.HasPin(m_Name, "signature", "123456"));
}

TEST_F(PinsOfACard, OfOtherKeysAndCardsAreChangedByAnInitialisation) {
    PutIn("acos-a04");
    m_Deck.AnswerPins({"1234", "4321", "4321", "0000", "1111", "1111"});
    EXPECT_EQ(Card().InitPIN(ApplEncryption), P11_OK);
    EXPECT_EQ(Card().InitPIN(ApplEncryption), P11_PIN_LOCKED); // a wrong PIN, told in the other way
    EXPECT_THAT(Writes(), ElementsAre("0x200:0", "0x200:0"));
}

TEST_F(PinsOfACard, OfAnUnknownCardAreNotInitialised) {
    PutIn("unknown");
    EXPECT_EQ(Card().InitPIN(ApplSignature), P11_NOT_SUPPORTED);
    EXPECT_THAT(Writes(), IsEmpty());
}

// --- GetPINStatus ------------------------------------------------------------------------------------------

TEST_F(PinsOfACard, TellTheirTriesOnECardsOfAKnownAtr) {
    for (const std::string& kind : KnownKinds()) {
        m_Deck.Add(kind);
    }
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        const std::string kind = KnownKinds()[index];
        SCOPED_TRACE(kind);
        Open(static_cast<int>(index));
        const bool tells = kind == "ecard-g2" || kind == "ecard-g3a" || kind == "ecard-g3b";
        for (const ApplType appl : {ApplSignature, ApplEncryption, ApplIdentityLink}) {
            EXPECT_EQ(Card().GetPINStatus(appl, m_State, m_Tries), tells ? 0 : -1);
            EXPECT_EQ(m_State, tells ? PIN_STATE_OK : PIN_STATE_UNKNOWN);
            EXPECT_EQ(m_Tries, tells ? 3 : -1);
        }
        Card().CloseSession();
    }
}

TEST_F(PinsOfACard, TellEveryStateTheyAreIn) {
    PutIn("ecard-g2");
    m_Deck.SetTries(m_Name, "signature", 1);
    m_Deck.SetTries(m_Name, "encryption", 0);
    EXPECT_EQ(Card().GetPINStatus(ApplSignature, m_State, m_Tries), 0);
    EXPECT_EQ(std::pair(m_State, m_Tries), std::pair(PIN_STATE_OK, 1));
    EXPECT_EQ(Card().GetPINStatus(ApplIdentityLink, m_State, m_Tries), 0);
    EXPECT_EQ(std::pair(m_State, m_Tries), std::pair(PIN_STATE_BLOCKED, 0));
    m_Deck.UnsetPin(m_Name, "encryption");
    EXPECT_EQ(Card().GetPINStatus(ApplEncryption, m_State, m_Tries), 0);
    EXPECT_EQ(std::pair(m_State, m_Tries), std::pair(PIN_STATE_UNKNOWN, -1));
}

TEST_F(PinsOfACard, TellNothingBeforeTheCardTypeIsLoaded) {
    m_Deck.Add("ecard-g2");
    ListCards();
    ASSERT_TRUE(Card().OpenSession(0, false));
    EXPECT_EQ(Card().GetPINStatus(ApplSignature, m_State, m_Tries), -1);
    EXPECT_EQ(std::pair(m_State, m_Tries), std::pair(PIN_STATE_UNKNOWN, -1));
    EXPECT_TRUE(Card().LoadCardType());
    EXPECT_EQ(Card().GetPINStatus(ApplSignature, m_State, m_Tries), 0);
}

TEST_F(PinsOfACard, OfACardThatLacksTheQueryReadAsBlocked) {
    PutIn("ecard-g2");
    m_Deck.Change(m_Name, [](orselsim::Card& card) { card.m_Record.m_ReportsPinStatus = false; });
    EXPECT_EQ(Card().GetPINStatus(ApplSignature, m_State, m_Tries), -2);
    EXPECT_EQ(std::pair(m_State, m_Tries), std::pair(PIN_STATE_BLOCKED, 0));
}
