// SPDX-License-Identifier: MIT
// Every row of the viewer beside what an independent reader says: the openssl command.
#include "viewer/CertificateRows.h"

#include <gtest/gtest.h>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SimDeck.h"
#include "tests/support/TempDir.h"
#include "tests/viewer/OpenSslView.h"
#include "viewer/VisibleText.h"

namespace {

using Bytes = std::vector<unsigned char>;

Fields FieldsOf(const std::vector<viewer::Row>& rows) {
    Fields fields;
    std::string heading;
    for (const viewer::Row& row : rows) {
        if (row.IsHeading()) {
            heading = viewer::ToUtf8(row.Label());
        } else {
            fields[heading + "/" + viewer::ToUtf8(row.Label())].push_back(row.Value());
        }
    }
    return fields;
}

void ExpectThatTheyAgree(const Bytes& der) {
    const ScopedVariable utc("TZ", "UTC0");
    const TempDir dir;
    Velmor::slCertificate certificate;
    ASSERT_TRUE(certificate.LoadFromBuffer(der));
    const std::string file = dir.File("certificate.der", std::string(der.begin(), der.end()));
    Fields expected = FieldsByOpenSsl(file);
    for (const auto& [label, values] : FieldsOf(viewer::RowsOf(certificate))) {
        EXPECT_EQ(expected[label], values) << label;
        expected.erase(label);
    }
    EXPECT_EQ(Fields(), expected); // and nothing is left out
}

CertificateBuilder WithEverything() {
    CertificateBuilder builder;
    builder.Extension("basicConstraints", "critical,CA:TRUE,pathlen:1")
        .Extension("keyUsage", "critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment,"
                               "keyAgreement,keyCertSign,cRLSign,encipherOnly,decipherOnly")
        .Extension("extendedKeyUsage", "serverAuth,clientAuth,codeSigning,emailProtection,timeStamping,"
                                       "OCSPSigning,msSmartcardLogin,anyExtendedKeyUsage,1.2.3.4")
        .Extension("subjectAltName", "email:e@b.example,DNS:b.example,IP:192.0.2.1,IP:2001:db8::1,"
                                     "URI:http://x.example/a,RID:1.2.3")
        .Extension("issuerAltName", "DNS:ca.example")
        .Extension("subjectKeyIdentifier", "hash")
        .RawExtension("2.5.29.35", {0x30, 0x06, 0x80, 0x04, 0x11, 0x22, 0x33, 0xab})
        .RawExtension("2.5.29.32",
                      {0x30, 0x32, 0x30, 0x2a, 0x06, 0x02, 0x2a, 0x03, 0x30, 0x24, 0x30, 0x0d, 0x06,
                       0x08, 0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x02, 0x01, 0x16, 0x01, 'u',  0x30,
                       0x13, 0x06, 0x08, 0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x02, 0x02, 0x30, 0x07,
                       0x0c, 0x05, 'H',  'i',  'n',  'w',  'e',  0x30, 0x04, 0x06, 0x02, 0x2a, 0x04})
        .Extension("authorityInfoAccess",
                   "OCSP;URI:http://ocsp.example,caIssuers;URI:http://ca.example/1.cer")
        .Extension("crlDistributionPoints", "URI:http://crl.example/1.crl,URI:ldap://crl.example/2")
        .RawExtension("1.3.6.1.5.5.7.1.3",
                      {0x30, 0x0a, 0x30, 0x08, 0x06, 0x06, 0x04, 0x00, 0x8e, 0x46, 0x01, 0x01});
    return builder;
}

} // namespace

class OfADemoCard : public testing::TestWithParam<const char*> {};

TEST_P(OfADemoCard, EveryRowIsAsTheOpenSslCommandSays) {
    orseltest::SimDeck deck;
    const std::string card = deck.Add(GetParam());
    for (const char* label : {"C.CH.SIG", "C.CH.EKEY"}) {
        SCOPED_TRACE(label);
        ExpectThatTheyAgree(deck.ObjectContent(card, label));
    }
}

INSTANTIATE_TEST_SUITE_P(CertificateRows, OfADemoCard,
                         testing::Values("acos-a03", "acos-a04", "acos-a05", "ecard-g2", "ecard-g3a",
                                         "ecard-g3b", "ecard-g4", "cardos-53"));

TEST(CertificateRowsAndOpenSsl, AgreeOnEveryExtension) {
    ExpectThatTheyAgree(WithEverything().Der());
    ExpectThatTheyAgree(WithEverything().Key(TestKey::P192).Der());
}

TEST(CertificateRowsAndOpenSsl, AgreeWhereThereIsNoExtension) {
    for (const TestKey key :
         {TestKey::RSA1536, TestKey::RSA2048, TestKey::P192, TestKey::P256, TestKey::ED25519}) {
        ExpectThatTheyAgree(CertificateBuilder().Key(key).Der());
    }
}

TEST(CertificateRowsAndOpenSsl, AgreeOnExpiredAndFutureOnes) {
    ExpectThatTheyAgree(CertificateBuilder()
                            .ValidFrom(V_ASN1_UTCTIME, "500101000000Z")
                            .ValidTo(V_ASN1_UTCTIME, "991231235959Z")
                            .Serial("-7F")
                            .Der());
    ExpectThatTheyAgree(CertificateBuilder()
                            .ValidFrom(V_ASN1_GENERALIZEDTIME, "20990228010203Z")
                            .ValidTo(V_ASN1_GENERALIZEDTIME, "99991231235959Z")
                            .Serial("0")
                            .Der());
}

TEST(CertificateRowsAndOpenSsl, AgreeOnCriticalExtensionsThatNobodyKnows) {
    ExpectThatTheyAgree(
        CertificateBuilder()
            .Extension("1.2.40.0.10.1.1.1", "critical,DER:05:00")
            .Extension("1.2.40.0.10.1.1.2", "DER:0C:03:61:62:63:0C:03:61:62:63:0C:03:61:62:63:0C:03:61")
            .Der());
}

TEST(CertificateRowsAndOpenSsl, AgreeOnNamesInAnyScriptAndOfManyValues) {
    ExpectThatTheyAgree(CertificateBuilder()
                            .Subject({{"C", "AT"},
                                      {"CN", "Jörg Müßig Παπαδόπουλος 山田"},
                                      {"+serialNumber", "4711"},
                                      {"+GN", "Jörg"},
                                      {"SN", "Müßig"},
                                      {"title", "Dr."},
                                      {"OU", "eins"},
                                      {"OU", "zwei"},
                                      {"2.5.4.97", "VATAT-1"},
                                      {"1.2.3.4.5", "frei"}})
                            .Issuer({{"DC", "example"},
                                     {"O", "Größte, <alte> \"CA\""},
                                     {"street", "Straße 1"},
                                     {"postalCode", "1010"},
                                     {"L", "Wien"},
                                     {"ST", "Wien"},
                                     {"pseudonym", "p"},
                                     {"emailAddress", "a@b.example"}})
                            .Der());
    ExpectThatTheyAgree(CertificateBuilder().Subject({}).Der());
    ExpectThatTheyAgree(CertificateBuilder().Subject({{"CN", "Wurzel"}}).Issuer({{"CN", "Wurzel"}}).Der());
}
