// SPDX-License-Identifier: MIT
#include <cstring>

#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orselsim::BytesOf;
using orselsim::TextOf;
using orseltest::AttributeOver;
using orseltest::Bytes;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr CK_BBOOL NO = CK_FALSE;
constexpr CK_BBOOL YES = CK_TRUE;

} // namespace

class Objects : public testing::Test {
protected:
    Objects() : m_Card(m_Deck.Add("ecard-g2")), m_Library(), m_Session(m_Library.OpenFirst()) {}

    std::vector<std::string> Labels(CK_OBJECT_CLASS objectClass) const {
        std::vector<std::string> result;
        for (const CK_OBJECT_HANDLE object : m_Library.Find(m_Session, objectClass)) {
            result.push_back(TextOf(m_Library.Attribute(m_Session, object, CKA_LABEL)));
        }
        return result;
    }

    Rv Read(CK_OBJECT_HANDLE object, std::vector<CK_ATTRIBUTE>& attributes) const {
        return m_Library->C_GetAttributeValue(m_Session, object, attributes.data(), attributes.size());
    }

    SimDeck m_Deck;
    const std::string m_Card;
    const TokenLibrary m_Library;
    const CK_SESSION_HANDLE m_Session;
};

TEST_F(Objects, AreFoundByClass) {
    EXPECT_THAT(Labels(CKO_PRIVATE_KEY), ElementsAre("SK.CH.SIG", "SK.CH.EKEY"));
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), ElementsAre("PK.CH.SIG", "PK.CH.EKEY"));
    EXPECT_THAT(Labels(CKO_CERTIFICATE), ElementsAre("C.CH.SIG", "C.CH.EKEY"));
    EXPECT_THAT(Labels(CKO_DATA), ElementsAre("PERSONENBINDUNG", "RFU1", "RFU2"));
    EXPECT_THAT(Labels(CKO_SECRET_KEY), IsEmpty());
}

TEST_F(Objects, AreFoundByTheExactLabelOnly) {
    EXPECT_THAT(m_Library.Find(m_Session, CKO_CERTIFICATE, "C.CH.SIG"), SizeIs(1));
    EXPECT_THAT(m_Library.Find(m_Session, CKO_CERTIFICATE, "C.CH.SI"), IsEmpty());
    EXPECT_THAT(m_Library.Find(m_Session, CKO_CERTIFICATE, "C.CH.SIGN"), IsEmpty());
    EXPECT_THAT(m_Library.Find(m_Session, CKO_DATA, "C.CH.SIG"), IsEmpty());
}

TEST_F(Objects, AreFoundByIdAndKeyType) {
    Bytes id = {0x02};
    CK_KEY_TYPE ec = CKK_EC;
    CK_ATTRIBUTE wanted[] = {AttributeOver(CKA_ID, id), {CKA_KEY_TYPE, &ec, sizeof ec}};
    ASSERT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsInit(m_Session, wanted, 2));
    CK_OBJECT_HANDLE found[8] = {};
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjects(m_Session, found, 8, &count));
    EXPECT_EQ(2U, count) << "private and public key; the certificate has no key type";
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsFinal(m_Session));
}

TEST_F(Objects, OfAClassWithAWrongSizeAreNotFound) {
    const unsigned char shortClass[2] = {0, 0};
    CK_ATTRIBUTE wanted = {CKA_CLASS, const_cast<unsigned char*>(shortClass), sizeof shortClass};
    ASSERT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsInit(m_Session, &wanted, 1));
    CK_OBJECT_HANDLE found = 0;
    CK_ULONG count = 7;
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjects(m_Session, &found, 1, &count));
    EXPECT_EQ(0U, count);
}

TEST_F(Objects, ComeInPiecesAsLargeAsAskedFor) {
    ASSERT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsInit(m_Session, nullptr, 0));
    std::vector<CK_ULONG> counts;
    for (int i = 0; i < 4; ++i) {
        CK_OBJECT_HANDLE found[4] = {};
        CK_ULONG count = 0;
        EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjects(m_Session, found, 4, &count));
        counts.push_back(count);
    }
    EXPECT_THAT(counts, ElementsAre(4, 4, 1, 0));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsFinal(m_Session));
}

TEST_F(Objects, SearchKeepsTheOrderOfTheStandard) {
    CK_OBJECT_HANDLE found = 0;
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), m_Library->C_FindObjects(m_Session, &found, 1, &count));
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), m_Library->C_FindObjectsFinal(m_Session));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), m_Library->C_FindObjectsInit(m_Session, nullptr, 1));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsInit(m_Session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), m_Library->C_FindObjectsInit(m_Session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), m_Library->C_FindObjects(m_Session, nullptr, 1, &count));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), m_Library->C_FindObjects(m_Session, &found, 1, nullptr));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsFinal(m_Session));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_FindObjectsInit(m_Session + 1, nullptr, 0));
}

TEST_F(Objects, SearchesOfTwoSessionsDoNotMeet) {
    const CK_SESSION_HANDLE other = m_Library.Open(m_Library.Slots().at(0));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsInit(m_Session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsInit(other, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsFinal(m_Session));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_FindObjectsFinal(other));
}

TEST_F(Objects, AnswerASizeQueryWithTheSize) {
    const CK_OBJECT_HANDLE object = m_Library.FindOne(m_Session, CKO_DATA, "RFU1");
    std::vector<CK_ATTRIBUTE> asked = {{CKA_VALUE, nullptr, 12345}, {CKA_LABEL, nullptr, 0}};
    EXPECT_EQ(Rv(CKR_OK), Read(object, asked));
    EXPECT_EQ(m_Deck.ObjectContent(m_Card, "RFU1").size(), asked[0].ulValueLen);
    EXPECT_EQ(4U, asked[1].ulValueLen);
}

TEST_F(Objects, RefuseTooSmallABufferAndAnswerTheOthersAllTheSame) {
    const CK_OBJECT_HANDLE object = m_Library.FindOne(m_Session, CKO_DATA, "RFU1");
    Bytes value(3, 0xEE);
    Bytes label(4);
    std::vector<CK_ATTRIBUTE> asked = {AttributeOver(CKA_VALUE, value), AttributeOver(CKA_LABEL, label)};
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), Read(object, asked));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, asked[0].ulValueLen);
    EXPECT_THAT(value, ElementsAre(0xEE, 0xEE, 0xEE));
    EXPECT_EQ("RFU1", TextOf(label));
    EXPECT_EQ(4U, asked[1].ulValueLen);
}

TEST_F(Objects, SayWhichAttributeTheyLack) {
    const CK_OBJECT_HANDLE object = m_Library.FindOne(m_Session, CKO_DATA, "RFU1");
    Bytes buffer(16);
    Bytes label(4);
    std::vector<CK_ATTRIBUTE> asked = {AttributeOver(CKA_MODULUS, buffer), AttributeOver(CKA_LABEL, label)};
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_TYPE_INVALID), Read(object, asked));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, asked[0].ulValueLen);
    EXPECT_EQ("RFU1", TextOf(label));
}

TEST_F(Objects, NeverGiveAwayAPrivateKey) {
    const CK_OBJECT_HANDLE key = m_Library.FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.SIG");
    for (const CK_ATTRIBUTE_TYPE type : {CKA_VALUE, CKA_PRIVATE_EXPONENT, CKA_PRIME_1, CKA_COEFFICIENT}) {
        std::vector<CK_ATTRIBUTE> asked = {{type, nullptr, 0}};
        EXPECT_EQ(Rv(CKR_ATTRIBUTE_SENSITIVE), Read(key, asked));
        EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, asked[0].ulValueLen);
    }
}

TEST_F(Objects, RefuseWrongHandlesAndTemplates) {
    std::vector<CK_ATTRIBUTE> asked = {{CKA_LABEL, nullptr, 0}};
    for (const CK_OBJECT_HANDLE handle :
         {CK_OBJECT_HANDLE(0), CK_OBJECT_HANDLE(1), CK_OBJECT_HANDLE(0x1000), ~CK_OBJECT_HANDLE(0)}) {
        EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), Read(handle, asked)) << handle;
    }
    const CK_OBJECT_HANDLE object = m_Library.FindOne(m_Session, CKO_DATA, "RFU1");
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), m_Library->C_GetAttributeValue(m_Session, object, nullptr, 1));
    CK_ULONG size = 0;
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_GetObjectSize(m_Session, object, &size));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, size);
}

TEST_F(Objects, DataGivesItsContent) {
    const CK_OBJECT_HANDLE object = m_Library.FindOne(m_Session, CKO_DATA, "PERSONENBINDUNG");
    EXPECT_EQ(m_Deck.ObjectContent(m_Card, "PERSONENBINDUNG"),
              m_Library.Attribute(m_Session, object, CKA_VALUE));
    EXPECT_THAT(m_Library.Attribute(m_Session, object, CKA_PRIVATE), ElementsAre(NO));
    EXPECT_THAT(m_Library.Attribute(m_Session, object, CKA_TOKEN), ElementsAre(YES));
}

TEST_F(Objects, EcKeysShowCurveAndPoint) {
    const CK_OBJECT_HANDLE key = m_Library.FindOne(m_Session, CKO_PUBLIC_KEY, "PK.CH.SIG");
    EXPECT_EQ(CKK_EC, m_Library.NumberAttribute(m_Session, key, CKA_KEY_TYPE));
    EXPECT_EQ("06082A8648CE3D030101", orselsim::ToHex(m_Library.Attribute(m_Session, key, CKA_EC_PARAMS)));
    const Bytes point = m_Library.Attribute(m_Session, key, CKA_EC_POINT);
    ASSERT_THAT(point, SizeIs(2 + 49)) << "an octet string around the uncompressed point";
    EXPECT_EQ(0x04, point[0]);
    EXPECT_EQ(49, point[1]);
    EXPECT_EQ(0x04, point[2]);
}

TEST_F(Objects, PrivateKeysAskForThePinAtEachSignatureOnlyWhenQualified) {
    const CK_OBJECT_HANDLE signature = m_Library.FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.SIG");
    const CK_OBJECT_HANDLE encryption = m_Library.FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.EKEY");
    EXPECT_THAT(m_Library.Attribute(m_Session, signature, CKA_ALWAYS_AUTHENTICATE), ElementsAre(YES));
    EXPECT_THAT(m_Library.Attribute(m_Session, encryption, CKA_ALWAYS_AUTHENTICATE), ElementsAre(NO));
    EXPECT_THAT(m_Library.Attribute(m_Session, signature, CKA_SIGN), ElementsAre(YES));
    EXPECT_THAT(m_Library.Attribute(m_Session, signature, CKA_PRIVATE), ElementsAre(YES));
    EXPECT_THAT(m_Library.Attribute(m_Session, signature, CKA_EXTRACTABLE), ElementsAre(NO));
}

TEST_F(Objects, OfOneApplicationShareIdAndSubject) {
    const CK_OBJECT_HANDLE key = m_Library.FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.EKEY");
    const CK_OBJECT_HANDLE publicKey = m_Library.FindOne(m_Session, CKO_PUBLIC_KEY, "PK.CH.EKEY");
    const CK_OBJECT_HANDLE certificate = m_Library.FindOne(m_Session, CKO_CERTIFICATE, "C.CH.EKEY");
    for (const CK_ATTRIBUTE_TYPE type : {CKA_ID, CKA_SUBJECT}) {
        const Bytes value = m_Library.Attribute(m_Session, certificate, type);
        EXPECT_FALSE(value.empty());
        EXPECT_EQ(value, m_Library.Attribute(m_Session, key, type));
        EXPECT_EQ(value, m_Library.Attribute(m_Session, publicKey, type));
    }
    EXPECT_EQ(CKC_X_509, m_Library.NumberAttribute(m_Session, certificate, CKA_CERTIFICATE_TYPE));
    EXPECT_EQ(0x02, m_Library.Attribute(m_Session, certificate, CKA_SERIAL_NUMBER).at(0)) << "a DER integer";
    EXPECT_EQ(0x30, m_Library.Attribute(m_Session, certificate, CKA_ISSUER).at(0)) << "a DER name";
}

TEST_F(Objects, ACertificateThatIsNoneIsShownAllTheSame) {
    m_Deck.AddCertificate(m_Card, "C.CH.JUNK", BytesOf("no certificate"), {0x77});
    const CK_OBJECT_HANDLE junk = m_Library.FindOne(m_Session, CKO_CERTIFICATE, "C.CH.JUNK");
    EXPECT_EQ("no certificate", TextOf(m_Library.Attribute(m_Session, junk, CKA_VALUE)));
    EXPECT_THAT(m_Library.Attribute(m_Session, junk, CKA_SUBJECT), IsEmpty());
}

TEST(RsaObjects, ShowModulusAndExponent) {
    SimDeck deck;
    deck.Add("acos-a03");
    const TokenLibrary library;
    const CK_SESSION_HANDLE session = library.OpenFirst();
    const CK_OBJECT_HANDLE key = library.FindOne(session, CKO_PUBLIC_KEY, "PK.CH.EKEY");
    EXPECT_EQ(CKK_RSA, library.NumberAttribute(session, key, CKA_KEY_TYPE));
    EXPECT_EQ(1536U, library.NumberAttribute(session, key, CKA_MODULUS_BITS));
    EXPECT_THAT(library.Attribute(session, key, CKA_MODULUS), SizeIs(192));
    EXPECT_THAT(library.Attribute(session, key, CKA_PUBLIC_EXPONENT), ElementsAre(1, 0, 1));
}
