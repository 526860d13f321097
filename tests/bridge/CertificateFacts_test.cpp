// SPDX-License-Identifier: MIT
#include "bridge/CertificateFacts.h"

#include <gmock/gmock.h>
#include <openssl/err.h>

#include "tests/support/CertificateBuilder.h"

using orselbridge::Bytes;
using orselbridge::FactsOf;

namespace {

orselbridge::CertificateFacts FactsWith(const std::string& extension, const std::string& value) {
    return FactsOf(CertificateBuilder().Extension(extension, value).Der()).value();
}

} // namespace

TEST(TheFactsOfACertificate, AreThoseOfItsKeyUsage) {
    EXPECT_TRUE(FactsWith("keyUsage", "nonRepudiation").m_IsForNonRepudiation);
    EXPECT_TRUE(FactsWith("keyUsage", "nonRepudiation").m_MaySign);
    EXPECT_FALSE(FactsWith("keyUsage", "digitalSignature").m_IsForNonRepudiation);
    EXPECT_TRUE(FactsWith("keyUsage", "digitalSignature").m_MaySign);
    EXPECT_FALSE(FactsWith("keyUsage", "keyEncipherment").m_MaySign);
}

TEST(TheFactsOfACertificate, WithoutAKeyUsageBindNobody) {
    const auto facts = FactsOf(CertificateBuilder().Der());
    EXPECT_FALSE(facts->m_IsForNonRepudiation);
    EXPECT_TRUE(facts->m_MaySign);
    EXPECT_FALSE(facts->m_IsAuthority);
}

TEST(TheFactsOfACertificate, TellAnAuthority) {
    EXPECT_TRUE(FactsWith("basicConstraints", "critical,CA:TRUE").m_IsAuthority);
}

TEST(TheFactsOfACertificate, HoldAKeyOfAKindThatCardsHave) {
    EXPECT_TRUE(FactsOf(CertificateBuilder().Der())->m_Key->m_IsRsa);
    EXPECT_FALSE(FactsOf(CertificateBuilder().Key(TestKey::P256).Der())->m_Key->m_IsRsa);
    EXPECT_FALSE(FactsOf(CertificateBuilder().Key(TestKey::ED25519).Der())->m_Key.has_value());
    EXPECT_FALSE(FactsOf(CertificateBuilder().DerWithUnknownKey())->m_Key.has_value());
}

TEST(TheFactsOfACertificate, AreNoneOfOtherBytesAndLeaveNoErrorBehind) {
    EXPECT_FALSE(FactsOf({}));
    EXPECT_FALSE(FactsOf({0x30, 0x03, 1, 2, 3}));
    EXPECT_EQ(0U, ERR_peek_error());
}
