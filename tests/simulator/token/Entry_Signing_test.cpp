// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/simulator/token/CardTest.h"

using orseltest::Bytes;
using orseltest::Rv;
using testing::IsEmpty;
using testing::SizeIs;

class CardSignature : public orseltest::CardTest {
protected:
    Rv SignByEncryptionKey() { return Sign(CKM_ECDSA, GetPrivateKey("SK.CH.EKEY"), m_Input, m_Signature); }

    const Bytes m_Input = Bytes(20, 7);
    Bytes m_Signature;
};

TEST_F(CardSignature, IsMadeByEachKeyAndConfirmedByTheCard) {
    struct Case {
        const char* m_Application;
        CK_MECHANISM_TYPE m_Mechanism;
        const char* m_Pin;
        std::size_t m_Size;
    };
    const Case cases[] = {
        {"SIG", CKM_ECDSA, "123456", 64},
        {"SIG", CKM_ECDSA_SHA1, "123456", 64},
        {"EKEY", CKM_RSA_PKCS, "1234", 192},
        {"EKEY", CKM_SHA1_RSA_PKCS, "1234", 192},
        {"EKEY", CKM_RIPEMD160_RSA_PKCS, "1234", 192},
        {"EKEY", CKM_SHA256_RSA_PKCS, "1234", 192},
        {"EKEY", CKM_SHA384_RSA_PKCS, "1234", 192},
        {"EKEY", CKM_SHA512_RSA_PKCS, "1234", 192},
    };
    PutIn("acos-a04");
    for (const Case& c : cases) {
        m_Deck.AnswerPins({c.m_Pin});
        const CK_OBJECT_HANDLE secret = GetPrivateKey(std::string("SK.CH.") + c.m_Application);
        EXPECT_EQ(Rv(CKR_OK), Sign(c.m_Mechanism, secret, m_Input, m_Signature));
        EXPECT_THAT(m_Signature, SizeIs(c.m_Size));
        const CK_OBJECT_HANDLE open = PublicKey(std::string("PK.CH.") + c.m_Application);
        EXPECT_EQ(Rv(CKR_OK), Verify(c.m_Mechanism, open, m_Input, m_Signature));
        EXPECT_EQ(Rv(CKR_SIGNATURE_INVALID), Verify(c.m_Mechanism, open, Bytes(20, 8), m_Signature));
    }
}

TEST_F(CardSignature, TellsItsSizeWithoutAPin) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), SignInit(CKM_ECDSA, GetPrivateKey("SK.CH.SIG")));
    CK_ULONG size = 0;
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_Sign(m_Session, nullptr, 0, nullptr, &size));
    EXPECT_EQ(48U, size);
    Bytes buffer(47);
    size = buffer.size();
    Bytes copy = m_Input;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL),
              (*m_Library)->C_Sign(m_Session, copy.data(), copy.size(), buffer.data(), &size));
    EXPECT_EQ(48U, size);
    m_Deck.AnswerPins({"123456"});
    EXPECT_EQ(Rv(CKR_OK), FinishSign(m_Input, m_Signature)) << "the operation is still active";
    EXPECT_THAT(m_Signature, SizeIs(48));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), FinishSign(m_Input, m_Signature));
}

TEST_F(CardSignature, KeepsTheOrderOfTheStandard) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), FinishSign(m_Input, m_Signature));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), (*m_Library)->C_Verify(m_Session, nullptr, 0, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), SignInit(CKM_ECDSA, GetPrivateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), SignInit(CKM_ECDSA, GetPrivateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OK), VerifyInit(CKM_ECDSA, PublicKey("PK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), VerifyInit(CKM_ECDSA, PublicKey("PK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_SIGNATURE_LEN_RANGE), (*m_Library)->C_Verify(m_Session, nullptr, 0, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), (*m_Library)->C_Verify(m_Session, nullptr, 0, nullptr, 0));
}

TEST_F(CardSignature, IsRefusedForKeysAndMechanismsThatDoNotFit) {
    PutIn("acos-a04");
    const CK_OBJECT_HANDLE ec = GetPrivateKey("SK.CH.SIG");
    const CK_OBJECT_HANDLE rsa = GetPrivateKey("SK.CH.EKEY");
    EXPECT_EQ(Rv(CKR_KEY_TYPE_INCONSISTENT), SignInit(CKM_RSA_PKCS, ec));
    EXPECT_EQ(Rv(CKR_KEY_TYPE_INCONSISTENT), SignInit(CKM_ECDSA, rsa));
    EXPECT_EQ(Rv(CKR_MECHANISM_INVALID), SignInit(CKM_SHA224_RSA_PKCS, rsa));
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), SignInit(CKM_ECDSA, 0));
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), SignInit(CKM_ECDSA, data("INFOBOX")));
    EXPECT_EQ(Rv(CKR_KEY_FUNCTION_NOT_PERMITTED), SignInit(CKM_ECDSA, PublicKey("PK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_KEY_FUNCTION_NOT_PERMITTED), VerifyInit(CKM_ECDSA, ec));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*m_Library)->C_SignInit(m_Session, nullptr, ec));
    CK_MECHANISM withParameter = {CKM_ECDSA, &withParameter, sizeof withParameter};
    EXPECT_EQ(Rv(CKR_MECHANISM_PARAM_INVALID), (*m_Library)->C_SignInit(m_Session, &withParameter, ec));
}

TEST_F(CardSignature, OfABlockThatIsTooLongIsRefusedBeforeThePin) {
    PutIn("acos-a03");
    EXPECT_EQ(Rv(CKR_DATA_LEN_RANGE),
              Sign(CKM_RSA_PKCS, GetPrivateKey("SK.CH.EKEY"), Bytes(182), m_Signature));
    m_Deck.AnswerPins({"1234"});
    EXPECT_EQ(Rv(CKR_OK), Sign(CKM_RSA_PKCS, GetPrivateKey("SK.CH.EKEY"), Bytes(181), m_Signature))
        << "no answer was used up";
}

TEST_F(CardSignature, AsksForThePinEachTime) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"1234", "4321", "1234"});
    EXPECT_EQ(Rv(CKR_OK), SignByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), SignByEncryptionKey());
    EXPECT_THAT(m_Signature, IsEmpty());
    EXPECT_EQ(2U, m_Deck.TriesLeft(m_Card, "encryption"));
    EXPECT_EQ(Rv(CKR_OK), SignByEncryptionKey());
    EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "encryption"));
}

TEST_F(CardSignature, EndsTheOperationWhenThePinIsWrong) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"0000"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), SignByEncryptionKey());
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), FinishSign(m_Input, m_Signature));
}

TEST_F(CardSignature, IsCancelledByTheUser) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), SignByEncryptionKey());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), SignByEncryptionKey()) << "no more answers";
    EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "encryption"));
}

TEST_F(CardSignature, BlocksThePinAfterThreeMistakes) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"0000", "0000", "0000", "1234"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), SignByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), SignByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), SignByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), SignByEncryptionKey()) << "without asking";
    m_Deck.SetTries(m_Card, "encryption", 3);
    EXPECT_EQ(Rv(CKR_OK), SignByEncryptionKey()) << "with the fourth answer";
}

TEST_F(CardSignature, NeedsAPinThatHasBeenSet) {
    PutIn("ecard-g2");
    m_Deck.UnsetPin(m_Card, "signature");
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED),
              Sign(CKM_ECDSA, GetPrivateKey("SK.CH.SIG"), m_Input, m_Signature));
}

TEST_F(CardSignature, NeedsNoFurtherPinAfterALoginUnlessItIsQualified) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), LogIn("1234"));
    EXPECT_EQ(Rv(CKR_OK), SignByEncryptionKey());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Sign(CKM_ECDSA, GetPrivateKey("SK.CH.SIG"), m_Input, m_Signature));
    EXPECT_EQ(Rv(CKR_OK), SignInit(CKM_ECDSA, GetPrivateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OK), LogIn("123456", CKU_CONTEXT_SPECIFIC));
    EXPECT_EQ(Rv(CKR_OK), FinishSign(m_Input, m_Signature));
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Sign(CKM_ECDSA, GetPrivateKey("SK.CH.SIG"), m_Input, m_Signature))
        << "counted once";
}

TEST_F(CardSignature, SurvivesTheProcess) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"0000"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), SignByEncryptionKey());
    m_Library.reset();
    m_Library.emplace();
    EXPECT_NE(0U, m_Library->TokenInfo(m_Library->Slots().at(0)).flags & CKF_USER_PIN_COUNT_LOW);
}

TEST_F(CardSignature, FailsWhenTheCardIsTakenOutInBetween) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), SignInit(CKM_ECDSA, GetPrivateKey("SK.CH.SIG")));
    m_Deck.TakeOut(m_Card);
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), FinishSign(m_Input, m_Signature));
}

TEST_F(CardSignature, RefusesMissingArguments) {
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), SignInit(CKM_ECDSA, GetPrivateKey("SK.CH.SIG")));
    Bytes buffer(48);
    CK_ULONG size = 48;
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*m_Library)->C_Sign(m_Session, nullptr, 20, nullptr, nullptr));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*m_Library)->C_Sign(m_Session, nullptr, 20, buffer.data(), &size));
}
