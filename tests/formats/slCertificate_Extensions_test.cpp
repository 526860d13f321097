// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <gtest/gtest.h>

#include "tests/support/CertificateBuilder.h"

using Velmor::slCertificate;
using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;

namespace {

constexpr char FIRST_OID[] = "1.2.40.0.10.1.1.1";
constexpr char SECOND_OID[] = "1.2.40.0.10.1.1.2";

/// With the BOOLEAN under test as the second extension.
slCertificate WithSecondExtension(const Bytes& content) {
    return CertificateBuilder()
        .RawExtension(FIRST_OID, {0x05, 0x00})
        .RawExtension(SECOND_OID, content)
        .Wrapped();
}

slCertificate WithExtension(const std::string& name, const std::string& value) {
    return CertificateBuilder().Extension(name, value).Wrapped();
}

} // namespace

TEST(SlCertificateExtensions, KeyIdentifiersComeWithTheirDerHeader) {
    const slCertificate certificate =
        CertificateBuilder()
            .Extension("subjectKeyIdentifier", "0102030405060708")
            .RawExtension("2.5.29.35", {0x30, 0x06, 0x80, 0x04, 0x11, 0x22, 0x33, 0x44})
            .Wrapped();
    EXPECT_EQ((Bytes{0x04, 0x08, 1, 2, 3, 4, 5, 6, 7, 8}), certificate.GetSKI());
    EXPECT_EQ((Bytes{0x30, 0x06, 0x80, 0x04, 0x11, 0x22, 0x33, 0x44}), certificate.GetAKI());
}

TEST(SlCertificateExtensions, AMissingKeyIdentifierIsEmpty) {
    const slCertificate certificate = CertificateBuilder().Wrapped();
    EXPECT_TRUE(certificate.GetSKI().empty());
    EXPECT_TRUE(certificate.GetAKI().empty());
}

TEST(SlCertificateExtensions, TheFirstOneIsNeverFound) {
    const slCertificate certificate = CertificateBuilder()
                                          .Extension("keyUsage", "digitalSignature")
                                          .Extension("basicConstraints", "CA:FALSE")
                                          .RawExtension(SECOND_OID, {0x01, 0x01, 0xff})
                                          .Wrapped();
    EXPECT_FALSE(certificate.GetExtAvailable("2.5.29.15"));
    EXPECT_FALSE(certificate.GetExtAvailable("keyUsage"));
    EXPECT_TRUE(certificate.GetExtAvailable("2.5.29.19"));
    EXPECT_TRUE(certificate.GetExtAvailable("basicConstraints"));
    EXPECT_TRUE(certificate.GetExtAvailable("X509v3 Basic Constraints"));
    EXPECT_TRUE(certificate.GetExtAvailable(SECOND_OID));
}

TEST(SlCertificateExtensions, TheFirstOneIsNeverReadAsABoolean) {
    const slCertificate certificate = CertificateBuilder()
                                          .RawExtension(FIRST_OID, {0x01, 0x01, 0xff})
                                          .RawExtension(SECOND_OID, {0x01, 0x01, 0xff})
                                          .Wrapped();
    EXPECT_FALSE(certificate.GetBoolExt(FIRST_OID));
    EXPECT_TRUE(certificate.GetBoolExt(SECOND_OID));
}

TEST(SlCertificateExtensions, OneThatIsNotThereIsNotFound) {
    const slCertificate certificate = WithSecondExtension({0x01, 0x01, 0xff});
    for (const char* oid : {"2.5.29.17", "subjectAltName", "no such name", "1.2.x", ""}) {
        EXPECT_FALSE(certificate.GetExtAvailable(oid)) << oid;
        EXPECT_FALSE(certificate.GetBoolExt(oid)) << oid;
    }
    EXPECT_FALSE(CertificateBuilder().Wrapped().GetExtAvailable(SECOND_OID));
}

TEST(SlCertificateExtensions, OnlyTheBooleanTrueIsTrue) {
    const struct {
        Bytes m_Content;
        bool m_Expected;
    } table[] = {
        {{0x01, 0x01, 0xff}, true},
        {{0x01, 0x02, 0xff, 0x00}, true}, // the first content byte decides
        {{0x01, 0x01, 0x00}, false},
        {{0x01, 0x01, 0x01}, false},
        {{0x02, 0x01, 0xff}, false},
        {{0x30, 0x03, 0x01, 0x01, 0xff}, false},
        {{0x01, 0x00}, false},
        {{0x01, 0x01}, false},
        {{0x01, 0x05, 0xff}, false},
        {{0x01, 0x84, 0xff, 0xff, 0xff, 0xff, 0xff}, false},
        {{0x01}, false},
        {{}, false},
    };
    for (const auto& row : table) {
        EXPECT_EQ(row.m_Expected, WithSecondExtension(row.m_Content).GetBoolExt(SECOND_OID))
            << testing::PrintToString(row.m_Content);
    }
}

TEST(SlCertificateExtensions, ACaSaysSoItself) {
    EXPECT_TRUE(WithExtension("basicConstraints", "critical,CA:TRUE").IsCaCert());
    EXPECT_FALSE(WithExtension("basicConstraints", "critical,CA:FALSE").IsCaCert());
    EXPECT_FALSE(CertificateBuilder().Wrapped().IsCaCert());
}

TEST(SlCertificateExtensions, OneThatMayOnlyBeACaIsNone) {
    const slCertificate withKeyUsageAlone = WithExtension("keyUsage", "keyCertSign");
    EXPECT_EQ(4, X509_check_ca(slCertificate(withKeyUsageAlone).GetX509()));
    EXPECT_FALSE(withKeyUsageAlone.IsCaCert());
}

TEST(SlCertificateExtensions, SelfSignedIsToldByTheNamesAlone) {
    const NameFields name = {{"C", "AT"}, {"CN", "Wurzel"}};
    EXPECT_TRUE(CertificateBuilder().Subject(name).Issuer(name).Wrapped().IsSelfSigned());
    EXPECT_FALSE(CertificateBuilder().Wrapped().IsSelfSigned());

    Bytes der = CertificateBuilder().Subject(name).Issuer(name).Der();
    der.back() ^= 1; // a broken signature
    slCertificate broken;
    ASSERT_TRUE(broken.LoadFromBuffer(der));
    EXPECT_TRUE(broken.IsSelfSigned());
}

TEST(SlCertificateExtensions, AnOcspSignerHasThatUsage) {
    EXPECT_TRUE(WithExtension("extendedKeyUsage", "OCSPSigning").IsOcspSigner());
    EXPECT_TRUE(WithExtension("extendedKeyUsage", "clientAuth,OCSPSigning").IsOcspSigner());
    EXPECT_FALSE(WithExtension("extendedKeyUsage", "clientAuth").IsOcspSigner());
    EXPECT_FALSE(CertificateBuilder().Wrapped().IsOcspSigner());
}

TEST(SlCertificateExtensions, DnsNamesComeInOrderWithoutNamesOfOtherKinds) {
    EXPECT_EQ((Texts{"b.example", "a.example"}),
              WithExtension("subjectAltName",
                            "DNS:b.example,email:x@example,URI:http://u.example,DNS:a.example,"
                            "IP:10.0.0.1")
                  .Get_SAN_DNS());
    EXPECT_TRUE(WithExtension("subjectAltName", "email:x@example").Get_SAN_DNS().empty());
    EXPECT_TRUE(CertificateBuilder().Wrapped().Get_SAN_DNS().empty());
}

TEST(SlCertificateExtensions, AuthorityAccessIsMarkedByItsMethod) {
    const slCertificate certificate = WithExtension(
        "authorityInfoAccess", "caIssuers;URI:http://ca.example/1.cer,OCSP;URI:http://ocsp.example,"
                               "OCSP;email:ocsp@example,1.3.6.1.5.5.7.48.3;URI:http://time.example,"
                               "caIssuers;URI:http://ca.example/2.cer");
    EXPECT_EQ((Texts{"ca:http://ca.example/1.cer", "ocsp:http://ocsp.example", "ca:http://ca.example/2.cer"}),
              certificate.Get_AIA());
    EXPECT_EQ((Texts{"http://ocsp.example"}), certificate.Get_AIA_OCSP());
    EXPECT_EQ((Texts{"http://ca.example/1.cer", "http://ca.example/2.cer"}), certificate.Get_AIA_CAIssuers());
}

TEST(SlCertificateExtensions, WithoutAuthorityAccessTheListsAreEmpty) {
    const slCertificate certificate = CertificateBuilder().Wrapped();
    EXPECT_TRUE(certificate.Get_AIA().empty());
    EXPECT_TRUE(certificate.Get_AIA_OCSP().empty());
    EXPECT_TRUE(certificate.Get_AIA_CAIssuers().empty());
}

TEST(SlCertificateExtensions, RevocationListsOfAllPointsComeInOrder) {
    EXPECT_EQ((Texts{"http://crl.example/1.crl", "ldap://crl.example/2"}),
              WithExtension("crlDistributionPoints", "URI:http://crl.example/1.crl,email:x@example,"
                                                     "URI:ldap://crl.example/2")
                  .Get_CRL_Dp());
    EXPECT_TRUE(CertificateBuilder().Wrapped().Get_CRL_Dp().empty());
}

TEST(SlCertificateExtensions, RevocationPointsWithoutAFullNameAreSkipped) {
    const slCertificate certificate =
        CertificateBuilder()
            .RawExtension("2.5.29.31", {0x30, 0x28,                         // three points
                                        0x30, 0x03, 0x81, 0x01, 0x00,       // reasons alone
                                        0x30, 0x10, 0xa0, 0x0e, 0xa1, 0x0c, // a name relative to the issuer's
                                        0x30, 0x0a, 0x06, 0x03, 0x55, 0x04, 0x03, //
                                        0x0c, 0x03, 'c',  'r',  'l',              //
                                        0x30, 0x0f, 0xa0, 0x0d, 0xa0, 0x0b,       // a full name of two
                                        0x86, 0x03, 'u',  ':',  '1',              //
                                        0x86, 0x04, 'u',  ':',  '2',  '2'})
            .Wrapped();
    EXPECT_EQ((Texts{"u:1", "u:22"}), certificate.Get_CRL_Dp());
}

TEST(SlCertificateExtensions, ContentThatCannotBeDecodedIsEmpty) {
    const slCertificate certificate = CertificateBuilder()
                                          .RawExtension("2.5.29.17", {0x30, 0x05, 0x82})
                                          .RawExtension("1.3.6.1.5.5.7.1.1", {0xff})
                                          .RawExtension("2.5.29.31", {})
                                          .RawExtension("2.5.29.37", {0x30, 0x03, 0x06, 0x05, 0x2b})
                                          .RawExtension("2.5.29.14", {})
                                          .Wrapped();
    EXPECT_TRUE(certificate.Get_SAN_DNS().empty());
    EXPECT_TRUE(certificate.Get_AIA().empty());
    EXPECT_TRUE(certificate.Get_CRL_Dp().empty());
    EXPECT_FALSE(certificate.IsOcspSigner());
    EXPECT_TRUE(certificate.GetSKI().empty());
}

TEST(SlCertificateExtensions, OfAnEmptyObjectAreEmpty) {
    const slCertificate empty;
    EXPECT_TRUE(empty.GetSKI().empty());
    EXPECT_TRUE(empty.GetAKI().empty());
    EXPECT_FALSE(empty.GetExtAvailable("keyUsage"));
    EXPECT_FALSE(empty.GetBoolExt("keyUsage"));
    EXPECT_FALSE(empty.IsCaCert());
    EXPECT_FALSE(empty.IsSelfSigned());
    EXPECT_FALSE(empty.IsOcspSigner());
    EXPECT_TRUE(empty.Get_SAN_DNS().empty());
    EXPECT_TRUE(empty.Get_AIA().empty());
    EXPECT_TRUE(empty.Get_AIA_OCSP().empty());
    EXPECT_TRUE(empty.Get_AIA_CAIssuers().empty());
    EXPECT_TRUE(empty.Get_CRL_Dp().empty());
}
