// SPDX-License-Identifier: MIT
#include "cli/CertificateSummary.h"

#include <gmock/gmock.h>

#include "tests/support/CertificateBuilder.h"

using orselcli::CertificateSummary;
using testing::HasSubstr;
using testing::Not;

namespace {

CertificateSummary SummaryOf(const CertificateBuilder& builder) {
    return CertificateSummary::Of(builder.Der());
}

} // namespace

TEST(ASummaryOfACertificate, HasTheKindAndTheSizeOfItsKey) {
    EXPECT_EQ("RSA 2048", SummaryOf(CertificateBuilder()).m_Key);
    EXPECT_EQ("EC 256", SummaryOf(CertificateBuilder().Key(TestKey::P256)).m_Key);
    EXPECT_EQ("ED25519 256", SummaryOf(CertificateBuilder().Key(TestKey::ED25519)).m_Key);
    EXPECT_EQ("", CertificateSummary::Of(CertificateBuilder().DerWithUnknownKey()).m_Key);
}

TEST(ASummaryOfACertificate, TellsWhetherItIsValidNow) {
    CertificateBuilder valid;
    valid.ValidTo(V_ASN1_GENERALIZEDTIME, "21500101000000Z");
    EXPECT_TRUE(SummaryOf(valid).m_IsValidNow);
    EXPECT_THAT(SummaryOf(valid).InWords(), Not(HasSubstr("(not now)")));
    CertificateBuilder expired;
    expired.ValidTo(V_ASN1_UTCTIME, "170101000000Z");
    EXPECT_FALSE(SummaryOf(expired).m_IsValidNow);
    EXPECT_EQ("2017-01-01T00:00:00Z", SummaryOf(expired).m_NotAfter);
    CertificateBuilder future;
    future.ValidFrom(V_ASN1_GENERALIZEDTIME, "21490101000000Z")
        .ValidTo(V_ASN1_GENERALIZEDTIME, "21500101000000Z");
    EXPECT_FALSE(SummaryOf(future).m_IsValidNow);
    EXPECT_THAT(SummaryOf(future).InWords(), HasSubstr("(not now)"));
}

TEST(ASummaryOfACertificate, LeavesATimeOutThatIsNone) {
    CertificateBuilder odd;
    odd.ValidFrom(V_ASN1_UTCTIME, "no time");
    EXPECT_EQ("", SummaryOf(odd).m_NotBefore);
    EXPECT_NE("", SummaryOf(odd).m_NotAfter);
}

TEST(ASummaryOfACertificate, OfWhatIsNoneIsEmpty) {
    const CertificateSummary summary = CertificateSummary::Of({1, 2, 3});
    EXPECT_EQ("", summary.m_Subject);
    EXPECT_EQ("", summary.m_Sha256);
    EXPECT_FALSE(summary.m_IsValidNow);
}
