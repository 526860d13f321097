// SPDX-License-Identifier: MIT
#include "viewer/CertificateRows.h"

#include <algorithm>

#include <gmock/gmock.h>

#include "tests/support/CertificateBuilder.h"
#include "viewer/LongText.h"
#include "viewer/VisibleText.h"

using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using viewer::Row;
using Bytes = std::vector<unsigned char>;

namespace {

std::vector<std::string> TextsOf(const std::vector<Row>& rows) {
    std::vector<std::string> texts;
    for (const Row& row : rows) {
        texts.push_back(viewer::RowText(row));
    }
    return texts;
}

std::vector<std::string> RowTextsOf(const CertificateBuilder& builder) {
    return TextsOf(viewer::RowsOf(builder.Wrapped()));
}

} // namespace

TEST(CertificateRows, MakeControlAndDirectionCharactersVisible) {
    const std::string evil = "Erika\u202e\n\x1b[1m";
    const std::string seen = "Erika<U+202E><U+000A><U+001B>[1m";
    CertificateBuilder builder;
    builder.Subject({{"CN", evil}})
        .Issuer({{"O", evil}})
        .RawExtension("2.5.29.17", {0x30, 0x06, 0x82, 0x04, 'a', 0xff, '\n', 'b'})
        .RawExtension("1.3.6.1.5.5.7.1.1", {0x30, 0x10, 0x30, 0x0e, 0x06, 0x08, 0x2b, 0x06, 0x01, 0x05, 0x05,
                                            0x07, 0x30, 0x01, 0x86, 0x02, '\r', 'x'});
    const auto texts = RowTextsOf(builder);
    EXPECT_THAT(texts, Contains("Name (CN): " + seen));
    EXPECT_THAT(texts, Contains("Organisation (O): " + seen));
    EXPECT_THAT(texts, Contains("Alternativer Name: DNS: a<0xFF><U+000A>b"));
    EXPECT_THAT(texts, Contains("Statusauskunft (OCSP): <U+000D>x"));
    for (const std::string& text : texts) {
        EXPECT_THAT(text, Not(HasSubstr("\u202e")));
        EXPECT_EQ(std::string::npos, text.find_first_of("\n\r\x1b"));
    }
    EXPECT_EQ(seen, viewer::HolderOf(builder.Wrapped()));
    EXPECT_EQ(seen, viewer::IssuerOf(builder.Wrapped()));
}

TEST(CertificateRows, ShowAMalformedOrRepeatedExtensionAsItsBytes) {
    CertificateBuilder builder;
    builder.RawExtension("2.5.29.15", {0x30, 0x7f})
        .RawExtension("2.5.29.19", {0x30, 0x00})
        .RawExtension("2.5.29.19", {0x30, 0x00})
        .RawExtension("2.5.29.17", {})
        .RawExtension("2.5.29.14", {0x04, 0x7f})
        .RawExtension("2.5.29.35", {0x30, 0x7f});
    const auto texts = RowTextsOf(builder);
    EXPECT_THAT(texts, Contains("X509v3 Subject Key Identifier (2.5.29.14): 04:7F"));
    EXPECT_THAT(texts, Contains("X509v3 Authority Key Identifier (2.5.29.35): 30:7F"));
    EXPECT_THAT(texts, Contains("X509v3 Key Usage (2.5.29.15): 30:7F"));
    EXPECT_EQ(2, std::count(texts.begin(), texts.end(), "X509v3 Basic Constraints (2.5.29.19): 30:00"));
    EXPECT_THAT(texts, Contains("X509v3 Subject Alternative Name (2.5.29.17): ohne Inhalt"));
}

TEST(CertificateRows, ShowEveryKindOfNameAndEveryPartOfAnAuthorityKey) {
    CertificateBuilder builder;
    builder.Extension("subjectAltName", "otherName:1.3.6.1.4.1.311.20.2.3;UTF8:u@b.example,email:e@b.example")
        .RawExtension("2.5.29.35", {0x30, 0x09, 0xa1, 0x03, 0x86, 0x01, 'x', 0x82, 0x02, 0x0a, 0x0b})
        .Extension("authorityInfoAccess", "1.2.3;DNS:c.example");
    const auto texts = RowTextsOf(builder);
    EXPECT_THAT(texts, Contains("Alternativer Name: Anderer Name: 1.3.6.1.4.1.311.20.2.3:u@b.example"));
    EXPECT_THAT(texts, Contains("Aussteller des Ausstellers: Adresse (URI): x"));
    EXPECT_THAT(texts, Contains("Seriennummer des Ausstellers: 0x0A0B"));
    EXPECT_THAT(texts, Contains("1.2.3: DNS: c.example"));
}

TEST(CertificateRows, OfATenMegabyteExtensionAreCutWhereTheyAreLookedAt) {
    constexpr std::size_t SIZE = 10UL * 1024 * 1024;
    const auto rows =
        viewer::RowsOf(CertificateBuilder().RawExtension("1.2.3.4", Bytes(SIZE, 0xab)).Wrapped());
    const auto row =
        std::find_if(rows.begin(), rows.end(), [](const Row& r) { return r.Label() == "1.2.3.4"; });
    ASSERT_NE(rows.end(), row);
    EXPECT_LE(row->Value(200).size(), 210u);
    EXPECT_THAT(row->Value(200), EndsWith("AB…"));
    EXPECT_EQ(3 * SIZE - 1, row->Value().size());
    const std::string text = viewer::LongText(rows, 10000);
    EXPECT_LE(text.size(), 14000u);
    EXPECT_THAT(text, EndsWith("Hier gekürzt: es folgt noch mehr.\n"));
    EXPECT_GT(viewer::LongText(rows).size(), 3 * SIZE);
}

TEST(CertificateRows, HoldTenThousandAlternativeNames) {
    std::string names;
    for (int i = 0; i < 10000; ++i) {
        names += (i == 0 ? "DNS:n" : ",DNS:n") + std::to_string(i) + ".example";
    }
    const auto texts = RowTextsOf(CertificateBuilder().Extension("subjectAltName", names));
    EXPECT_THAT(texts, Contains("Alternativer Name: DNS: n0.example"));
    EXPECT_THAT(texts, Contains("Alternativer Name: DNS: n9999.example"));
}

TEST(CertificateRows, OfAKeyThatNobodyKnowsSaySo) {
    // Another last number in the object identifier of RSA keys, which stands in the certificate once.
    Bytes der = CertificateBuilder().Der();
    const Bytes rsa = {0x06, 0x09, 0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x01};
    const auto place = std::search(der.begin(), der.end(), rsa.begin(), rsa.end());
    ASSERT_NE(der.end(), place);
    place[10] = 0x7f;
    Velmor::slCertificate certificate;
    ASSERT_TRUE(certificate.LoadFromBuffer(der));
    const auto texts = TextsOf(viewer::RowsOf(certificate));
    EXPECT_THAT(texts, Contains("Art: 1.2.840.113549.1.1.127"));
    EXPECT_THAT(texts, Contains("Größe: nicht lesbar"));
    EXPECT_THAT(texts, Contains(testing::StartsWith("Wert: 30:82:01:0A:02")));
}

TEST(CertificateRows, NameACurveAsItIsKnown) {
    EXPECT_THAT(RowTextsOf(CertificateBuilder().Key(TestKey::P256)), Contains("Kurve: P-256 (prime256v1)"));
    EXPECT_THAT(RowTextsOf(CertificateBuilder().Key(TestKey::K256)), Contains("Kurve: secp256k1"));
}

TEST(HolderOf, IsTheLastNameThereIsWhereNoneTellsAnything) {
    CertificateBuilder builder;
    builder.RawSubject(NID_commonName, V_ASN1_UTF8STRING, "");
    EXPECT_EQ("", viewer::HolderOf(builder.Wrapped()));
}

TEST(HolderOf, IsTheMostTellingName) {
    EXPECT_EQ("Erika",
              viewer::HolderOf(CertificateBuilder().Subject({{"O", "Firma"}, {"CN", "Erika"}}).Wrapped()));
    EXPECT_EQ("Firma",
              viewer::HolderOf(CertificateBuilder().Subject({{"C", "AT"}, {"O", "Firma"}}).Wrapped()));
    EXPECT_EQ("AT", viewer::HolderOf(CertificateBuilder().Subject({{"C", "AT"}}).Wrapped()));
    EXPECT_EQ("ohne Namen", viewer::HolderOf(CertificateBuilder().Subject({}).Wrapped()));
}

TEST(LongText, IndentsRowsBelowTheirHeadingsAndWrapsLongBytes) {
    const std::vector<Row> rows = {Row::Heading("A"), Row::OfText("a", "1"),
                                   Row::OfBytes("b", Bytes{0x01, 0xfe}), Row::Heading("B"),
                                   Row::OfBytes("c", Bytes(33, 0))};
    const std::string line = "00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00";
    EXPECT_EQ("A\n    a: 1\n    b: 01:FE\n\nB\n    c:\n        " + line + ":\n        " + line +
                  ":\n        00\n",
              viewer::LongText(rows));
    EXPECT_EQ("a: 1", viewer::RowText(rows[1]));
    EXPECT_EQ("A", viewer::RowText(rows[0]));
}
