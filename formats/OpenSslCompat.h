// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_OPENSSLCOMPAT_H
#define ORSEL_FORMATS_OPENSSLCOMPAT_H

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/opensslv.h>
#include <openssl/rsa.h>

#if OPENSSL_VERSION_NUMBER >= 0x30000000L
#include <openssl/core_names.h>
#include <openssl/provider.h>
#endif

#include "formats/OpenSslHandle.h"

/// Everything in which libcrypto 3 and libcrypto 1.1 differ for this program.
namespace Velmor {

/// The two numbers of an RSA public key; null both for a key of another kind.
struct RsaNumbers {
    BnHandle m_Modulus;
    BnHandle m_Exponent;
};

#if OPENSSL_VERSION_NUMBER >= 0x30000000L

using ProviderHandle = OpenSslHandle<OSSL_PROVIDER, OSSL_PROVIDER_unload>;

/// Makes the old digests available, MD4 above all, to the end of the process. They live in a provider of
/// their own, and whoever loads a provider has to load the default one too. False if this system has none.
inline bool LoadOldDigests() {
    static const ProviderHandle standard(OSSL_PROVIDER_load(nullptr, "default"));
    static const ProviderHandle old(OSSL_PROVIDER_load(nullptr, "legacy"));
    return standard && old;
}

inline RsaNumbers GetRsaNumbers(const EVP_PKEY* key) {
    BIGNUM* modulus = nullptr;
    BIGNUM* exponent = nullptr;
    EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_N, &modulus);
    EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_E, &exponent);
    return {BnHandle(modulus), BnHandle(exponent)};
}

#else

inline bool LoadOldDigests() {
    return true;
}

inline RsaNumbers GetRsaNumbers(EVP_PKEY* key) {
    const RSA* rsa = EVP_PKEY_get0_RSA(key);
    if (rsa == nullptr) {
        return {};
    }
    return {BnHandle(BN_dup(RSA_get0_n(rsa))), BnHandle(BN_dup(RSA_get0_e(rsa)))};
}

#endif

// The callers ask for the old key types, whose functions libcrypto 3 calls deprecated.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

/// A copy that the caller frees; null for a key of another kind.
inline RSA* DuplicateRsaKey(EVP_PKEY* key) {
    auto* rsa = EVP_PKEY_get0_RSA(key);
    return rsa != nullptr ? RSAPublicKey_dup(rsa) : nullptr;
}

/// A copy that the caller frees; null for a key of another kind.
inline EC_KEY* DuplicateEcKey(EVP_PKEY* key) {
    auto* ec = EVP_PKEY_get0_EC_KEY(key);
    return ec != nullptr ? EC_KEY_dup(ec) : nullptr;
}

/// NID of the key's named curve; NID_undef for a key without one.
inline int CurveOf(EVP_PKEY* key) {
    const auto* ec = EVP_PKEY_get0_EC_KEY(key);
    const EC_GROUP* group = ec != nullptr ? EC_KEY_get0_group(ec) : nullptr;
    return group != nullptr ? EC_GROUP_get_curve_name(group) : NID_undef;
}

#pragma GCC diagnostic pop

} // namespace Velmor

#endif
