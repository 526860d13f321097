// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/simulator/token/CardTest.h"

using orseltest::Bytes;
using orseltest::Rv;
using testing::HasSubstr;
using testing::Not;

class Login : public orseltest::CardTest {
protected:
    CK_STATE state() const {
        CK_SESSION_INFO info = {};
        EXPECT_EQ(Rv(CKR_OK), (*library)->C_GetSessionInfo(session, &info));
        return info.state;
    }
};

TEST_F(Login, TakesThePinInTheCallOrAsksForIt) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), login("1234"));
    EXPECT_EQ(CKS_RO_USER_FUNCTIONS, state());
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_Logout(session));
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, state());
    deck.answerPins({"1234", "1234"});
    EXPECT_EQ(Rv(CKR_OK), loginByDialog());
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_Logout(session));
    CK_BYTE empty[] = "";
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_Login(session, CKU_USER, empty, 0)) << "an empty text asks as well";
}

TEST_F(Login, CountsForAllSessionsOfTheCard) {
    putIn("ecard-g2");
    const CK_SESSION_HANDLE other = library->openFirst();
    EXPECT_EQ(Rv(CKR_OK), login("1234"));
    EXPECT_EQ(Rv(CKR_USER_ALREADY_LOGGED_IN), login("1234"));
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_CloseSession(other));
    EXPECT_EQ(CKS_RO_USER_FUNCTIONS, state());
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_CloseSession(session));
    session = library->openFirst();
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, state()) << "the last session took the login with it";
}

TEST_F(Login, IsRefusedForAWrongPin) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), login("123456"));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), login("123"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), login("x"));
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), login("1234"));
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, state());
    EXPECT_EQ(0U, deck.triesLeft(card, "encryption"));
    EXPECT_EQ(3U, deck.triesLeft(card, "signature"));
}

TEST_F(Login, IsCancelledByTheUser) {
    putIn("ecard-g2");
    deck.answerPins({"cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), loginByDialog());
    EXPECT_EQ(Rv(CKR_USER_NOT_LOGGED_IN), (*library)->C_Logout(session));
}

TEST_F(Login, NeedsAKnownUserAndASetPin) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_USER_TYPE_INVALID), login("1234", CKU_SO));
    EXPECT_EQ(Rv(CKR_USER_TYPE_INVALID), login("1234", 17));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), login("123456", CKU_CONTEXT_SPECIFIC));
    deck.unsetPin(card, "encryption");
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED), login("1234"));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), (*library)->C_Logout(session + 1));
}

TEST_F(Login, IsNotPossibleOnAnEmptyCard) {
    putIn("empty");
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED), login("1234"));
}

TEST_F(Login, EndsWithAResetAndWithTheCard) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), login("1234"));
    Bytes atr;
    library->cardAttribute(session, "Reset", atr);
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, state());
    EXPECT_EQ(Rv(CKR_OK), login("1234"));
    deck.takeOut(card);
    library->slots();
    deck.putBack(card);
    session = library->openFirst();
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, state());
}

TEST_F(Login, WithAWrongPinForOneSignatureLeavesItUnsigned) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), signInit(CKM_ECDSA, privateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), login("000000", CKU_CONTEXT_SPECIFIC));
    Bytes signature;
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), finishSign(Bytes(20), signature));
    EXPECT_EQ(2U, deck.triesLeft(card, "signature"));
}

TEST_F(Login, LeavesNoPinInTheTrace) {
    putIn("ecard-g2");
    deck.answerPins({"55556666"});
    loginByDialog();
    login("77778888");
    EXPECT_THAT(deck.traceText(), HasSubstr("pin=asked"));
    EXPECT_THAT(deck.traceText(), HasSubstr("pin=given"));
    EXPECT_THAT(deck.traceText(), Not(HasSubstr("55556666")));
    EXPECT_THAT(deck.traceText(), Not(HasSubstr("77778888")));
}
