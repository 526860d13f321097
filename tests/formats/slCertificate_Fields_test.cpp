// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <gtest/gtest.h>
#include <openssl/objects.h>

#include <string_view>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/ScopedVariable.h"

using namespace Velmor;
using Bytes = std::vector<unsigned char>;

TEST(SlCertificateFields, NameAttributesComeInOrderWithTheirObjectIdentifiers) {
    const slCertificate certificate =
        CertificateBuilder().Subject({{"C", "AT"}, {"CN", "Jörg <Müßig>"}, {"2.5.4.97", "X-1"}}).Wrapped();
    const auto fields = certificate.GetSubjectFields();
    ASSERT_EQ(3u, fields.size());
    EXPECT_EQ("C", fields[0].m_Oid.m_ShortName);
    EXPECT_EQ("Jörg <Müßig>", fields[1].m_Text);
    EXPECT_EQ("commonName", fields[1].m_Oid.m_LongName);
    EXPECT_EQ("2.5.4.97", fields[2].m_Oid.m_Dotted);
    EXPECT_NE(fields[0].m_RelativeName, fields[1].m_RelativeName);
    EXPECT_EQ("Muster Sign 01", certificate.GetIssuerFields().back().m_Text);
}

TEST(SlCertificateFields, AttributesOfOneMultiValuedPartShareItsNumber) {
    const auto fields = CertificateBuilder()
                            .Subject({{"C", "AT"}, {"CN", "Erika"}, {"+serialNumber", "4711"}})
                            .Wrapped()
                            .GetSubjectFields();
    ASSERT_EQ(3u, fields.size());
    EXPECT_NE(fields[0].m_RelativeName, fields[1].m_RelativeName);
    EXPECT_EQ(fields[1].m_RelativeName, fields[2].m_RelativeName);
}

TEST(SlCertificateFields, AnAttributeThatIsNoTextComesAsDigits) {
    const slCertificate certificate =
        CertificateBuilder().RawSubject(NID_commonName, V_ASN1_BIT_STRING, "\xd8\x01").Wrapped();
    EXPECT_EQ("#D801", certificate.GetSubjectFields().front().m_Text);
}

TEST(SlCertificateFields, TimesAreNotShiftedByTheLocalZone) {
    const ScopedVariable zone("TZ", "CET-1");
    const slCertificate certificate = CertificateBuilder()
                                          .ValidFrom(V_ASN1_UTCTIME, "700101000001Z")
                                          .ValidTo(V_ASN1_GENERALIZEDTIME, "99991231235959Z")
                                          .Wrapped();
    EXPECT_TRUE(certificate.GetNotBefore().m_IsReadable);
    EXPECT_EQ(1, certificate.GetNotBefore().m_Seconds);
    EXPECT_EQ("700101000001Z", certificate.GetNotBefore().m_Text);
    EXPECT_EQ(253402300799, certificate.GetNotAfter().m_Seconds);
}

TEST(SlCertificateFields, ATimeThatIsNoneKeepsItsText) {
    for (const char* text : {"", "yesterday", "991331000000Z", "9912", "at the end of days"}) {
        slCertificate certificate;
        // From 3.5 on, libcrypto takes no certificate whose time has too few digits.
        const bool isTaken =
            certificate.LoadFromX509(CertificateBuilder().ValidTo(V_ASN1_UTCTIME, text).Build().get());
        EXPECT_TRUE(isTaken || std::string_view(text).size() < std::string_view("YYMMDDhhmmZ").size())
            << text;
        EXPECT_FALSE(certificate.GetNotAfter().m_IsReadable) << text;
        EXPECT_EQ(isTaken ? text : "", certificate.GetNotAfter().m_Text);
    }
}

TEST(SlCertificateFields, TheKeyTellsItsKindSizeAndCurve) {
    const CertificateKey rsa = CertificateBuilder().Key(TestKey::RSA1536).Wrapped().GetKey();
    EXPECT_EQ(NID_rsaEncryption, rsa.m_Algorithm.m_Nid);
    EXPECT_EQ(1536, rsa.m_Bits);
    EXPECT_EQ("", rsa.m_Curve);
    const CertificateKey ec = CertificateBuilder().Key(TestKey::P256).Wrapped().GetKey();
    EXPECT_EQ(NID_X9_62_id_ecPublicKey, ec.m_Algorithm.m_Nid);
    EXPECT_EQ(256, ec.m_Bits);
    EXPECT_EQ("prime256v1", ec.m_Curve);
    EXPECT_EQ("P-256", ec.m_NistCurve);
    const CertificateKey edwards = CertificateBuilder().Key(TestKey::ED25519).Wrapped().GetKey();
    EXPECT_EQ("ED25519", edwards.m_Algorithm.m_ShortName);
    EXPECT_EQ("", edwards.m_Curve);
}

TEST(SlCertificateFields, ACurveThatNistHasNotHasNoNistName) {
    const CertificateKey key = CertificateBuilder().Key(TestKey::K256).Wrapped().GetKey();
    EXPECT_EQ("secp256k1", key.m_Curve);
    EXPECT_EQ("", key.m_NistCurve);
}

TEST(SlCertificateFields, OfAKeyThatNobodyKnowsTheKindIsLeft) {
    slCertificate certificate;
    ASSERT_TRUE(certificate.LoadFromBuffer(CertificateBuilder().DerWithUnknownKey()));
    const CertificateKey key = certificate.GetKey();
    EXPECT_EQ("1.2.840.10045.2.127", key.m_Algorithm.m_Dotted);
    EXPECT_EQ(0, key.m_Bits);
    EXPECT_EQ("", key.m_Curve);
}

TEST(SlCertificateFields, TheSignatureComesWithItsAlgorithm) {
    const slCertificate certificate = CertificateBuilder().Wrapped();
    EXPECT_EQ("sha256WithRSAEncryption", certificate.GetSignatureAlgorithm().m_LongName);
    EXPECT_EQ(256u, certificate.GetSignatureValue().size());
    EXPECT_EQ(3, certificate.GetVersion());
}

TEST(SlCertificateFields, ExtensionsComeWholeAndInOrder) {
    const auto extensions = CertificateBuilder()
                                .Extension("basicConstraints", "critical,CA:TRUE")
                                .RawExtension("1.2.40.0.10.1.1.1", {0x05, 0x00})
                                .Wrapped()
                                .GetExtensions();
    ASSERT_EQ(2u, extensions.size());
    EXPECT_EQ(NID_basic_constraints, extensions[0].m_Oid.m_Nid);
    EXPECT_TRUE(extensions[0].m_IsCritical);
    EXPECT_EQ("1.2.40.0.10.1.1.1", extensions[1].m_Oid.m_Dotted);
    EXPECT_EQ("", extensions[1].m_Oid.m_LongName);
    EXPECT_FALSE(extensions[1].m_IsCritical);
    EXPECT_EQ((Bytes{0x05, 0x00}), extensions[1].m_Content);
}

TEST(SlCertificateFields, ThePemTextIsWhatTheBuilderSays) {
    const CertificateBuilder builder;
    const slCertificate certificate = builder.Wrapped();
    slCertificate again;
    EXPECT_TRUE(again.LoadFromB64(certificate.ToPem()));
    EXPECT_EQ(certificate.ToBin(), again.ToBin());
    EXPECT_EQ(0u, certificate.ToPem().find("-----BEGIN CERTIFICATE-----\n"));
}

TEST(SlCertificateFields, AnEmptyObjectHasNone) {
    const slCertificate empty;
    EXPECT_EQ("", empty.ToPem());
    EXPECT_EQ(0, empty.GetVersion());
    EXPECT_TRUE(empty.GetSubjectFields().empty());
    EXPECT_TRUE(empty.GetIssuerFields().empty());
    EXPECT_FALSE(empty.GetNotBefore().m_IsReadable);
    EXPECT_FALSE(empty.GetNotAfter().m_IsReadable);
    EXPECT_EQ("", empty.GetKey().m_Algorithm.m_Dotted);
    EXPECT_EQ("", empty.GetSignatureAlgorithm().m_Dotted);
    EXPECT_TRUE(empty.GetSignatureValue().empty());
    EXPECT_TRUE(empty.GetExtensions().empty());
}
