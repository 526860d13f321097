// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_OPENSSLHANDLES_H
#define ORSEL_TOKENLIB_OPENSSLHANDLES_H

#include <memory>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace tokenlib {

/// Stateless deleter made from a free function of libcrypto.
template <auto Free>
struct FreeWith {
    template <class T>
    void operator()(T* handle) const {
        Free(handle);
    }
};

using BioPtr = std::unique_ptr<BIO, FreeWith<BIO_free_all>>;
using BignumPtr = std::unique_ptr<BIGNUM, FreeWith<BN_free>>;
using EcdsaSigPtr = std::unique_ptr<ECDSA_SIG, FreeWith<ECDSA_SIG_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, FreeWith<X509_EXTENSION_free>>;
using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, FreeWith<EVP_PKEY_CTX_free>>;
using DigestContextPtr = std::unique_ptr<EVP_MD_CTX, FreeWith<EVP_MD_CTX_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>>;
using PublicKeyInfoPtr = std::unique_ptr<X509_PUBKEY, FreeWith<X509_PUBKEY_free>>;
using X509Ptr = std::unique_ptr<X509, FreeWith<X509_free>>;

} // namespace tokenlib

#endif
