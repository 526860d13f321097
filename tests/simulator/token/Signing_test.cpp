// SPDX-License-Identifier: MIT
#include "simulator/token/Signing.h"

#include <gmock/gmock.h>
#include <openssl/rsa.h>

#include "simulator/store/KeyMaterial.h"
#include "tests/simulator/token/TokenLibrary.h"
#include "tokenlib/Refusal.h"

using orselsim::Bytes;
using orselsim::BytesOf;
using orselsim::FindMechanism;
using orselsim::KeyForm;
using orselsim::KeyPtr;
using orselsim::MakeKey;
using orselsim::Refusal;
using orselsim::SignData;
using orselsim::VerifyData;
using orseltest::Rv;
using testing::SizeIs;

namespace {

Rv CodeOf(const std::function<void()>& work) {
    try {
        work();
        return CKR_OK;
    } catch (const Refusal& refusal) {
        return refusal.m_Code;
    }
}

/// The block that an RSA signature holds, by the public key alone.
Bytes Recovered(EVP_PKEY* key, const Bytes& signature) {
    const orselsim::KeyContextPtr context(EVP_PKEY_CTX_new(key, nullptr));
    EXPECT_EQ(1, EVP_PKEY_verify_recover_init(context.get()));
    EXPECT_EQ(1, EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING));
    Bytes block(512);
    std::size_t size = block.size();
    EXPECT_EQ(
        1, EVP_PKEY_verify_recover(context.get(), block.data(), &size, signature.data(), signature.size()));
    block.resize(size);
    return block;
}

} // namespace

TEST(AnRsaSignature, HoldsTheDigestInfoOfItsHash) {
    struct Case {
        CK_MECHANISM_TYPE m_Mechanism;
        const char* m_Expected; ///< of the bytes "abc"
    };
    const Case cases[] = {
        {CKM_RSA_PKCS, "616263"},
        {CKM_SHA1_RSA_PKCS, "3021300906052B0E03021A05000414A9993E364706816ABA3E25717850C26C9CD0D89D"},
        {CKM_RIPEMD160_RSA_PKCS, "3021300906052B24030201050004148EB208F7E05D987A9B044A8E98C6B087F15A0BFC"},
        {CKM_SHA256_RSA_PKCS, "3031300D060960864801650304020105000420"
                              "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"},
        {CKM_SHA384_RSA_PKCS, "3041300D060960864801650304020205000430"
                              "CB00753F45A35E8BB5A03D699AC65007272C32AB0EDED1631A8B605A43FF5BED"
                              "8086072BA1E7CC2358BAECA134C825A7"},
        {CKM_SHA512_RSA_PKCS, "3051300D060960864801650304020305000440"
                              "DDAF35A193617ABACC417349AE20413112E6FA4E89A97EA20A9EEEE64B55D39A"
                              "2192992A274FC1A836BA3C23A3FEEBBD454D4423643CE80E2A9AC94FA54CA49F"},
    };
    const KeyPtr key = MakeKey(KeyForm::RSA1536);
    for (const Case& c : cases) {
        const Bytes signature = SignData(key.get(), *FindMechanism(c.m_Mechanism), BytesOf("abc"));
        EXPECT_THAT(signature, SizeIs(192));
        EXPECT_EQ(c.m_Expected, orselsim::ToHex(Recovered(key.get(), signature)));
        EXPECT_EQ(Rv(CKR_OK), CodeOf([&] {
                      VerifyData(key.get(), *FindMechanism(c.m_Mechanism), BytesOf("abc"), signature);
                  }));
        EXPECT_EQ(Rv(CKR_SIGNATURE_INVALID), CodeOf([&] {
                      VerifyData(key.get(), *FindMechanism(c.m_Mechanism), BytesOf("abd"), signature);
                  }));
    }
}

TEST(AnRsaSignature, OfABlockLeavesElevenBytesOfPadding) {
    const KeyPtr key = MakeKey(KeyForm::RSA1536);
    const auto& mechanism = *FindMechanism(CKM_RSA_PKCS);
    EXPECT_THAT(SignData(key.get(), mechanism, Bytes(181, 7)), SizeIs(192));
    EXPECT_EQ(Rv(CKR_DATA_LEN_RANGE), CodeOf([&] { SignData(key.get(), mechanism, Bytes(182, 7)); }));
    EXPECT_THAT(SignData(key.get(), *FindMechanism(CKM_SHA1_RSA_PKCS), Bytes(5000, 7)), SizeIs(192));
}

TEST(AnEcSignature, IsTwoNumbersOfTheCurvesSize) {
    for (const auto& [form, size] : {std::pair(KeyForm::P192, 48), std::pair(KeyForm::P256, 64)}) {
        const KeyPtr key = MakeKey(form);
        for (int i = 0; i < 20; ++i) { // a number that happens to be small is filled up all the same
            const Bytes signature = SignData(key.get(), *FindMechanism(CKM_ECDSA), Bytes(20, 9));
            EXPECT_THAT(signature, SizeIs(size));
        }
    }
}

TEST(AnEcSignature, OverAHashIsThatOverTheHashedData) {
    const KeyPtr key = MakeKey(KeyForm::P256);
    const auto& plain = *FindMechanism(CKM_ECDSA);
    const auto& hashed = *FindMechanism(CKM_ECDSA_SHA1);
    const Bytes digest = orselsim::FromHex("A9993E364706816ABA3E25717850C26C9CD0D89D").value();
    const Bytes signature = SignData(key.get(), hashed, BytesOf("abc"));
    EXPECT_EQ(Rv(CKR_OK), CodeOf([&] { VerifyData(key.get(), plain, digest, signature); }));
    EXPECT_EQ(Rv(CKR_OK), CodeOf([&] { VerifyData(key.get(), hashed, BytesOf("abc"), signature); }));
    EXPECT_EQ(Rv(CKR_SIGNATURE_INVALID),
              CodeOf([&] { VerifyData(key.get(), plain, BytesOf("abc"), signature); }));
}

TEST(AnEcSignature, TakesAHashThatIsLongerThanTheCurve) {
    const KeyPtr key = MakeKey(KeyForm::P192);
    const auto& mechanism = *FindMechanism(CKM_ECDSA);
    const Bytes signature = SignData(key.get(), mechanism, Bytes(32, 5));
    EXPECT_EQ(Rv(CKR_OK), CodeOf([&] { VerifyData(key.get(), mechanism, Bytes(32, 5), signature); }));
}

TEST(ASignature, OfAWrongSizeIsRefused) {
    const KeyPtr rsa = MakeKey(KeyForm::RSA1536);
    const KeyPtr ec = MakeKey(KeyForm::P192);
    for (const std::size_t size : {0U, 47U, 49U, 191U, 193U}) {
        EXPECT_EQ(Rv(CKR_SIGNATURE_LEN_RANGE),
                  CodeOf([&] { VerifyData(rsa.get(), *FindMechanism(CKM_RSA_PKCS), {1}, Bytes(size)); }));
        EXPECT_EQ(Rv(CKR_SIGNATURE_LEN_RANGE),
                  CodeOf([&] { VerifyData(ec.get(), *FindMechanism(CKM_ECDSA), {1}, Bytes(size)); }));
    }
    EXPECT_EQ(Rv(CKR_SIGNATURE_INVALID),
              CodeOf([&] { VerifyData(rsa.get(), *FindMechanism(CKM_RSA_PKCS), {1}, Bytes(192)); }));
    EXPECT_EQ(Rv(CKR_SIGNATURE_INVALID),
              CodeOf([&] { VerifyData(ec.get(), *FindMechanism(CKM_ECDSA), {1}, Bytes(48)); }));
}
