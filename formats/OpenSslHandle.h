// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_OPENSSLHANDLE_H
#define ORSEL_FORMATS_OPENSSLHANDLE_H

#include <memory>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

/// Owners for what libcrypto hands out: the only place that calls its free functions.
namespace Velmor {

/// Calls one free function; has no state, so that a handle is no larger than its pointer.
template <auto Free>
struct OpenSslDeleter {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};

template <typename T, auto Free>
using OpenSslHandle = std::unique_ptr<T, OpenSslDeleter<Free>>;

/// OPENSSL_free is a macro, so it needs a function to be named.
inline void FreeOpenSslText(char* text) {
    OPENSSL_free(text);
}

inline void FreeOpenSslBytes(unsigned char* bytes) {
    OPENSSL_free(bytes);
}

using AccessInfoHandle = OpenSslHandle<AUTHORITY_INFO_ACCESS, AUTHORITY_INFO_ACCESS_free>;
using Asn1ObjectHandle = OpenSslHandle<ASN1_OBJECT, ASN1_OBJECT_free>;
using BioHandle = OpenSslHandle<BIO, BIO_free>;
using AuthorityKeyHandle = OpenSslHandle<AUTHORITY_KEYID, AUTHORITY_KEYID_free>;
using BasicConstraintsHandle = OpenSslHandle<BASIC_CONSTRAINTS, BASIC_CONSTRAINTS_free>;
// Qualified: asn1.h has enumerators of these names.
using BitStringHandle = OpenSslHandle<::ASN1_BIT_STRING, ASN1_BIT_STRING_free>;
using BnHandle = OpenSslHandle<BIGNUM, BN_free>;
using BnTextHandle = OpenSslHandle<char, FreeOpenSslText>;
using BytesHandle = OpenSslHandle<unsigned char, FreeOpenSslBytes>;
using CrlPointsHandle = OpenSslHandle<CRL_DIST_POINTS, CRL_DIST_POINTS_free>;
using ExtKeyUsageHandle = OpenSslHandle<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free>;
using GeneralNamesHandle = OpenSslHandle<GENERAL_NAMES, GENERAL_NAMES_free>;
using KeyHandle = OpenSslHandle<EVP_PKEY, EVP_PKEY_free>;
using MdContextHandle = OpenSslHandle<EVP_MD_CTX, EVP_MD_CTX_free>;
using OctetStringHandle = OpenSslHandle<::ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;
using PoliciesHandle = OpenSslHandle<CERTIFICATEPOLICIES, CERTIFICATEPOLICIES_free>;
using X509Handle = OpenSslHandle<X509, X509_free>;

} // namespace Velmor

#endif
