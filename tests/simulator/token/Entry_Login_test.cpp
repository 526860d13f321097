// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/simulator/token/CardTest.h"

using orseltest::Bytes;
using orseltest::Rv;
using testing::HasSubstr;
using testing::Not;

class Login : public orseltest::CardTest {
protected:
    CK_STATE State() const {
        CK_SESSION_INFO info = {};
        EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_GetSessionInfo(m_Session, &info));
        return info.state;
    }
};

TEST_F(Login, TakesThePinInTheCallOrAsksForIt) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), LogIn("1234"));
    EXPECT_EQ(CKS_RO_USER_FUNCTIONS, State());
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_Logout(m_Session));
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, State());
    m_Deck.AnswerPins({"1234", "1234"});
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_Logout(m_Session));
    CK_BYTE empty[] = "";
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_Login(m_Session, CKU_USER, empty, 0))
        << "an empty text asks as well";
}

TEST_F(Login, CountsForAllSessionsOfTheCard) {
    PutIn("ecard-g2");
    const CK_SESSION_HANDLE other = m_Library->OpenFirst();
    EXPECT_EQ(Rv(CKR_OK), LogIn("1234"));
    EXPECT_EQ(Rv(CKR_USER_ALREADY_LOGGED_IN), LogIn("1234"));
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_CloseSession(other));
    EXPECT_EQ(CKS_RO_USER_FUNCTIONS, State());
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_CloseSession(m_Session));
    m_Session = m_Library->OpenFirst();
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, State()) << "the last session took the login with it";
}

TEST_F(Login, IsRefusedForAWrongPin) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), LogIn("123456"));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), LogIn("123"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), LogIn("x"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), LogIn("1234"));
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, State());
    EXPECT_EQ(0U, m_Deck.TriesLeft(m_Card, "encryption"));
    EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "signature"));
}

TEST_F(Login, IsCancelledByTheUser) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), LoginByDialog());
    EXPECT_EQ(Rv(CKR_USER_NOT_LOGGED_IN), (*m_Library)->C_Logout(m_Session));
}

TEST_F(Login, NeedsAKnownUserAndASetPin) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_USER_TYPE_INVALID), LogIn("1234", CKU_SO));
    EXPECT_EQ(Rv(CKR_USER_TYPE_INVALID), LogIn("1234", 17));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), LogIn("123456", CKU_CONTEXT_SPECIFIC));
    m_Deck.UnsetPin(m_Card, "encryption");
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED), LogIn("1234"));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), (*m_Library)->C_Logout(m_Session + 1));
}

TEST_F(Login, IsNotPossibleOnAnEmptyCard) {
    PutIn("empty");
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED), LogIn("1234"));
}

TEST_F(Login, EndsWithAResetAndWithTheCard) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), LogIn("1234"));
    Bytes atr;
    m_Library->CardAttribute(m_Session, "Reset", atr);
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, State());
    EXPECT_EQ(Rv(CKR_OK), LogIn("1234"));
    m_Deck.TakeOut(m_Card);
    m_Library->Slots();
    m_Deck.PutBack(m_Card);
    m_Session = m_Library->OpenFirst();
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, State());
}

TEST_F(Login, WithAWrongPinForOneSignatureLeavesItUnsigned) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), SignInit(CKM_ECDSA, GetPrivateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), LogIn("000000", CKU_CONTEXT_SPECIFIC));
    Bytes signature;
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), FinishSign(Bytes(20), signature));
    EXPECT_EQ(2U, m_Deck.TriesLeft(m_Card, "signature"));
}

TEST_F(Login, LeavesNoPinInTheTrace) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"55556666"});
    LoginByDialog();
    LogIn("77778888");
    EXPECT_THAT(m_Deck.TraceText(), HasSubstr("pin=asked"));
    EXPECT_THAT(m_Deck.TraceText(), HasSubstr("pin=given"));
    EXPECT_THAT(m_Deck.TraceText(), Not(HasSubstr("55556666")));
    EXPECT_THAT(m_Deck.TraceText(), Not(HasSubstr("77778888")));
}
