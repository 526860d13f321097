// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <memory>

#include <gtest/gtest.h>

#include "foundation/Base64.h"
#include "tests/foundation/GlobalLocale.h"
#include "tests/support/CertificateBuilder.h"

#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // the interface hands out keys of the old types

using Velmor::slCertificate;
using Bytes = std::vector<unsigned char>;

namespace {

void FreeRsa(RSA* key) {
    RSA_free(key);
}

void FreeEc(EC_KEY* key) {
    EC_KEY_free(key);
}

using RsaHandle = Velmor::OpenSslHandle<RSA, FreeRsa>;
using EcHandle = Velmor::OpenSslHandle<EC_KEY, FreeEc>;

slCertificate WithKey(TestKey kind) {
    return CertificateBuilder().Key(kind).Wrapped();
}

/// The content of the key's BIT STRING, made from the key itself.
Bytes PublicKeyBytes(TestKey kind) {
    EVP_PKEY* key = GetTestKey(kind);
    if (kind == TestKey::ED25519) {
        std::size_t size = 32;
        Bytes raw(size);
        EVP_PKEY_get_raw_public_key(key, raw.data(), &size);
        return raw;
    }
    unsigned char* encoded = nullptr;
    const int size = i2d_PublicKey(key, &encoded);
    Bytes bytes(encoded, encoded + size);
    OPENSSL_free(encoded);
    return bytes;
}

Bytes BytesOf(const BIGNUM* number) {
    Bytes bytes(BN_num_bytes(number));
    BN_bn2bin(number, bytes.data());
    return bytes;
}

Bytes DigestOf(const Bytes& data, const EVP_MD* digest) {
    Bytes out(EVP_MAX_MD_SIZE);
    unsigned int size = 0;
    EVP_Digest(data.data(), data.size(), out.data(), &size, digest, nullptr);
    out.resize(size);
    return out;
}

/// Certificates with rising serial numbers until the thumbprint of one begins as asked for.
slCertificate WithThumbprintOf(bool (*wanted)(const Bytes&)) {
    for (int serial = 1;; ++serial) {
        slCertificate certificate =
            CertificateBuilder().Key(TestKey::P256).Serial(std::to_string(1000000 + serial)).Wrapped();
        Bytes thumbprint;
        certificate.GetThumbprint(thumbprint, Velmor::HASH_SHA1);
        if (wanted(thumbprint)) {
            return certificate;
        }
    }
}

} // namespace

TEST(SlCertificateKey, IsToldByItsKind) {
    const struct {
        TestKey m_Kind;
        bool m_IsRsa;
        bool m_IsEcdsa;
        int m_Algorithm;
    } table[] = {
        {TestKey::RSA1536, true, false, 1},  {TestKey::RSA2048, true, false, 1},
        {TestKey::P192, false, true, 0},     {TestKey::P256, false, true, 0},
        {TestKey::ED25519, false, false, 3},
    };
    for (const auto& row : table) {
        const slCertificate certificate = WithKey(row.m_Kind);
        EXPECT_EQ(row.m_IsRsa, certificate.IsRsaKey());
        EXPECT_EQ(row.m_IsEcdsa, certificate.IsEcdsaKey());
        EXPECT_EQ(row.m_Algorithm, certificate.GetKeyAlgorithm());
    }
}

TEST(SlCertificateKey, ValueIsTheContentOfTheBitString) {
    for (const TestKey kind :
         {TestKey::RSA1536, TestKey::RSA2048, TestKey::P192, TestKey::P256, TestKey::ED25519}) {
        const slCertificate certificate = WithKey(kind);
        Bytes value = {1, 2, 3};
        EXPECT_TRUE(certificate.GetPublicKeyValue(value));
        EXPECT_EQ(PublicKeyBytes(kind), value);

        unsigned char* array = nullptr;
        unsigned long size = 0;
        ASSERT_TRUE(certificate.GetPublicKeyValue(&array, &size));
        const std::unique_ptr<unsigned char[]> owned(array);
        EXPECT_EQ(value, Bytes(array, array + size));
    }
}

TEST(SlCertificateKey, SizesAreThoseOfTheCards) {
    Bytes value;
    EXPECT_TRUE(WithKey(TestKey::P192).GetPublicKeyValue(value));
    EXPECT_EQ(49u, value.size());
    EXPECT_TRUE(WithKey(TestKey::P256).GetPublicKeyValue(value));
    EXPECT_EQ(65u, value.size());
    EXPECT_TRUE(WithKey(TestKey::RSA2048).GetPublicKeyValue(value));
    EXPECT_EQ(270u, value.size());
}

TEST(SlCertificateKey, AnRsaKeyIsHandedOutAsADuplicate) {
    const slCertificate certificate = WithKey(TestKey::RSA1536);
    RSA* key = nullptr;
    ASSERT_TRUE(certificate.GetRsaPublicKey(&key));
    const RsaHandle owned(key);
    EXPECT_EQ(1536, RSA_bits(key));
    EC_KEY* none = nullptr;
    EXPECT_FALSE(certificate.GetEcdsaPublicKey(&none));
    EXPECT_EQ(nullptr, none);
}

TEST(SlCertificateKey, AnEcdsaKeyIsHandedOutAsADuplicate) {
    const slCertificate certificate = WithKey(TestKey::P192);
    EC_KEY* key = nullptr;
    ASSERT_TRUE(certificate.GetEcdsaPublicKey(&key));
    const EcHandle owned(key);
    EXPECT_EQ(NID_X9_62_prime192v1, EC_GROUP_get_curve_name(EC_KEY_get0_group(key)));
    RSA* none = nullptr;
    EXPECT_FALSE(certificate.GetRsaPublicKey(&none));
    EXPECT_EQ(nullptr, none);
}

TEST(SlCertificateKey, AHandedOutKeyOutlivesTheCertificate) {
    RSA* key = nullptr;
    ASSERT_TRUE(WithKey(TestKey::RSA1536).GetRsaPublicKey(&key));
    const RsaHandle owned(key);
    EXPECT_EQ(1536, BN_num_bits(RSA_get0_n(key)));
}

TEST(SlCertificateKey, RsaComponentsReplaceTheOutputs) {
    for (const TestKey kind : {TestKey::RSA1536, TestKey::RSA2048}) {
        Bytes modulus = {1};
        Bytes exponent = {2};
        ASSERT_TRUE(WithKey(kind).GetRsaPubKeyComponents(modulus, exponent));
        const RsaHandle key(EVP_PKEY_get1_RSA(GetTestKey(kind)));
        EXPECT_EQ(BytesOf(RSA_get0_n(key.get())), modulus);
        EXPECT_EQ((Bytes{0x01, 0x00, 0x01}), exponent);
    }
}

TEST(SlCertificateKey, WithoutAnRsaKeyBothComponentsAreEmptied) {
    Bytes modulus = {1};
    Bytes exponent = {2};
    EXPECT_FALSE(WithKey(TestKey::P256).GetRsaPubKeyComponents(modulus, exponent));
    EXPECT_TRUE(modulus.empty());
    EXPECT_TRUE(exponent.empty());
}

TEST(SlCertificateKey, OfAKindThatNobodyKnowsIsNoneButHasItsBytes) {
    slCertificate certificate;
    ASSERT_TRUE(certificate.LoadFromBuffer(CertificateBuilder().DerWithUnknownKey()));
    EXPECT_EQ(3, certificate.GetKeyAlgorithm());
    Bytes modulus = {1};
    Bytes exponent = {2};
    EXPECT_FALSE(certificate.GetRsaPubKeyComponents(modulus, exponent));
    EXPECT_TRUE(modulus.empty());
    EXPECT_TRUE(exponent.empty());
    Bytes value;
    EXPECT_TRUE(certificate.GetPublicKeyValue(value));
    EXPECT_EQ(PublicKeyBytes(TestKey::P256), value);
}

TEST(SlCertificateKey, HashIsSha1OfTheValue) {
    const slCertificate certificate = WithKey(TestKey::P256);
    const Bytes expected = DigestOf(PublicKeyBytes(TestKey::P256), EVP_sha1());
    EXPECT_EQ(expected, certificate.GetPubKeyHashBytes());
    std::string base64;
    Velmor::b64encode(expected, base64, 0);
    EXPECT_EQ(base64, certificate.GetPubKeyHashB64());
    EXPECT_EQ(28u, base64.size());
}

TEST(SlCertificateKey, HexHashIsTheRawBytes) {
    const slCertificate certificate = WithKey(TestKey::P256);
    const Bytes expected = DigestOf(PublicKeyBytes(TestKey::P256), EVP_sha1());
    EXPECT_EQ(std::string(expected.begin(), expected.end()), certificate.GetPubKeyHashHex());
    EXPECT_EQ(20u, certificate.GetPubKeyHashHex().size());
    EXPECT_NE(certificate.GetPubKeyHashHex(), WithKey(TestKey::P192).GetPubKeyHashHex());
}

TEST(SlCertificateKey, OfAnEmptyObjectIsMissingAndOutputsStayUntouched) {
    const slCertificate empty;
    EXPECT_FALSE(empty.IsRsaKey());
    EXPECT_FALSE(empty.IsEcdsaKey());
    EXPECT_EQ(3, empty.GetKeyAlgorithm());
    Bytes first = {1};
    Bytes second = {2};
    EXPECT_FALSE(empty.GetPublicKeyValue(first));
    EXPECT_FALSE(empty.GetRsaPubKeyComponents(first, second));
    EXPECT_EQ((Bytes{1}), first);
    EXPECT_EQ((Bytes{2}), second);
    unsigned char untouched = 0;
    unsigned char* array = &untouched;
    unsigned long size = 42;
    EXPECT_FALSE(empty.GetPublicKeyValue(&array, &size));
    EXPECT_EQ(&untouched, array);
    EXPECT_EQ(42u, size);
    RSA* rsa = nullptr;
    EC_KEY* ec = nullptr;
    EXPECT_FALSE(empty.GetRsaPublicKey(&rsa));
    EXPECT_FALSE(empty.GetEcdsaPublicKey(&ec));
    EXPECT_TRUE(empty.GetPubKeyHashBytes().empty());
    EXPECT_EQ("", empty.GetPubKeyHashHex());
    EXPECT_EQ("", empty.GetPubKeyHashB64());
}

TEST(SlCertificateThumbprint, IsTheDigestOfTheDerForm) {
    const slCertificate certificate = WithKey(TestKey::RSA2048);
    const struct {
        Velmor::HashAlgorithm m_Algorithm;
        const EVP_MD* m_Digest;
    } table[] = {
        {Velmor::HASH_SHA1, EVP_sha1()},     {Velmor::HASH_RIPEMD160, EVP_ripemd160()},
        {Velmor::HASH_SHA224, EVP_sha224()}, {Velmor::HASH_SHA256, EVP_sha256()},
        {Velmor::HASH_SHA384, EVP_sha384()}, {Velmor::HASH_SHA512, EVP_sha512()},
        {Velmor::HASH_MD5, EVP_md5()},       {Velmor::HASH_MD4, EVP_md4()},
    };
    for (const auto& row : table) {
        Bytes thumbprint = {1, 2, 3};
        EXPECT_TRUE(certificate.GetThumbprint(thumbprint, row.m_Algorithm));
        EXPECT_EQ(DigestOf(certificate.ToBin(), row.m_Digest), thumbprint) << row.m_Algorithm;
    }
}

TEST(SlCertificateThumbprint, OfAnUnknownAlgorithmFailsAndLeavesTheOutput) {
    for (const int algorithm : {7, 9, 10, -1}) {
        Bytes thumbprint = {1, 2, 3};
        EXPECT_FALSE(
            WithKey(TestKey::P256).GetThumbprint(thumbprint, static_cast<Velmor::HashAlgorithm>(algorithm)));
        EXPECT_EQ((Bytes{1, 2, 3}), thumbprint);
    }
}

TEST(SlCertificateThumbprint, ComesInANewArrayToo) {
    const slCertificate certificate = WithKey(TestKey::P256);
    unsigned char* array = nullptr;
    unsigned long size = 0;
    ASSERT_TRUE(certificate.GetThumbprint(&array, &size));
    const std::unique_ptr<unsigned char[]> owned(array);
    EXPECT_EQ(DigestOf(certificate.ToBin(), EVP_sha1()), Bytes(array, array + size));
}

TEST(SlCertificateThumbprint, TextWritesEachByteWithoutAWidth) {
    const slCertificate certificate = WithThumbprintOf([](const Bytes& thumbprint) {
        return thumbprint[0] < 16 && thumbprint[1] >= 16 && (thumbprint[1] & 15) > 9;
    });
    Bytes thumbprint;
    certificate.GetThumbprint(thumbprint, Velmor::HASH_SHA1);
    std::wstring expected;
    for (const unsigned char byte : thumbprint) {
        constexpr wchar_t DIGITS[] = L"0123456789ABCDEF";
        expected += byte < 16 ? std::wstring() : std::wstring(1, DIGITS[byte / 16]);
        expected += DIGITS[byte % 16];
    }
    EXPECT_EQ(expected, certificate.GetThumbprint());
    EXPECT_GT(40u, expected.size());
}

TEST(SlCertificateThumbprint, TextOfTwoSmallBytesIsTwoDigits) {
    const slCertificate certificate =
        WithThumbprintOf([](const Bytes& thumbprint) { return thumbprint[0] < 16 && thumbprint[1] < 16; });
    Bytes thumbprint;
    certificate.GetThumbprint(thumbprint, Velmor::HASH_SHA1);
    constexpr wchar_t DIGITS[] = L"0123456789ABCDEF";
    const std::wstring expected = {DIGITS[thumbprint[0]], DIGITS[thumbprint[1]]};
    EXPECT_EQ(expected, certificate.GetThumbprint().substr(0, 2));
}

TEST(SlCertificateThumbprint, TextIsTheSameInEveryLocale) {
    const slCertificate certificate =
        WithThumbprintOf([](const Bytes& thumbprint) { return thumbprint[0] >= 16; });
    const std::wstring expected = certificate.GetThumbprint();
    const GlobalLocale locale(new PointsBetweenDigits<wchar_t>);
    EXPECT_EQ(expected, certificate.GetThumbprint());
}

TEST(SlCertificateThumbprint, OfAnEmptyObjectIsEmptyAndOutputsStayUntouched) {
    const slCertificate empty;
    Bytes thumbprint = {1, 2, 3};
    EXPECT_FALSE(empty.GetThumbprint(thumbprint, Velmor::HASH_SHA1));
    EXPECT_EQ((Bytes{1, 2, 3}), thumbprint);
    unsigned char untouched = 0;
    unsigned char* array = &untouched;
    unsigned long size = 42;
    EXPECT_FALSE(empty.GetThumbprint(&array, &size));
    EXPECT_EQ(&untouched, array);
    EXPECT_EQ(42u, size);
    EXPECT_EQ(L"", empty.GetThumbprint());
}
