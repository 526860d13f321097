// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_KEYTYPES_H
#define ORSEL_FORMATS_KEYTYPES_H

namespace Velmor {

/// Kind of a key on a card.
enum SignKey : int {
    KEY_RSA = 0,
    KEY_ECC = 1,
};

/// Digest of a signature. The numbers are shared with other programs of the family; 7 and 9 are unassigned.
enum HashAlgorithm : int {
    HASH_SHA1 = 0,
    HASH_RIPEMD160 = 1,
    HASH_SHA224 = 2,
    HASH_SHA256 = 3,
    HASH_SHA512 = 4,
    HASH_MD5 = 5,
    HASH_MD4 = 6,
    HASH_SHA384 = 8,
    HASH_RAW = 10, ///< no hashing: the data is signed as it stands
};

} // namespace Velmor

#endif
