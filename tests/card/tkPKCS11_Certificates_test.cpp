// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include <climits>

#include <openssl/sha.h>

#include "formats/slCertificate.h"
#include "tests/card/CardCertificates.h"

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using namespace Velmor;

namespace {

Bytes Sha1Of(const Bytes& bytes) {
    Bytes digest(SHA_DIGEST_LENGTH);
    SHA1(bytes.data(), bytes.size(), digest.data());
    return digest;
}

} // namespace

// --- LoadSigningCertificate --------------------------------------------------------------------------------

TEST_F(CardCertificates, AreTakenApartByALoad) {
    const Bytes der = CertificateBuilder()
                          .Subject({{"C", "AT"}, {"O", "Amt"}, {"CN", "Anna Muster"}})
                          .Issuer({{"C", "AT"}, {"CN", "Orsel CA"}})
                          .Serial("1A2B")
                          .Der();
    PlanLoad(der);
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("M Objects Found Final Fertig", "M Label: C.CH.SIG", "M PKCS11 Key Found"));
    EXPECT_EQ(Loaded(), der);
    EXPECT_EQ(m_Card.GetSubjectCN(), "Anna Muster");
    EXPECT_EQ(m_Card.GetSubject(), "CN=Anna Muster,O=Amt,C=AT");
    EXPECT_EQ(m_Card.GetIssuer(), "CN=Orsel CA,C=AT");
    EXPECT_EQ(m_Card.GetSerialNumber(), "0x1A2B");
    EXPECT_EQ(m_Card.GetSerialNumberInt(), 0x1A2B);
    HashAlgorithm algorithm = HASH_RAW;
    Bytes fingerprint = {7};
    m_Card.GetFingerprint(algorithm, fingerprint);
    EXPECT_EQ(algorithm, HASH_SHA1);
    EXPECT_EQ(fingerprint, Sha1Of(der));
}

TEST_F(CardCertificates, OfTheEncryptionKeyAreFoundByTheirOwnLabel) {
    PlanSearch(ENC_CERT, {32});
    PlanRead(32, {Label("C.CH.EKEY"), Value(OfHolder("Eva").Der())});
    EXPECT_TRUE(m_Card.LoadSigningCertificate(false));
    EXPECT_EQ(m_Card.GetSubjectCN(), "Eva");
}

TEST_F(CardCertificates, GiveAwayTheirPublicKey) {
    const std::tuple<TestKey, SignKey, int, int> rows[] = {
        {TestKey::RSA1536, KEY_RSA, 192, 0},
        {TestKey::RSA2048, KEY_RSA, 256, 0},
        {TestKey::P192, KEY_ECC, 0, 24},
        {TestKey::P256, KEY_ECC, 0, 32},
    };
    const PublicKeyData* const key = m_Card.GetPublicKeyData();
    for (const auto& [kind, keyType, modulus, coordinate] : rows) {
        PlanLoad(CertificateBuilder().Key(kind).Der());
        EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
        EXPECT_EQ(key->m_KeyType, keyType);
        EXPECT_EQ(key->m_ModulusLength, modulus);
        EXPECT_EQ(key->m_CoordinateLength, coordinate);
    }
    EXPECT_EQ(m_Card.GetPublicKeyData(), key);
}

TEST_F(CardCertificates, NeedASession) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Session nicht offen"));
}

TEST_F(CardCertificates, ReportASearchThatFails) {
    for (size_t call = 0; call < 3; ++call) {
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
        EXPECT_THAT(m_Log.Errors(), ElementsAre(FAILED_CALLS[call], "PKCS11 FindObjects ERROR"));
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_EQ(m_Card.getSigningCertificateHandle(true), 0U);
        EXPECT_THAT(m_Log.Errors(), ElementsAre(FAILED_CALLS[call], "PKCS11 FindObjects ERROR"));
    }
}

TEST_F(CardCertificates, TrustNoSearchThatClaimsMoreThanItCouldHandOut) {
    PlanSearchClaiming(11, SIG_CERT);
    EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 FindObjects ERROR"));
    PlanSearchClaiming(11, ANY_CERT);
    EXPECT_EQ(m_Card.getSigningCertificateHandle(true), 0U);
    PlanSearchClaiming(11, ANY_CERT);
    EXPECT_FALSE(m_Card.loadAllCertsInSession());
}

TEST_F(CardCertificates, AreWalkedUntilALabelHasTheWantedTextInIt) {
    PlanSearch(SIG_CERT, {1, 2, 3, 4, 5});
    PlanFailedRead(1, CKR_ATTRIBUTE_SENSITIVE);
    PlanRead(2, {Label("C.CH.SI"), Value({1})});
    PlanRead(3, {Label(std::string("X\0C.CH.SIG", 10)), Value({1})}); // a label ends at a zero byte
    PlanRead(4, {Label("Alt: C.CH.SIG 2"), Value(OfHolder("Vier").Der())});
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    EXPECT_EQ(m_Card.GetSubjectCN(), "Vier");
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(CardCertificates, ThatDoNotFitTheBufferArePassedOver) {
    const Bytes tooLarge(5013, 0x30);
    PlanSearch(SIG_CERT, {1, 2, 3, 4, 5});
    PlanFailedRead(1, CKR_BUFFER_TOO_SMALL);
    PlanRead(2, {Label("C.CH.SIG"), Value(tooLarge)});
    PlanRead(3, {Label("C.CH.SIG" + std::string(249, 'x')), Value(OfHolder("Drei").Der())});
    PlanRead(4, {Label("C.CH.SIG"), Claiming(CK_UNAVAILABLE_INFORMATION, Value({}))});
    PlanRead(5, {Label("C.CH.SIG"), Value(OfHolder("Fünf").Der())});
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    EXPECT_EQ(m_Card.GetSubjectCN(), "Fünf");
}

TEST_F(CardCertificates, MayFillTheBuffersToTheLastByte) {
    const std::string label = std::string(248, 'x') + "C.CH.SIG";
    Bytes der = OfHolder("Voll").Der();
    der.resize(5012); // what follows a certificate is not read
    PlanSearch(SIG_CERT, {1});
    PlanRead(1, {Label(label), Value(der)});
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    EXPECT_EQ(m_Card.GetSubjectCN(), "Voll");
    PlanSearch(ANY_CERT, {1});
    PlanRead(1, {Label(label)});
    EXPECT_EQ(m_Card.getSigningCertificateHandle(true), 1U);
}

TEST_F(CardCertificates, ThatAreNotThereAreAMessageAndNoError) {
    PlanSearch(SIG_CERT, {});
    EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M Objects Found Final Fertig", "M Key not found !!!"));
    m_Log.Clear();
    PlanSearch(SIG_CERT, {1, 2});
    PlanRead(1, {Label("C.CH.EKEY"), Value({1})});
    PlanFailedRead(2, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("M Objects Found Final Fertig", "M Label: C.CH.EKEY", "M Key not found !!!"));
}

TEST_F(CardCertificates, AreLookedAtTenTimes) {
    PlanSearch(SIG_CERT, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    for (CK_OBJECT_HANDLE handle = 1; handle <= 10; ++handle) {
        PlanFailedRead(handle, CKR_DEVICE_ERROR);
    }
    EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
}

TEST_F(CardCertificates, ThatCannotBeParsedLeaveTheRestOfTheLastOne) {
    const Bytes good = OfHolder("Anna").Serial("0A").Der();
    const Bytes junk = {0x30, 0x03, 0x02, 0x01, 0x00};
    PlanLoad(good);
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    PlanLoad(junk);
    EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
    EXPECT_EQ(Loaded(), junk);
    EXPECT_EQ(m_Card.GetSubjectCN(), "Anna");
    EXPECT_EQ(m_Card.GetSerialNumber(), "0x0A");
    HashAlgorithm algorithm = HASH_SHA1;
    Bytes fingerprint;
    m_Card.GetFingerprint(algorithm, fingerprint);
    EXPECT_EQ(fingerprint, Sha1Of(good));
    PlanSearch(SIG_CERT, {});
    EXPECT_FALSE(m_Card.LoadSigningCertificate(true));
    EXPECT_EQ(m_Card.GetSubjectCN(), "Anna");
}

TEST_F(CardCertificates, OutliveTheirSessionAndAreReplacedByTheNextLoad) {
    PlanLoad(OfHolder("Anna").Serial("01").Der());
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    PlanClose(SESSION);
    m_Card.CloseSession();
    EXPECT_EQ(m_Card.GetSubjectCN(), "Anna");
    PlanLoad(OfHolder("Eva").Serial("02").Der());
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    EXPECT_EQ(m_Card.GetSubject(), "CN=Eva,C=AT");
    EXPECT_EQ(m_Card.GetSerialNumber(), "0x02");
}

// --- What is loaded ----------------------------------------------------------------------------------------

TEST_F(CardCertificates, TellTheirSizeToANullBuffer) {
    const Bytes der = OfHolder("Anna").Der();
    unsigned long size = 7;
    EXPECT_TRUE(m_Card.GetSigningCertificate(nullptr, size));
    EXPECT_EQ(size, 0U); // nothing was loaded
    PlanLoad(der);
    EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
    EXPECT_TRUE(m_Card.GetSigningCertificate(nullptr, size));
    EXPECT_EQ(size, der.size());
    unsigned char out[5012] = {};
    size = 1; // the capacity is not looked at
    EXPECT_TRUE(m_Card.GetSigningCertificate(out, size));
    EXPECT_EQ(Bytes(out, out + size), der);
    Bytes replaced = {1, 2, 3};
    EXPECT_TRUE(m_Card.GetSigningCertificate(replaced));
    EXPECT_EQ(replaced, der);
}

TEST_F(CardCertificates, ReplaceTheCallersBytesAlsoWithNothing) {
    Bytes replaced = {1, 2, 3};
    EXPECT_TRUE(m_Card.GetSigningCertificate(replaced));
    EXPECT_THAT(replaced, IsEmpty());
    HashAlgorithm algorithm = HASH_RAW;
    Bytes fingerprint = {1};
    m_Card.GetFingerprint(algorithm, fingerprint);
    EXPECT_EQ(algorithm, HASH_SHA1);
    EXPECT_THAT(fingerprint, IsEmpty());
    EXPECT_EQ(m_Card.GetSubject() + m_Card.GetSubjectCN() + m_Card.GetIssuer() + m_Card.GetSerialNumber(),
              "");
}

TEST_F(CardCertificates, HaveASerialThatIsSaturatedAsANumber) {
    EXPECT_EQ(m_Card.GetSerialNumberInt(), 0); // no digits
    const std::pair<const char*, long> rows[] = {
        {"1A", 26},
        {"7FFFFFFF", 0x7FFFFFFF},
        {"112233445566778899AABBCC", LONG_MAX},
    };
    for (const auto& [serial, number] : rows) {
        PlanLoad(CertificateBuilder().Serial(serial).Der());
        EXPECT_TRUE(m_Card.LoadSigningCertificate(true));
        EXPECT_EQ(m_Card.GetSerialNumberInt(), number) << serial;
    }
}

// --- getSigningCertificateHandle ---------------------------------------------------------------------------

TEST_F(CardCertificates, AreFoundForWritingByWalkingAllOfThem) {
    for (const bool sigCert : {true, false}) {
        const std::string label = sigCert ? "C.CH.SIG" : "C.CH.EKEY";
        PlanSearch(ANY_CERT, {1, 2, 3, 4, 5, 6});
        PlanFailedRead(1, CKR_DEVICE_ERROR);
        PlanRead(2, {Label(sigCert ? "C.CH.EKEY" : "C.CH.SIG")});
        PlanRead(3, {Label(label + std::string(256, ' '))});
        PlanRead(4, {Label(std::string(1, '\0') + label)});
        PlanRead(5, {Label("Neu: " + label)});
        EXPECT_EQ(m_Card.getSigningCertificateHandle(sigCert), 5U);
    }
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(CardCertificates, ThatCannotBeFoundForWritingHaveTheHandleZero) {
    PlanSearch(ANY_CERT, {});
    EXPECT_EQ(m_Card.getSigningCertificateHandle(true), 0U);
    PlanSearch(ANY_CERT, {1});
    PlanRead(1, {Label("C.CH.EKEY")});
    EXPECT_EQ(m_Card.getSigningCertificateHandle(true), 0U);
    m_Card.m_hSession = 0;
    EXPECT_EQ(m_Card.getSigningCertificateHandle(true), 0U);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 FindObjects ERROR"));
}

// --- GetCertificate ----------------------------------------------------------------------------------------

TEST_F(CardCertificates, AreHandedOutFromTheOpenSession) {
    const Bytes der = OfHolder("Anna").Der();
    PlanLoad(der);
    slCertificate certificate;
    EXPECT_TRUE(m_Card.GetCertificate(true, certificate));
    EXPECT_EQ(certificate.ToBin(), der);
    PlanSearch(ENC_CERT, {});
    EXPECT_FALSE(m_Card.GetCertificate(false, certificate));
    EXPECT_EQ(certificate.ToBin(), der);
}

TEST_F(CardCertificates, AreHandedOutFromACardByItsIndex) {
    const Bytes der = OfHolder("Anna").Der();
    PlanSlots({Token("a", "1"), Token("b", "2")});
    PlanOpen(101, 12);
    PlanLoad(der);
    PlanClose(12);
    slCertificate certificate;
    EXPECT_TRUE(m_Card.GetCertificate(1, true, certificate));
    EXPECT_EQ(certificate.ToBin(), der);
    EXPECT_EQ(m_Card.m_SlotIndex, -1);
}

TEST_F(CardCertificates, ThatACardDoesNotHaveCloseItsSessionToo) {
    PlanSlots({Token("a", "1")});
    PlanOpen(100, 12);
    PlanSearch(SIG_CERT, {});
    PlanClose(12);
    slCertificate certificate;
    EXPECT_FALSE(m_Card.GetCertificate(0, true, certificate));
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(CardCertificates, OfACardThatIsNotThereAreRefused) {
    slCertificate certificate;
    EXPECT_CALL(m_Library, GetSlotList(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_FALSE(m_Card.GetCertificate(0, true, certificate));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_GetSlotList ERROR0x30", "nSlot < 0"));
    m_Log.Clear();
    PlanSlots({Token("a", "0000000000000000")}); // an empty card does not count
    EXPECT_FALSE(m_Card.GetCertificate(0, true, certificate));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("nSlot < 0"));
    m_Log.Clear();
    PlanSlots({Token("a", "1")});
    EXPECT_FALSE(m_Card.GetCertificate(2, true, certificate));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("nSlot is larger then slot vector size"));
    m_Log.Clear();
    PlanSlots({Token("a", "1")});
    EXPECT_FALSE(m_Card.GetCertificate(ULONG_MAX, true, certificate));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("nSlot is larger then slot vector size"));
    m_Log.Clear();
    PlanSlots({Token("a", "1")});
    EXPECT_FALSE(m_Card.GetCertificate(1, true, certificate)); // just behind the last one
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 slotListIndex out of range", "error open session"));
}

TEST_F(CardCertificates, OfACardThatDoesNotOpenAreReported) {
    PlanSlots({Token("a", "1")});
    PlanOpen(100, 0);
    slCertificate certificate;
    EXPECT_FALSE(m_Card.GetCertificate(0, true, certificate));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_OpenSession ERROR0x32", "error open session"));
}
