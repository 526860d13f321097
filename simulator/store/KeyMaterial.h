// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_KEYMATERIAL_H
#define ORSEL_SIMULATOR_STORE_KEYMATERIAL_H

#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"
#include "tokenlib/OpenSslHandles.h"
#include "tokenlib/PublicParts.h"

namespace orselsim {

/// The kinds of key that cards hold.
enum class KeyForm { RSA1536, RSA2048, P192, P256 };

/// A new key pair; throws std::runtime_error when libcrypto makes none.
KeyPtr MakeKey(KeyForm form);

/// A PEM private or public key; null when the text holds neither. Never asks for a pass phrase.
KeyPtr ReadKey(const Bytes& pem);

/// Unencrypted PEM of a private key.
Bytes PrintPrivateKey(EVP_PKEY* key);

} // namespace orselsim

#endif
