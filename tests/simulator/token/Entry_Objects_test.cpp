// SPDX-License-Identifier: MIT
#include <cstring>

#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orselsim::bytesOf;
using orselsim::fromHex;
using orselsim::textOf;
using orseltest::attributeOver;
using orseltest::Bytes;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr CK_BBOOL no = CK_FALSE;
constexpr CK_BBOOL yes = CK_TRUE;

} // namespace

class Objects : public testing::Test {
protected:
    Objects() : card(deck.add("ecard-g2")), library(), session(library.openFirst()) {}

    std::vector<std::string> labels(CK_OBJECT_CLASS objectClass) const {
        std::vector<std::string> result;
        for (const CK_OBJECT_HANDLE object : library.find(session, objectClass))
            result.push_back(textOf(library.attribute(session, object, CKA_LABEL)));
        return result;
    }

    Rv read(CK_OBJECT_HANDLE object, std::vector<CK_ATTRIBUTE>& attributes) const {
        return library->C_GetAttributeValue(session, object, attributes.data(), attributes.size());
    }

    SimDeck deck;
    const std::string card;
    const TokenLibrary library;
    const CK_SESSION_HANDLE session;
};

TEST_F(Objects, AreFoundByClass) {
    EXPECT_THAT(labels(CKO_PRIVATE_KEY), ElementsAre("SK.CH.SIG", "SK.CH.EKEY"));
    EXPECT_THAT(labels(CKO_PUBLIC_KEY), ElementsAre("PK.CH.SIG", "PK.CH.EKEY"));
    EXPECT_THAT(labels(CKO_CERTIFICATE), ElementsAre("C.CH.SIG", "C.CH.EKEY"));
    EXPECT_THAT(labels(CKO_DATA), ElementsAre("PERSONENBINDUNG", "RFU1", "RFU2"));
    EXPECT_THAT(labels(CKO_SECRET_KEY), IsEmpty());
}

TEST_F(Objects, AreFoundByTheExactLabelOnly) {
    EXPECT_THAT(library.find(session, CKO_CERTIFICATE, "C.CH.SIG"), SizeIs(1));
    EXPECT_THAT(library.find(session, CKO_CERTIFICATE, "C.CH.SI"), IsEmpty());
    EXPECT_THAT(library.find(session, CKO_CERTIFICATE, "C.CH.SIGN"), IsEmpty());
    EXPECT_THAT(library.find(session, CKO_DATA, "C.CH.SIG"), IsEmpty());
}

TEST_F(Objects, AreFoundByIdAndKeyType) {
    Bytes id = {0x02};
    CK_KEY_TYPE ec = CKK_EC;
    CK_ATTRIBUTE wanted[] = {attributeOver(CKA_ID, id), {CKA_KEY_TYPE, &ec, sizeof ec}};
    ASSERT_EQ(Rv(CKR_OK), library->C_FindObjectsInit(session, wanted, 2));
    CK_OBJECT_HANDLE found[8] = {};
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjects(session, found, 8, &count));
    EXPECT_EQ(2U, count) << "private and public key; the certificate has no key type";
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsFinal(session));
}

TEST_F(Objects, OfAClassWithAWrongSizeAreNotFound) {
    const unsigned char shortClass[2] = {0, 0};
    CK_ATTRIBUTE wanted = {CKA_CLASS, const_cast<unsigned char*>(shortClass), sizeof shortClass};
    ASSERT_EQ(Rv(CKR_OK), library->C_FindObjectsInit(session, &wanted, 1));
    CK_OBJECT_HANDLE found = 0;
    CK_ULONG count = 7;
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjects(session, &found, 1, &count));
    EXPECT_EQ(0U, count);
}

TEST_F(Objects, ComeInPiecesAsLargeAsAskedFor) {
    ASSERT_EQ(Rv(CKR_OK), library->C_FindObjectsInit(session, nullptr, 0));
    std::vector<CK_ULONG> counts;
    for (int i = 0; i < 4; ++i) {
        CK_OBJECT_HANDLE found[4] = {};
        CK_ULONG count = 0;
        EXPECT_EQ(Rv(CKR_OK), library->C_FindObjects(session, found, 4, &count));
        counts.push_back(count);
    }
    EXPECT_THAT(counts, ElementsAre(4, 4, 1, 0));
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsFinal(session));
}

TEST_F(Objects, SearchKeepsTheOrderOfTheStandard) {
    CK_OBJECT_HANDLE found = 0;
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), library->C_FindObjects(session, &found, 1, &count));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), library->C_FindObjectsFinal(session));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_FindObjectsInit(session, nullptr, 1));
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsInit(session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), library->C_FindObjectsInit(session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_FindObjects(session, nullptr, 1, &count));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_FindObjects(session, &found, 1, nullptr));
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsFinal(session));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_FindObjectsInit(session + 1, nullptr, 0));
}

TEST_F(Objects, SearchesOfTwoSessionsDoNotMeet) {
    const CK_SESSION_HANDLE other = library.open(library.slots().at(0));
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsInit(session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsInit(other, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsFinal(session));
    EXPECT_EQ(Rv(CKR_OK), library->C_FindObjectsFinal(other));
}

TEST_F(Objects, AnswerASizeQueryWithTheSize) {
    const CK_OBJECT_HANDLE object = library.findOne(session, CKO_DATA, "RFU1");
    std::vector<CK_ATTRIBUTE> asked = {{CKA_VALUE, nullptr, 12345}, {CKA_LABEL, nullptr, 0}};
    EXPECT_EQ(Rv(CKR_OK), read(object, asked));
    EXPECT_EQ(deck.objectContent(card, "RFU1").size(), asked[0].ulValueLen);
    EXPECT_EQ(4U, asked[1].ulValueLen);
}

TEST_F(Objects, RefuseTooSmallABufferAndAnswerTheOthersAllTheSame) {
    const CK_OBJECT_HANDLE object = library.findOne(session, CKO_DATA, "RFU1");
    Bytes value(3, 0xEE);
    Bytes label(4);
    std::vector<CK_ATTRIBUTE> asked = {attributeOver(CKA_VALUE, value), attributeOver(CKA_LABEL, label)};
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), read(object, asked));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, asked[0].ulValueLen);
    EXPECT_THAT(value, ElementsAre(0xEE, 0xEE, 0xEE));
    EXPECT_EQ("RFU1", textOf(label));
    EXPECT_EQ(4U, asked[1].ulValueLen);
}

TEST_F(Objects, SayWhichAttributeTheyLack) {
    const CK_OBJECT_HANDLE object = library.findOne(session, CKO_DATA, "RFU1");
    Bytes buffer(16);
    Bytes label(4);
    std::vector<CK_ATTRIBUTE> asked = {attributeOver(CKA_MODULUS, buffer), attributeOver(CKA_LABEL, label)};
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_TYPE_INVALID), read(object, asked));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, asked[0].ulValueLen);
    EXPECT_EQ("RFU1", textOf(label));
}

TEST_F(Objects, NeverGiveAwayAPrivateKey) {
    const CK_OBJECT_HANDLE key = library.findOne(session, CKO_PRIVATE_KEY, "SK.CH.SIG");
    for (const CK_ATTRIBUTE_TYPE type : {CKA_VALUE, CKA_PRIVATE_EXPONENT, CKA_PRIME_1, CKA_COEFFICIENT}) {
        std::vector<CK_ATTRIBUTE> asked = {{type, nullptr, 0}};
        EXPECT_EQ(Rv(CKR_ATTRIBUTE_SENSITIVE), read(key, asked));
        EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, asked[0].ulValueLen);
    }
}

TEST_F(Objects, RefuseWrongHandlesAndTemplates) {
    std::vector<CK_ATTRIBUTE> asked = {{CKA_LABEL, nullptr, 0}};
    for (const CK_OBJECT_HANDLE handle :
         {CK_OBJECT_HANDLE(0), CK_OBJECT_HANDLE(1), CK_OBJECT_HANDLE(0x1000), ~CK_OBJECT_HANDLE(0)})
        EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), read(handle, asked)) << handle;
    const CK_OBJECT_HANDLE object = library.findOne(session, CKO_DATA, "RFU1");
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_GetAttributeValue(session, object, nullptr, 1));
    CK_ULONG size = 0;
    EXPECT_EQ(Rv(CKR_OK), library->C_GetObjectSize(session, object, &size));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, size);
}

TEST_F(Objects, DataGivesItsContent) {
    const CK_OBJECT_HANDLE object = library.findOne(session, CKO_DATA, "PERSONENBINDUNG");
    EXPECT_EQ(deck.objectContent(card, "PERSONENBINDUNG"), library.attribute(session, object, CKA_VALUE));
    EXPECT_THAT(library.attribute(session, object, CKA_PRIVATE), ElementsAre(no));
    EXPECT_THAT(library.attribute(session, object, CKA_TOKEN), ElementsAre(yes));
}

TEST_F(Objects, EcKeysShowCurveAndPoint) {
    const CK_OBJECT_HANDLE key = library.findOne(session, CKO_PUBLIC_KEY, "PK.CH.SIG");
    EXPECT_EQ(CKK_EC, library.numberAttribute(session, key, CKA_KEY_TYPE));
    EXPECT_EQ("06082A8648CE3D030101", orselsim::toHex(library.attribute(session, key, CKA_EC_PARAMS)));
    const Bytes point = library.attribute(session, key, CKA_EC_POINT);
    ASSERT_THAT(point, SizeIs(2 + 49)) << "an octet string around the uncompressed point";
    EXPECT_EQ(0x04, point[0]);
    EXPECT_EQ(49, point[1]);
    EXPECT_EQ(0x04, point[2]);
}

TEST_F(Objects, PrivateKeysAskForThePinAtEachSignatureOnlyWhenQualified) {
    const CK_OBJECT_HANDLE signature = library.findOne(session, CKO_PRIVATE_KEY, "SK.CH.SIG");
    const CK_OBJECT_HANDLE encryption = library.findOne(session, CKO_PRIVATE_KEY, "SK.CH.EKEY");
    EXPECT_THAT(library.attribute(session, signature, CKA_ALWAYS_AUTHENTICATE), ElementsAre(yes));
    EXPECT_THAT(library.attribute(session, encryption, CKA_ALWAYS_AUTHENTICATE), ElementsAre(no));
    EXPECT_THAT(library.attribute(session, signature, CKA_SIGN), ElementsAre(yes));
    EXPECT_THAT(library.attribute(session, signature, CKA_PRIVATE), ElementsAre(yes));
    EXPECT_THAT(library.attribute(session, signature, CKA_EXTRACTABLE), ElementsAre(no));
}

TEST_F(Objects, OfOneApplicationShareIdAndSubject) {
    const CK_OBJECT_HANDLE key = library.findOne(session, CKO_PRIVATE_KEY, "SK.CH.EKEY");
    const CK_OBJECT_HANDLE publicKey = library.findOne(session, CKO_PUBLIC_KEY, "PK.CH.EKEY");
    const CK_OBJECT_HANDLE certificate = library.findOne(session, CKO_CERTIFICATE, "C.CH.EKEY");
    for (const CK_ATTRIBUTE_TYPE type : {CKA_ID, CKA_SUBJECT}) {
        const Bytes value = library.attribute(session, certificate, type);
        EXPECT_FALSE(value.empty());
        EXPECT_EQ(value, library.attribute(session, key, type));
        EXPECT_EQ(value, library.attribute(session, publicKey, type));
    }
    EXPECT_EQ(CKC_X_509, library.numberAttribute(session, certificate, CKA_CERTIFICATE_TYPE));
    EXPECT_EQ(0x02, library.attribute(session, certificate, CKA_SERIAL_NUMBER).at(0)) << "a DER integer";
    EXPECT_EQ(0x30, library.attribute(session, certificate, CKA_ISSUER).at(0)) << "a DER name";
}

TEST_F(Objects, ACertificateThatIsNoneIsShownAllTheSame) {
    deck.addCertificate(card, "C.CH.JUNK", bytesOf("no certificate"), {0x77});
    const CK_OBJECT_HANDLE junk = library.findOne(session, CKO_CERTIFICATE, "C.CH.JUNK");
    EXPECT_EQ("no certificate", textOf(library.attribute(session, junk, CKA_VALUE)));
    EXPECT_THAT(library.attribute(session, junk, CKA_SUBJECT), IsEmpty());
}

TEST(RsaObjects, ShowModulusAndExponent) {
    SimDeck deck;
    deck.add("acos-a03");
    const TokenLibrary library;
    const CK_SESSION_HANDLE session = library.openFirst();
    const CK_OBJECT_HANDLE key = library.findOne(session, CKO_PUBLIC_KEY, "PK.CH.EKEY");
    EXPECT_EQ(CKK_RSA, library.numberAttribute(session, key, CKA_KEY_TYPE));
    EXPECT_EQ(1536U, library.numberAttribute(session, key, CKA_MODULUS_BITS));
    EXPECT_THAT(library.attribute(session, key, CKA_MODULUS), SizeIs(192));
    EXPECT_THAT(library.attribute(session, key, CKA_PUBLIC_EXPONENT), ElementsAre(1, 0, 1));
}
