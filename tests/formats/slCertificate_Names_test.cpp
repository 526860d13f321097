// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <gtest/gtest.h>

#include "tests/support/CertificateBuilder.h"

using Velmor::slCertificate;
using Bytes = std::vector<unsigned char>;
using DerGetter = bool (slCertificate::*)(unsigned char*, unsigned int&) const;

namespace {

const NameFields CITIZEN_NAME = {{"C", "AT"},
                                 {"O", "Amt"},
                                 {"OU", "Abteilung"},
                                 {"CN", "Jörg Müller"},
                                 {"GN", "Jörg"},
                                 {"SN", "Müller"},
                                 {"serialNumber", "123456789012"}};
const NameFields CA_NAME = {
    {"C", "DE"}, {"O", "Prüf-CA"}, {"OU", "Wurzel, \"alt\""}, {"CN", "Größte <CA> + Söhne"}};

slCertificate Citizen() {
    return CertificateBuilder().Subject(CITIZEN_NAME).Issuer(CA_NAME).Wrapped();
}

} // namespace

TEST(SlCertificateNames, OneLineFormHasASlashBeforeEachField) {
    const slCertificate certificate = CertificateBuilder().Wrapped();
    EXPECT_EQ("/C=AT/O=Muster/CN=Erika Muster", certificate.GetSubject());
    EXPECT_EQ("/C=AT/O=Muster CA/CN=Muster Sign 01", certificate.GetIssuer());
}

TEST(SlCertificateNames, OneLineFormEndsAt1023Characters) {
    const NameFields fields(30, {"OU", std::string(60, 'x')});
    const slCertificate certificate = CertificateBuilder().Subject(fields).Wrapped();
    EXPECT_GE(1023u, certificate.GetSubject().size());
    EXPECT_LT(900u, certificate.GetSubject().size());
}

TEST(SlCertificateNames, EveryFieldGetterReadsItsField) {
    const struct {
        std::string (slCertificate::*m_Get)() const;
        std::string m_Expected;
    } table[] = {
        {&slCertificate::GetIssuerCN, "Größte <CA> + Söhne"},
        {&slCertificate::GetIssuerC, "DE"},
        {&slCertificate::GetIssuerO, "Prüf-CA"},
        {&slCertificate::GetIssuerOU, "Wurzel, \"alt\""},
        {&slCertificate::GetSubjectCN, "Jörg Müller"},
        {&slCertificate::GetSubjectOU, "Abteilung"},
        {&slCertificate::GetSubjectGN, "Jörg"},
        {&slCertificate::GetSubjectSN, "Müller"},
        {&slCertificate::GetSubjectSerial, "123456789012"},
    };
    const slCertificate certificate = Citizen();
    const slCertificate nameless = CertificateBuilder().Subject({}).Issuer({}).Wrapped();
    const slCertificate empty;
    for (const auto& row : table) {
        EXPECT_EQ(row.m_Expected, (certificate.*row.m_Get)());
        EXPECT_EQ("", (nameless.*row.m_Get)());
        EXPECT_EQ("", (empty.*row.m_Get)());
    }
}

TEST(SlCertificateNames, AMissingCommonNameIsEmpty) {
    const slCertificate certificate = CertificateBuilder().Subject({{"C", "AT"}}).Wrapped();
    EXPECT_EQ("", certificate.GetSubjectCN());
    EXPECT_EQ("/C=AT", certificate.GetSubject());
}

TEST(SlCertificateNames, AFieldIsReadByItsNumber) {
    const slCertificate certificate = Citizen();
    EXPECT_EQ("AT", certificate.GetSubjectVal(NID_countryName));
    EXPECT_EQ("DE", certificate.GetIssuerVal(NID_countryName));
    EXPECT_EQ("", certificate.GetSubjectVal(NID_title));
    EXPECT_EQ("", certificate.GetIssuerVal(-1));
}

TEST(SlCertificateNames, OfTwoEqualFieldsTheFirstIsRead) {
    const slCertificate certificate =
        CertificateBuilder().Subject({{"OU", "eins"}, {"OU", "zwei"}}).Wrapped();
    EXPECT_EQ("eins", certificate.GetSubjectOU());
}

TEST(SlCertificateNames, PrintedFormFollowsTheFlags) {
    const slCertificate certificate = Citizen();
    EXPECT_EQ("serialNumber=123456789012,SN=M\\C3\\BCller,GN=J\\C3\\B6rg,CN=J\\C3\\B6rg M\\C3\\BCller,"
              "OU=Abteilung,O=Amt,C=AT",
              certificate.GetSubjectWithFormat(XN_FLAG_RFC2253));
    EXPECT_EQ("C=AT, O=Amt, OU=Abteilung, CN=Jörg Müller, GN=Jörg, SN=Müller, serialNumber=123456789012",
              certificate.GetSubjectWithFormat(XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB & ~XN_FLAG_SPC_EQ));
    EXPECT_EQ(
        "CN=Gr\\C3\\B6\\C3\\9Fte \\<CA\\> \\+ S\\C3\\B6hne,OU=Wurzel\\, \\\"alt\\\",O=Pr\\C3\\BCf-CA,C=DE",
        certificate.GetIssuerWithFormat(XN_FLAG_RFC2253));
}

TEST(SlCertificateNames, IssuerSeparatedByCommasIsTheFormOfRfc2253) {
    const slCertificate certificate = CertificateBuilder().Wrapped();
    EXPECT_EQ("CN=Muster Sign 01,O=Muster CA,C=AT", certificate.GetIssuerSepByComa());
    EXPECT_EQ(0x1110317, XN_FLAG_RFC2253);
    EXPECT_EQ(certificate.GetIssuerWithFormat(0x1110317), certificate.GetIssuerSepByComa());
}

TEST(SlCertificateNames, PrintedFormIsNotCutAtTheSizeOfAFixedBuffer) {
    const NameFields fields(50, {"OU", std::string(60, 'x')});
    const slCertificate certificate = CertificateBuilder().Subject(fields).Wrapped();
    EXPECT_EQ(50u * 64u - 1u, certificate.GetSubjectWithFormat(XN_FLAG_RFC2253).size());
}

TEST(SlCertificateNames, PrintedFormEndsAtTheFirstZeroByte) {
    const slCertificate certificate =
        CertificateBuilder().Subject({{"CN", std::string("ab\0cd", 5)}, {"OU", "x"}}).Wrapped();
    constexpr unsigned long UNESCAPED = XN_FLAG_SEP_COMMA_PLUS | XN_FLAG_FN_SN;
    EXPECT_EQ("CN=ab", certificate.GetSubjectWithFormat(UNESCAPED));
}

TEST(SlCertificateNames, DerFormFollowsTheSizeProtocol) {
    slCertificate certificate = Citizen();
    const struct {
        DerGetter m_Get;
        X509_NAME* m_Name;
    } table[] = {
        {&slCertificate::GetSubjectDER, X509_get_subject_name(certificate.GetX509())},
        {&slCertificate::GetIssuerDER, X509_get_issuer_name(certificate.GetX509())},
    };
    for (const auto& row : table) {
        Bytes expected(i2d_X509_NAME(row.m_Name, nullptr));
        unsigned char* end = expected.data();
        i2d_X509_NAME(row.m_Name, &end);

        unsigned int size = 0;
        ASSERT_TRUE((certificate.*row.m_Get)(nullptr, size));
        EXPECT_EQ(expected.size(), size);

        Bytes out(size + 1, 0xee);
        unsigned int tooSmall = size - 1;
        EXPECT_FALSE((certificate.*row.m_Get)(out.data(), tooSmall));
        EXPECT_EQ(Bytes(size + 1, 0xee), out);
        EXPECT_EQ(size - 1, tooSmall);

        unsigned int ample = size + 1;
        EXPECT_TRUE((certificate.*row.m_Get)(out.data(), ample));
        EXPECT_EQ(size, ample);
        expected.push_back(0xee);
        EXPECT_EQ(expected, out);
    }
}

TEST(SlCertificateNames, HashesHaveEightDigits) {
    // As "openssl x509 -subject_hash -issuer_hash" prints them for these names.
    const slCertificate certificate = CertificateBuilder()
                                          .Subject({{"C", "AT"}, {"O", "Muster"}, {"CN", "Erika Muster"}})
                                          .Issuer({{"CN", "5"}})
                                          .Wrapped();
    EXPECT_EQ("e841096d", certificate.GetSubjectNameHash());
    EXPECT_EQ("0f007366", certificate.GetIssuerNameHash());
}

TEST(SlCertificateNames, OfAnEmptyObjectAreEmpty) {
    const slCertificate empty;
    EXPECT_EQ("", empty.GetSubject());
    EXPECT_EQ("", empty.GetIssuer());
    EXPECT_EQ("", empty.GetSubjectWithFormat(XN_FLAG_RFC2253));
    EXPECT_EQ("", empty.GetIssuerWithFormat(XN_FLAG_RFC2253));
    EXPECT_EQ("", empty.GetIssuerSepByComa());
    EXPECT_EQ("", empty.GetSubjectVal(NID_commonName));
    EXPECT_EQ("", empty.GetIssuerVal(NID_commonName));
    EXPECT_EQ("", empty.GetSubjectNameHash());
    EXPECT_EQ("", empty.GetIssuerNameHash());
    unsigned int size = 42;
    EXPECT_FALSE(empty.GetSubjectDER(nullptr, size));
    EXPECT_FALSE(empty.GetIssuerDER(nullptr, size));
    EXPECT_EQ(42u, size);
}
