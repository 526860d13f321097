// SPDX-License-Identifier: MIT
#include "simulator/store/PinRecord.h"

#include <algorithm>
#include <stdexcept>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace orselsim {

namespace {

// A PIN has so few digits that no number of rounds would hide it from somebody who has the file;
// the rounds are few, so that a deck is made quickly.
constexpr int hashRounds = 1000;
constexpr std::size_t saltSize = 16;
constexpr int hashSize = 32;

Bytes hashOf(const std::string& secret, const Bytes& salt) {
    Bytes hash(hashSize);
    if (PKCS5_PBKDF2_HMAC(secret.data(), static_cast<int>(secret.size()), salt.data(),
                          static_cast<int>(salt.size()), hashRounds, EVP_sha256(), hashSize,
                          hash.data()) != 1)
        throw std::runtime_error("cannot hash a PIN");
    return hash;
}

} // namespace

HashedSecret HashedSecret::of(const std::string& secret) {
    HashedSecret made;
    made.salt.resize(saltSize);
    if (RAND_bytes(made.salt.data(), static_cast<int>(saltSize)) != 1)
        throw std::runtime_error("no random bytes for the salt of a PIN");
    made.hash = hashOf(secret, made.salt);
    return made;
}

bool HashedSecret::matches(const std::string& secret) const {
    const Bytes candidate = hashOf(secret, salt);
    return candidate.size() == hash.size() && CRYPTO_memcmp(candidate.data(), hash.data(), hash.size()) == 0;
}

bool CountedSecret::check(const std::string& candidate) {
    if (isBlocked() || !secret)
        return false;
    if (secret->matches(candidate)) {
        triesLeft = maxTries;
        return true;
    }
    --triesLeft;
    return false;
}

bool PinRecord::accepts(const std::string& candidate) const {
    return candidate.size() >= minLength && candidate.size() <= maxLength &&
           std::all_of(candidate.begin(), candidate.end(), [](char c) { return c >= '0' && c <= '9'; });
}

void PinRecord::set(const std::string& newPin) {
    pin.secret = HashedSecret::of(newPin);
    pin.triesLeft = pin.maxTries;
}

} // namespace orselsim
