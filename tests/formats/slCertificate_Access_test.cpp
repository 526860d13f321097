// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <gtest/gtest.h>
#include <openssl/objects.h>

#include "tests/support/CertificateBuilder.h"

using namespace Velmor;
using Bytes = std::vector<unsigned char>;
using Kind = CertificateNameKind;

namespace {

slCertificate With(const std::string& name, const std::string& value) {
    return CertificateBuilder().Extension(name, value).Wrapped();
}

slCertificate WithRaw(const std::string& oid, const Bytes& content) {
    return CertificateBuilder().RawExtension(oid, content).Wrapped();
}

/// "kind:text" of each.
std::vector<std::string> TextsOf(const std::vector<CertificateName>& names) {
    std::vector<std::string> texts;
    texts.reserve(names.size());
    for (const CertificateName& name : names) {
        texts.push_back(std::to_string(static_cast<int>(name.m_Kind)) + ":" + name.m_Text);
    }
    return texts;
}

void ExpectNothingIn(const slCertificate& certificate) {
    CertificateBasicConstraints constraints;
    CertificateAuthorityKey authority;
    EXPECT_TRUE(certificate.GetKeyUsage().empty());
    EXPECT_TRUE(certificate.GetExtendedKeyUsage().empty());
    EXPECT_FALSE(certificate.GetBasicConstraints(constraints));
    EXPECT_TRUE(certificate.GetSubjectAltNames().empty());
    EXPECT_TRUE(certificate.GetIssuerAltNames().empty());
    EXPECT_TRUE(certificate.GetSubjectKeyId().empty());
    EXPECT_FALSE(certificate.GetAuthorityKeyId(authority));
    EXPECT_TRUE(certificate.GetPolicies().empty());
    EXPECT_TRUE(certificate.GetAccess().empty());
    EXPECT_TRUE(certificate.GetCrlNames().empty());
}

} // namespace

TEST(SlCertificateAccess, KeyUsageIsTheNumbersOfItsBits) {
    EXPECT_EQ((std::vector<int>{0, 1, 5}),
              With("keyUsage", "digitalSignature,nonRepudiation,keyCertSign").GetKeyUsage());
    EXPECT_EQ((std::vector<int>{4, 8}), With("keyUsage", "keyAgreement,decipherOnly").GetKeyUsage());
}

TEST(SlCertificateAccess, ExtendedKeyUsageKeepsUnknownPurposes) {
    const auto usages = With("extendedKeyUsage", "clientAuth,1.2.3.4").GetExtendedKeyUsage();
    ASSERT_EQ(2u, usages.size());
    EXPECT_EQ(NID_client_auth, usages[0].m_Nid);
    EXPECT_EQ("1.2.3.4", usages[1].m_Dotted);
    EXPECT_EQ(NID_undef, usages[1].m_Nid);
}

TEST(SlCertificateAccess, BasicConstraintsTellOfACaAndItsPath) {
    CertificateBasicConstraints constraints;
    EXPECT_TRUE(With("basicConstraints", "CA:TRUE,pathlen:2").GetBasicConstraints(constraints));
    EXPECT_TRUE(constraints.m_IsCa);
    EXPECT_EQ(2, constraints.m_PathLength);
    EXPECT_TRUE(With("basicConstraints", "CA:FALSE").GetBasicConstraints(constraints));
    EXPECT_FALSE(constraints.m_IsCa);
    EXPECT_EQ(-1, constraints.m_PathLength);
    EXPECT_FALSE(CertificateBuilder().Wrapped().GetBasicConstraints(constraints));
}

TEST(SlCertificateAccess, AlternativeNamesOfEachKindHaveTheirText) {
    const std::string names =
        "otherName:1.3.6.1.4.1.311.20.2.3;UTF8:u@b.example,email:a@b.example,DNS:b.example,"
        "URI:http://b.example/,IP:192.0.2.1,IP:2001:db8::1,RID:1.2.3";
    const std::vector<std::string> texts = {"0:1.3.6.1.4.1.311.20.2.3:u@b.example",
                                            "1:a@b.example",
                                            "2:b.example",
                                            "6:http://b.example/",
                                            "7:192.0.2.1",
                                            "7:2001:db8::1",
                                            "8:1.2.3"};
    EXPECT_EQ(texts, TextsOf(With("subjectAltName", names).GetSubjectAltNames()));
    EXPECT_EQ(texts, TextsOf(With("issuerAltName", names).GetIssuerAltNames()));
}

TEST(SlCertificateAccess, AnotherNameMayBeAnAsciiText) {
    EXPECT_EQ((std::vector<std::string>{"0:1.2.3:abc"}),
              TextsOf(With("subjectAltName", "otherName:1.2.3;IA5STRING:abc").GetSubjectAltNames()));
}

TEST(SlCertificateAccess, NamesWithoutATextComeAsDigits) {
    // otherName 1.2.3 with a NULL; a directory name CN=ä; x400Address (empty); an IP address of 8 bytes
    const Bytes content = {0x30, 0x2c, 0xa0, 0x08, 0x06, 0x02, 0x2a, 0x03, 0xa0, 0x02, 0x05, 0x00,
                           0xa4, 0x11, 0x30, 0x0f, 0x31, 0x0d, 0x30, 0x0b, 0x06, 0x03, 0x55, 0x04,
                           0x03, 0x0c, 0x04, 0xc3, 0xa4, 0x2c, 0x62, 0xa3, 0x03, 0x04, 0x01, 0x07,
                           0x87, 0x08, 0xc0, 0x00, 0x02, 0x00, 0xff, 0xff, 0xff, 0x00};
    const auto texts = TextsOf(WithRaw("2.5.29.17", content).GetSubjectAltNames());
    ASSERT_EQ(4u, texts.size());
    EXPECT_EQ("0:1.2.3:0500", texts[0]);
    EXPECT_EQ("4:CN=ä\\,b", texts[1]);
    EXPECT_EQ("3:A303040107", texts[2]);
    EXPECT_EQ("7:C0000200FFFFFF00", texts[3]);
}

TEST(SlCertificateAccess, KeyIdentifiersComeWithoutTheirDerHeader) {
    EXPECT_EQ((Bytes{1, 2, 3}), With("subjectKeyIdentifier", "010203").GetSubjectKeyId());
    CertificateAuthorityKey authority;
    // keyid 1122, issuer URI "x", serial 0A0B
    EXPECT_TRUE(WithRaw("2.5.29.35", {0x30, 0x0d, 0x80, 0x02, 0x11, 0x22, 0xa1, 0x03, 0x86, 0x01, 'x', 0x82,
                                      0x02, 0x0a, 0x0b})
                    .GetAuthorityKeyId(authority));
    EXPECT_EQ((Bytes{0x11, 0x22}), authority.m_KeyId);
    EXPECT_EQ((std::vector<std::string>{"6:x"}), TextsOf(authority.m_Issuer));
    EXPECT_EQ("0x0A0B", authority.m_Serial);
}

TEST(SlCertificateAccess, PoliciesTellTheirStatementsAndNotices) {
    // Policies 1.2.3 with a statement "u" and a notice "Hinweis"; 1.2.4 without
    const Bytes content = {0x30, 0x32, 0x30, 0x2a, 0x06, 0x02, 0x2a, 0x03, 0x30, 0x24, 0x30, 0x0d, 0x06,
                           0x08, 0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x02, 0x01, 0x16, 0x01, 'u',  0x30,
                           0x13, 0x06, 0x08, 0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x02, 0x02, 0x30, 0x07,
                           0x0c, 0x05, 'H',  'i',  'n',  'w',  'e',  0x30, 0x04, 0x06, 0x02, 0x2a, 0x04};
    const auto policies = WithRaw("2.5.29.32", content).GetPolicies();
    ASSERT_EQ(2u, policies.size());
    EXPECT_EQ("1.2.3", policies[0].m_Oid.m_Dotted);
    EXPECT_EQ((std::vector<std::string>{"u"}), policies[0].m_Statements);
    EXPECT_EQ((std::vector<std::string>{"Hinwe"}), policies[0].m_Notices);
    EXPECT_EQ("1.2.4", policies[1].m_Oid.m_Dotted);
    EXPECT_TRUE(policies[1].m_Statements.empty());
}

TEST(SlCertificateAccess, APolicyKeepsWhatItSaysBesideQualifiersThatSayNothing) {
    // Policy 1.2.3 with a qualifier 1.2.9 of NULL, a notice without a text, and a statement "u"
    const Bytes content = {0x30, 0x2d, 0x30, 0x2b, 0x06, 0x02, 0x2a, 0x03, 0x30, 0x25, 0x30, 0x06,
                           0x06, 0x02, 0x2a, 0x09, 0x05, 0x00, 0x30, 0x0c, 0x06, 0x08, 0x2b, 0x06,
                           0x01, 0x05, 0x05, 0x07, 0x02, 0x02, 0x30, 0x00, 0x30, 0x0d, 0x06, 0x08,
                           0x2b, 0x06, 0x01, 0x05, 0x05, 0x07, 0x02, 0x01, 0x16, 0x01, 'u'};
    const auto policies = WithRaw("2.5.29.32", content).GetPolicies();
    ASSERT_EQ(1u, policies.size());
    EXPECT_EQ((std::vector<std::string>{"u"}), policies[0].m_Statements);
    EXPECT_TRUE(policies[0].m_Notices.empty());
}

TEST(SlCertificateAccess, EveryEntryOfInformationAccessIsThere) {
    const auto access =
        With("authorityInfoAccess", "OCSP;URI:http://o.example,caIssuers;email:a@b,1.2.3;DNS:c").GetAccess();
    ASSERT_EQ(3u, access.size());
    EXPECT_EQ(NID_ad_OCSP, access[0].m_Method.m_Nid);
    EXPECT_EQ("http://o.example", access[0].m_Location.m_Text);
    EXPECT_EQ(NID_ad_ca_issuers, access[1].m_Method.m_Nid);
    EXPECT_EQ(Kind::EMAIL, access[1].m_Location.m_Kind);
    EXPECT_EQ("1.2.3", access[2].m_Method.m_Dotted);
}

TEST(SlCertificateAccess, NamesOfDistributionPointsAreThereWhateverTheirKind) {
    EXPECT_EQ((std::vector<std::string>{"6:http://c.example/1", "2:c.example"}),
              TextsOf(With("crlDistributionPoints", "URI:http://c.example/1,DNS:c.example").GetCrlNames()));
    // one point with a name relative to the issuer: CN=L
    const Bytes relative = {0x30, 0x10, 0x30, 0x0e, 0xa0, 0x0c, 0xa1, 0x0a, 0x30,
                            0x08, 0x06, 0x03, 0x55, 0x04, 0x03, 0x0c, 0x01, 'L'};
    EXPECT_EQ((std::vector<std::string>{"4:L"}), TextsOf(WithRaw("2.5.29.31", relative).GetCrlNames()));
}

TEST(SlCertificateAccess, ADistributionPointMayBeWithoutAName) {
    // one point that has reasons (keyCompromise) alone, and one with the URI "x"
    const Bytes content = {0x30, 0x0f, 0x30, 0x04, 0x81, 0x02, 0x06, 0x40, 0x30,
                           0x07, 0xa0, 0x05, 0xa0, 0x03, 0x86, 0x01, 'x'};
    EXPECT_EQ((std::vector<std::string>{"6:x"}), TextsOf(WithRaw("2.5.29.31", content).GetCrlNames()));
}

TEST(SlCertificateAccess, AnEmptyObjectHasNone) {
    ExpectNothingIn(slCertificate());
}

TEST(SlCertificateAccess, AMalformedOrRepeatedExtensionGivesNothing) {
    for (const char* oid : {"2.5.29.14", "2.5.29.15", "2.5.29.17", "2.5.29.18", "2.5.29.19", "2.5.29.31",
                            "2.5.29.32", "2.5.29.35", "2.5.29.37", "1.3.6.1.5.5.7.1.1"}) {
        const slCertificate certificate = WithRaw(oid, {0x30, 0x7f, 0x01});
        ExpectNothingIn(certificate);
        EXPECT_EQ(1u, certificate.GetExtensions().size());
    }
    const slCertificate twice = CertificateBuilder()
                                    .RawExtension("2.5.29.15", {0x03, 0x02, 0x07, 0x80})
                                    .RawExtension("2.5.29.15", {0x03, 0x02, 0x07, 0x80})
                                    .Wrapped();
    EXPECT_TRUE(twice.GetKeyUsage().empty());
    EXPECT_EQ(2u, twice.GetExtensions().size());
}
