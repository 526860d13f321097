// SPDX-License-Identifier: MIT
#include "simulator/token/Signing.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

#include "simulator/store/OpenSslHandles.h"
#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

constexpr std::size_t pkcs1Overhead = 11; ///< least padding around a block that is signed as it is

bool isRsa(EVP_PKEY* key) {
    return EVP_PKEY_base_id(key) == EVP_PKEY_RSA;
}

std::size_t bytesOfBits(EVP_PKEY* key) {
    return (static_cast<std::size_t>(EVP_PKEY_bits(key)) + 7) / 8;
}

void require(bool done, CK_RV code) {
    ERR_clear_error(); // the host program's error queue is not ours to fill
    if (!done)
        throw Refusal{code};
}

/// The DER that libcrypto makes of the two numbers, as the plain form that tokens use.
Bytes plainFromDer(const Bytes& der, std::size_t numberSize) {
    const unsigned char* start = der.data();
    const EcdsaSigPtr signature(d2i_ECDSA_SIG(nullptr, &start, static_cast<long>(der.size())));
    require(signature != nullptr, CKR_FUNCTION_FAILED);
    const BIGNUM* r = nullptr;
    const BIGNUM* s = nullptr;
    ECDSA_SIG_get0(signature.get(), &r, &s);
    Bytes plain(2 * numberSize);
    BN_bn2binpad(r, plain.data(), static_cast<int>(numberSize));
    BN_bn2binpad(s, plain.data() + numberSize, static_cast<int>(numberSize));
    return plain;
}

Bytes derFromPlain(const Bytes& plain) {
    const int numberSize = static_cast<int>(plain.size() / 2);
    BignumPtr r(BN_bin2bn(plain.data(), numberSize, nullptr));
    BignumPtr s(BN_bin2bn(plain.data() + numberSize, numberSize, nullptr));
    const EcdsaSigPtr signature(ECDSA_SIG_new());
    require(r && s && signature, CKR_HOST_MEMORY);
    ECDSA_SIG_set0(signature.get(), r.release(), s.release()); // takes both numbers over
    Bytes der(static_cast<std::size_t>(i2d_ECDSA_SIG(signature.get(), nullptr)));
    unsigned char* end = der.data();
    i2d_ECDSA_SIG(signature.get(), &end);
    return der;
}

Bytes signHashed(EVP_PKEY* key, const char* digest, const Bytes& data) {
    const DigestContextPtr context(EVP_MD_CTX_new());
    std::size_t size = 0;
    require(EVP_DigestSignInit(context.get(), nullptr, EVP_get_digestbyname(digest), nullptr, key) == 1 &&
                EVP_DigestSign(context.get(), nullptr, &size, data.data(), data.size()) == 1,
            CKR_FUNCTION_FAILED);
    Bytes signature(size);
    require(EVP_DigestSign(context.get(), signature.data(), &size, data.data(), data.size()) == 1,
            CKR_FUNCTION_FAILED);
    signature.resize(size);
    return signature;
}

/// Without a digest: an RSA key pads the bytes as they are, an EC key takes them for a hash.
void preparePlain(EVP_PKEY_CTX* context, EVP_PKEY* key, int (*init)(EVP_PKEY_CTX*)) {
    require(init(context) == 1 &&
                (!isRsa(key) || EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) == 1),
            CKR_FUNCTION_FAILED);
}

Bytes signPlain(EVP_PKEY* key, const Bytes& data) {
    const KeyContextPtr context(EVP_PKEY_CTX_new(key, nullptr));
    preparePlain(context.get(), key, EVP_PKEY_sign_init);
    std::size_t size = 0;
    require(EVP_PKEY_sign(context.get(), nullptr, &size, data.data(), data.size()) == 1, CKR_FUNCTION_FAILED);
    Bytes signature(size);
    require(EVP_PKEY_sign(context.get(), signature.data(), &size, data.data(), data.size()) == 1,
            CKR_FUNCTION_FAILED);
    signature.resize(size);
    return signature;
}

bool verifiesHashed(EVP_PKEY* key, const char* digest, const Bytes& data, const Bytes& signature) {
    const DigestContextPtr context(EVP_MD_CTX_new());
    require(EVP_DigestVerifyInit(context.get(), nullptr, EVP_get_digestbyname(digest), nullptr, key) == 1,
            CKR_FUNCTION_FAILED);
    return EVP_DigestVerify(context.get(), signature.data(), signature.size(), data.data(), data.size()) == 1;
}

bool verifiesPlain(EVP_PKEY* key, const Bytes& data, const Bytes& signature) {
    const KeyContextPtr context(EVP_PKEY_CTX_new(key, nullptr));
    preparePlain(context.get(), key, EVP_PKEY_verify_init);
    return EVP_PKEY_verify(context.get(), signature.data(), signature.size(), data.data(), data.size()) == 1;
}

} // namespace

std::size_t signatureSize(EVP_PKEY* key) {
    return isRsa(key) ? bytesOfBits(key) : 2 * bytesOfBits(key);
}

void checkDataSize(EVP_PKEY* key, const Mechanism& mechanism, std::size_t size) {
    const bool isPadded = mechanism.digest == nullptr && isRsa(key);
    if (isPadded && size + pkcs1Overhead > bytesOfBits(key))
        throw Refusal{CKR_DATA_LEN_RANGE};
}

Bytes signData(EVP_PKEY* key, const Mechanism& mechanism, const Bytes& data) {
    checkDataSize(key, mechanism, data.size());
    const Bytes signature =
        mechanism.digest == nullptr ? signPlain(key, data) : signHashed(key, mechanism.digest, data);
    return isRsa(key) ? signature : plainFromDer(signature, bytesOfBits(key));
}

void verifyData(EVP_PKEY* key, const Mechanism& mechanism, const Bytes& data, const Bytes& signature) {
    checkDataSize(key, mechanism, data.size());
    if (signature.size() != signatureSize(key))
        throw Refusal{CKR_SIGNATURE_LEN_RANGE};
    const Bytes form = isRsa(key) ? signature : derFromPlain(signature);
    const bool isRight = mechanism.digest == nullptr ? verifiesPlain(key, data, form)
                                                     : verifiesHashed(key, mechanism.digest, data, form);
    require(isRight, CKR_SIGNATURE_INVALID);
}

} // namespace orselsim
