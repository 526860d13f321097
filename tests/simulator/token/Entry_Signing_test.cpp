// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/simulator/token/CardTest.h"

using orselsim::bytesOf;
using orseltest::Bytes;
using orseltest::Rv;
using testing::IsEmpty;
using testing::SizeIs;

class CardSignature : public orseltest::CardTest {
protected:
    Rv signByEncryptionKey() { return sign(CKM_ECDSA, privateKey("SK.CH.EKEY"), input, signature); }

    const Bytes input = Bytes(20, 7);
    Bytes signature;
};

TEST_F(CardSignature, IsMadeByEachKeyAndConfirmedByTheCard) {
    struct Case {
        const char* application;
        CK_MECHANISM_TYPE mechanism;
        const char* pin;
        std::size_t size;
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
    putIn("acos-a04");
    for (const Case& c : cases) {
        deck.answerPins({c.pin});
        const CK_OBJECT_HANDLE secret = privateKey(std::string("SK.CH.") + c.application);
        EXPECT_EQ(Rv(CKR_OK), sign(c.mechanism, secret, input, signature));
        EXPECT_THAT(signature, SizeIs(c.size));
        const CK_OBJECT_HANDLE open = publicKey(std::string("PK.CH.") + c.application);
        EXPECT_EQ(Rv(CKR_OK), verify(c.mechanism, open, input, signature));
        EXPECT_EQ(Rv(CKR_SIGNATURE_INVALID), verify(c.mechanism, open, Bytes(20, 8), signature));
    }
}

TEST_F(CardSignature, TellsItsSizeWithoutAPin) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), signInit(CKM_ECDSA, privateKey("SK.CH.SIG")));
    CK_ULONG size = 0;
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_Sign(session, nullptr, 0, nullptr, &size));
    EXPECT_EQ(48U, size);
    Bytes buffer(47);
    size = buffer.size();
    Bytes copy = input;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL),
              (*library)->C_Sign(session, copy.data(), copy.size(), buffer.data(), &size));
    EXPECT_EQ(48U, size);
    deck.answerPins({"123456"});
    EXPECT_EQ(Rv(CKR_OK), finishSign(input, signature)) << "the operation is still active";
    EXPECT_THAT(signature, SizeIs(48));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), finishSign(input, signature));
}

TEST_F(CardSignature, KeepsTheOrderOfTheStandard) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), finishSign(input, signature));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), (*library)->C_Verify(session, nullptr, 0, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), signInit(CKM_ECDSA, privateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), signInit(CKM_ECDSA, privateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OK), verifyInit(CKM_ECDSA, publicKey("PK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), verifyInit(CKM_ECDSA, publicKey("PK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_SIGNATURE_LEN_RANGE), (*library)->C_Verify(session, nullptr, 0, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), (*library)->C_Verify(session, nullptr, 0, nullptr, 0));
}

TEST_F(CardSignature, IsRefusedForKeysAndMechanismsThatDoNotFit) {
    putIn("acos-a04");
    const CK_OBJECT_HANDLE ec = privateKey("SK.CH.SIG");
    const CK_OBJECT_HANDLE rsa = privateKey("SK.CH.EKEY");
    EXPECT_EQ(Rv(CKR_KEY_TYPE_INCONSISTENT), signInit(CKM_RSA_PKCS, ec));
    EXPECT_EQ(Rv(CKR_KEY_TYPE_INCONSISTENT), signInit(CKM_ECDSA, rsa));
    EXPECT_EQ(Rv(CKR_MECHANISM_INVALID), signInit(CKM_SHA224_RSA_PKCS, rsa));
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), signInit(CKM_ECDSA, 0));
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), signInit(CKM_ECDSA, data("INFOBOX")));
    EXPECT_EQ(Rv(CKR_KEY_FUNCTION_NOT_PERMITTED), signInit(CKM_ECDSA, publicKey("PK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_KEY_FUNCTION_NOT_PERMITTED), verifyInit(CKM_ECDSA, ec));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*library)->C_SignInit(session, nullptr, ec));
    CK_MECHANISM withParameter = {CKM_ECDSA, &withParameter, sizeof withParameter};
    EXPECT_EQ(Rv(CKR_MECHANISM_PARAM_INVALID), (*library)->C_SignInit(session, &withParameter, ec));
}

TEST_F(CardSignature, OfABlockThatIsTooLongIsRefusedBeforeThePin) {
    putIn("acos-a03");
    EXPECT_EQ(Rv(CKR_DATA_LEN_RANGE), sign(CKM_RSA_PKCS, privateKey("SK.CH.EKEY"), Bytes(182), signature));
    deck.answerPins({"1234"});
    EXPECT_EQ(Rv(CKR_OK), sign(CKM_RSA_PKCS, privateKey("SK.CH.EKEY"), Bytes(181), signature))
        << "no answer was used up";
}

TEST_F(CardSignature, AsksForThePinEachTime) {
    putIn("ecard-g2");
    deck.answerPins({"1234", "4321", "1234"});
    EXPECT_EQ(Rv(CKR_OK), signByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), signByEncryptionKey());
    EXPECT_THAT(signature, IsEmpty());
    EXPECT_EQ(2U, deck.triesLeft(card, "encryption"));
    EXPECT_EQ(Rv(CKR_OK), signByEncryptionKey());
    EXPECT_EQ(3U, deck.triesLeft(card, "encryption"));
}

TEST_F(CardSignature, EndsTheOperationWhenThePinIsWrong) {
    putIn("ecard-g2");
    deck.answerPins({"0000"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), signByEncryptionKey());
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), finishSign(input, signature));
}

TEST_F(CardSignature, IsCancelledByTheUser) {
    putIn("ecard-g2");
    deck.answerPins({"cancel"});
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), signByEncryptionKey());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), signByEncryptionKey()) << "no more answers";
    EXPECT_EQ(3U, deck.triesLeft(card, "encryption"));
}

TEST_F(CardSignature, BlocksThePinAfterThreeMistakes) {
    putIn("ecard-g2");
    deck.answerPins({"0000", "0000", "0000", "1234"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), signByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), signByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), signByEncryptionKey());
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), signByEncryptionKey()) << "without asking";
    deck.setTries(card, "encryption", 3);
    EXPECT_EQ(Rv(CKR_OK), signByEncryptionKey()) << "with the fourth answer";
}

TEST_F(CardSignature, NeedsAPinThatHasBeenSet) {
    putIn("ecard-g2");
    deck.unsetPin(card, "signature");
    EXPECT_EQ(Rv(CKR_USER_PIN_NOT_INITIALIZED), sign(CKM_ECDSA, privateKey("SK.CH.SIG"), input, signature));
}

TEST_F(CardSignature, NeedsNoFurtherPinAfterALoginUnlessItIsQualified) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), login("1234"));
    EXPECT_EQ(Rv(CKR_OK), signByEncryptionKey());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), sign(CKM_ECDSA, privateKey("SK.CH.SIG"), input, signature));
    EXPECT_EQ(Rv(CKR_OK), signInit(CKM_ECDSA, privateKey("SK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_OK), login("123456", CKU_CONTEXT_SPECIFIC));
    EXPECT_EQ(Rv(CKR_OK), finishSign(input, signature));
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), sign(CKM_ECDSA, privateKey("SK.CH.SIG"), input, signature))
        << "counted once";
}

TEST_F(CardSignature, SurvivesTheProcess) {
    putIn("ecard-g2");
    deck.answerPins({"0000"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), signByEncryptionKey());
    library.reset();
    library.emplace();
    EXPECT_NE(0U, library->tokenInfo(library->slots().at(0)).flags & CKF_USER_PIN_COUNT_LOW);
}

TEST_F(CardSignature, FailsWhenTheCardIsTakenOutInBetween) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), signInit(CKM_ECDSA, privateKey("SK.CH.SIG")));
    deck.takeOut(card);
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), finishSign(input, signature));
}

TEST_F(CardSignature, RefusesMissingArguments) {
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), signInit(CKM_ECDSA, privateKey("SK.CH.SIG")));
    Bytes buffer(48);
    CK_ULONG size = 48;
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*library)->C_Sign(session, nullptr, 20, nullptr, nullptr));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), (*library)->C_Sign(session, nullptr, 20, buffer.data(), &size));
}
