// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_SIGNING_H
#define ORSEL_SIMULATOR_TOKEN_SIGNING_H

#include <openssl/evp.h>

#include "simulator/store/Shared.h"
#include "simulator/token/Mechanisms.h"
#include "tokenlib/Hex.h"

namespace orselsim {

/// Bytes of every signature of this key: the modulus of an RSA key, both numbers of an EC key.
std::size_t SignatureSize(EVP_PKEY* key);

/// Throws Refusal with CKR_DATA_LEN_RANGE for data that the mechanism cannot sign with this key.
void CheckDataSize(EVP_PKEY* key, const Mechanism& mechanism, std::size_t size);

/// Throws Refusal when the key cannot sign. The signature of an EC key is r and s one behind the
/// other, each filled up to the size of the curve.
Bytes SignData(EVP_PKEY* key, const Mechanism& mechanism, const Bytes& data);

/// Throws Refusal with CKR_SIGNATURE_LEN_RANGE or CKR_SIGNATURE_INVALID unless the signature is
/// the data's.
void VerifyData(EVP_PKEY* key, const Mechanism& mechanism, const Bytes& data, const Bytes& signature);

} // namespace orselsim

#endif
