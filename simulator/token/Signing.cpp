// SPDX-License-Identifier: MIT
#include "simulator/token/Signing.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

#include "tokenlib/OpenSslHandles.h"
#include "tokenlib/Refusal.h"

namespace orselsim {

namespace {

constexpr std::size_t PKCS1_OVERHEAD = 11; ///< least padding around a block that is signed unhashed

bool IsRsa(EVP_PKEY* key) {
    return EVP_PKEY_base_id(key) == EVP_PKEY_RSA;
}

std::size_t BytesOfBits(EVP_PKEY* key) {
    return (static_cast<std::size_t>(EVP_PKEY_bits(key)) + 7) / 8;
}

void Require(bool done, CK_RV code) {
    ERR_clear_error(); // the host program's error queue is not ours to fill
    if (!done) {
        throw Refusal{code};
    }
}

/// The DER that libcrypto makes of the two numbers, as the plain form that tokens use.
Bytes PlainFromDer(const Bytes& der, std::size_t numberSize) {
    const unsigned char* start = der.data();
    const EcdsaSigPtr signature(d2i_ECDSA_SIG(nullptr, &start, static_cast<long>(der.size())));
    Require(signature != nullptr, CKR_FUNCTION_FAILED);
    const BIGNUM* r = nullptr;
    const BIGNUM* s = nullptr;
    ECDSA_SIG_get0(signature.get(), &r, &s);
    Bytes plain(2 * numberSize);
    BN_bn2binpad(r, plain.data(), static_cast<int>(numberSize));
    BN_bn2binpad(s, plain.data() + numberSize, static_cast<int>(numberSize));
    return plain;
}

Bytes DerFromPlain(const Bytes& plain) {
    const int numberSize = static_cast<int>(plain.size() / 2);
    BignumPtr r(BN_bin2bn(plain.data(), numberSize, nullptr));
    BignumPtr s(BN_bin2bn(plain.data() + numberSize, numberSize, nullptr));
    const EcdsaSigPtr signature(ECDSA_SIG_new());
    Require(r && s && signature, CKR_HOST_MEMORY);
    ECDSA_SIG_set0(signature.get(), r.release(), s.release()); // takes both numbers over
    Bytes der(static_cast<std::size_t>(i2d_ECDSA_SIG(signature.get(), nullptr)));
    unsigned char* end = der.data();
    i2d_ECDSA_SIG(signature.get(), &end);
    return der;
}

Bytes SignHashed(EVP_PKEY* key, const char* digest, const Bytes& data) {
    const DigestContextPtr context(EVP_MD_CTX_new());
    std::size_t size = 0;
    Require(EVP_DigestSignInit(context.get(), nullptr, EVP_get_digestbyname(digest), nullptr, key) == 1 &&
                EVP_DigestSign(context.get(), nullptr, &size, data.data(), data.size()) == 1,
            CKR_FUNCTION_FAILED);
    Bytes signature(size);
    Require(EVP_DigestSign(context.get(), signature.data(), &size, data.data(), data.size()) == 1,
            CKR_FUNCTION_FAILED);
    signature.resize(size);
    return signature;
}

/// Without a digest: an RSA key pads the bytes as they are, an EC key takes them for a hash.
void PreparePlain(EVP_PKEY_CTX* context, EVP_PKEY* key, int (*init)(EVP_PKEY_CTX*)) {
    Require(init(context) == 1 &&
                (!IsRsa(key) || EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) == 1),
            CKR_FUNCTION_FAILED);
}

Bytes SignPlain(EVP_PKEY* key, const Bytes& data) {
    const KeyContextPtr context(EVP_PKEY_CTX_new(key, nullptr));
    PreparePlain(context.get(), key, EVP_PKEY_sign_init);
    std::size_t size = 0;
    Require(EVP_PKEY_sign(context.get(), nullptr, &size, data.data(), data.size()) == 1, CKR_FUNCTION_FAILED);
    Bytes signature(size);
    Require(EVP_PKEY_sign(context.get(), signature.data(), &size, data.data(), data.size()) == 1,
            CKR_FUNCTION_FAILED);
    signature.resize(size);
    return signature;
}

bool VerifiesHashed(EVP_PKEY* key, const char* digest, const Bytes& data, const Bytes& signature) {
    const DigestContextPtr context(EVP_MD_CTX_new());
    Require(EVP_DigestVerifyInit(context.get(), nullptr, EVP_get_digestbyname(digest), nullptr, key) == 1,
            CKR_FUNCTION_FAILED);
    return EVP_DigestVerify(context.get(), signature.data(), signature.size(), data.data(), data.size()) == 1;
}

bool VerifiesPlain(EVP_PKEY* key, const Bytes& data, const Bytes& signature) {
    const KeyContextPtr context(EVP_PKEY_CTX_new(key, nullptr));
    PreparePlain(context.get(), key, EVP_PKEY_verify_init);
    return EVP_PKEY_verify(context.get(), signature.data(), signature.size(), data.data(), data.size()) == 1;
}

} // namespace

std::size_t SignatureSize(EVP_PKEY* key) {
    return IsRsa(key) ? BytesOfBits(key) : 2 * BytesOfBits(key);
}

void CheckDataSize(EVP_PKEY* key, const Mechanism& mechanism, std::size_t size) {
    const bool isPadded = mechanism.m_Digest == nullptr && IsRsa(key);
    if (isPadded && size + PKCS1_OVERHEAD > BytesOfBits(key)) {
        throw Refusal{CKR_DATA_LEN_RANGE};
    }
}

Bytes SignData(EVP_PKEY* key, const Mechanism& mechanism, const Bytes& data) {
    CheckDataSize(key, mechanism, data.size());
    const Bytes signature =
        mechanism.m_Digest == nullptr ? SignPlain(key, data) : SignHashed(key, mechanism.m_Digest, data);
    return IsRsa(key) ? signature : PlainFromDer(signature, BytesOfBits(key));
}

void VerifyData(EVP_PKEY* key, const Mechanism& mechanism, const Bytes& data, const Bytes& signature) {
    CheckDataSize(key, mechanism, data.size());
    if (signature.size() != SignatureSize(key)) {
        throw Refusal{CKR_SIGNATURE_LEN_RANGE};
    }
    const Bytes form = IsRsa(key) ? signature : DerFromPlain(signature);
    const bool isRight = mechanism.m_Digest == nullptr ? VerifiesPlain(key, data, form)
                                                       : VerifiesHashed(key, mechanism.m_Digest, data, form);
    Require(isRight, CKR_SIGNATURE_INVALID);
}

} // namespace orselsim
