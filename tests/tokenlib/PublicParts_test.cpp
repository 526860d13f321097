// SPDX-License-Identifier: MIT
#include "tokenlib/PublicParts.h"

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include "tokenlib/OpenSslHandles.h"

using tokenlib::Bytes;
using tokenlib::KeyContextPtr;
using tokenlib::KeyPtr;
using tokenlib::PublicPartsOf;

namespace {

KeyPtr NewKey(int type, int encoding = OPENSSL_EC_NAMED_CURVE) {
    const KeyContextPtr context(EVP_PKEY_CTX_new_id(type, nullptr));
    EXPECT_EQ(1, EVP_PKEY_keygen_init(context.get()));
    if (type == EVP_PKEY_EC) {
        EXPECT_EQ(1, EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), NID_X9_62_prime256v1));
        EXPECT_EQ(1, EVP_PKEY_CTX_set_ec_param_enc(context.get(), encoding));
    }
    EVP_PKEY* key = nullptr;
    EXPECT_EQ(1, EVP_PKEY_keygen(context.get(), &key));
    return KeyPtr(key);
}

std::string RefusalOf(const KeyPtr& key) {
    try {
        PublicPartsOf(key.get());
        return "none";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

} // namespace

TEST(ThePublicPartsOfAKey, AreTheNumbersOfAnRsaKey) {
    const auto parts = PublicPartsOf(NewKey(EVP_PKEY_RSA).get());
    EXPECT_TRUE(parts.m_IsRsa);
    EXPECT_EQ(2048, parts.m_Bits);
    EXPECT_EQ(256U, parts.m_Modulus.size());
    EXPECT_EQ(Bytes({1, 0, 1}), parts.m_Exponent);
}

TEST(ThePublicPartsOfAKey, AreTheCurveAndThePointOfAnEcKey) {
    const auto parts = PublicPartsOf(NewKey(EVP_PKEY_EC).get());
    EXPECT_FALSE(parts.m_IsRsa);
    EXPECT_EQ(Bytes({0x06, 0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07}), parts.m_EcParams);
    EXPECT_EQ(65U, parts.m_EcPoint.size());
    EXPECT_EQ(64U, tokenlib::EcSignatureSize(parts.m_EcParams));
}

TEST(ThePublicPartsOfAKey, AreNoneOfOtherKeys) {
    EXPECT_EQ("a key that is neither RSA nor EC", RefusalOf(NewKey(EVP_PKEY_ED25519)));
    EXPECT_EQ("an EC key without a named curve", RefusalOf(NewKey(EVP_PKEY_EC, OPENSSL_EC_EXPLICIT_CURVE)));
    EXPECT_EQ("a key without a public part", RefusalOf(KeyPtr(EVP_PKEY_new())));
    ERR_clear_error();
}

TEST(TheSizeOfASignature, OnACurveThatNobodyKnowsIsNone) {
    EXPECT_EQ(0U, tokenlib::EcSignatureSize({0x06, 0x03, 0x2A, 0x03, 0x04}));
    EXPECT_EQ(0U, tokenlib::EcSignatureSize({}));
    EXPECT_EQ(0U, ERR_peek_error()) << "the host program's error queue stays as it was";
}
