// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_HASH_H
#define ORSEL_FORMATS_HASH_H

#include <cstdio>
#include <vector>

#include <openssl/evp.h>

#include "formats/KeyTypes.h"

/// Message digests of memory and files. Reports what goes wrong through LibCrypto.
namespace Velmor {

/// What a PKCS#1 v1.5 signature puts before the digest: the DER header of a DigestInfo.
inline constexpr unsigned char Sha1Pkcs01DigestInfo[] = {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2b, 0x0e,
                                                         0x03, 0x02, 0x1a, 0x05, 0x00, 0x04, 0x14};
inline constexpr unsigned char Ripemd160Pkcs01DigestInfo[] = {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2b, 0x24,
                                                              0x03, 0x02, 0x01, 0x05, 0x00, 0x04, 0x14};
inline constexpr unsigned char Sha256Pkcs01DigestInfo[] = {0x30, 0x31, 0x30, 0x0d, 0x06, 0x09, 0x60,
                                                           0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02,
                                                           0x01, 0x05, 0x00, 0x04, 0x20};
inline constexpr unsigned char Sha512Pkcs01DigestInfo[] = {0x30, 0x51, 0x30, 0x0d, 0x06, 0x09, 0x60,
                                                           0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02,
                                                           0x03, 0x05, 0x00, 0x04, 0x40};
inline constexpr unsigned char Sha384Pkcs01DigestInfo[] = {0x30, 0x41, 0x30, 0x0d, 0x06, 0x09, 0x60,
                                                           0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02,
                                                           0x02, 0x05, 0x00, 0x04, 0x30};

inline constexpr unsigned long Sha1Pkcs01DigestInfoLen = sizeof(Sha1Pkcs01DigestInfo);
inline constexpr unsigned long Ripemd160Pkcs01DigestInfoLen = sizeof(Ripemd160Pkcs01DigestInfo);
inline constexpr unsigned long Sha256Pkcs01DigestInfoLen = sizeof(Sha256Pkcs01DigestInfo);
inline constexpr unsigned long Sha512Pkcs01DigestInfoLen = sizeof(Sha512Pkcs01DigestInfo);
inline constexpr unsigned long Sha384Pkcs01DigestInfoLen = sizeof(Sha384Pkcs01DigestInfo);

namespace intern {

/// The digest of an algorithm, with its size in bytes in `length`. Null, and `length` untouched, for HASH_RAW
/// and unassigned numbers, and for MD4 on a system whose libcrypto has none.
const EVP_MD* GetHashAlgo(HashAlgorithm algo, unsigned long& length);

} // namespace intern

/// Hashes `len` bytes. `outLen` is the capacity of `out` in bytes and becomes the digest's size; both stay
/// untouched on failure. An algorithm that libcrypto cannot begin, since a provider is missing or forbids it,
/// counts as unknown here and in the other forms.
bool Hash(const unsigned char* data, unsigned long len, unsigned char* out, unsigned long& outLen,
          HashAlgorithm algo);

/// Appends the digest to `out`. `withDigestInfo` also inserts the DER header of the algorithm, if it has one,
/// at the very beginning of `out`: before what `out` held already, so pass an empty one. A vector that has
/// never held storage fails; an empty one that has is hashed as the empty string. `out` stays untouched on
/// failure.
bool Hash(const std::vector<unsigned char>& data, std::vector<unsigned char>& out, HashAlgorithm algo,
          bool withDigestInfo);

/// Hashes an open file from its present position to its end. As Hash() over memory, except that a read error
/// fails with `outLen` set and the digest of what was read in `out`.
bool HashFile(FILE* file, unsigned char* out, unsigned long& outLen, HashAlgorithm algo);

/// Appends the digest to `out`, which stays untouched on failure.
bool HashFile(FILE* file, std::vector<unsigned char>& out, HashAlgorithm algo);

} // namespace Velmor

#endif
