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
constexpr int HASH_ROUNDS = 1000;
constexpr std::size_t SALT_SIZE = 16;
constexpr int HASH_SIZE = 32;

Bytes HashOf(const std::string& secret, const Bytes& salt) {
    Bytes hash(HASH_SIZE);
    if (PKCS5_PBKDF2_HMAC(secret.data(), static_cast<int>(secret.size()), salt.data(),
                          static_cast<int>(salt.size()), HASH_ROUNDS, EVP_sha256(), HASH_SIZE,
                          hash.data()) != 1) {
        throw std::runtime_error("cannot hash a PIN");
    }
    return hash;
}

} // namespace

HashedSecret HashedSecret::Of(const std::string& secret) {
    HashedSecret made;
    made.m_Salt.resize(SALT_SIZE);
    if (RAND_bytes(made.m_Salt.data(), static_cast<int>(SALT_SIZE)) != 1) {
        throw std::runtime_error("no random bytes for the salt of a PIN");
    }
    made.m_Hash = HashOf(secret, made.m_Salt);
    return made;
}

bool HashedSecret::Matches(const std::string& secret) const {
    const Bytes candidate = HashOf(secret, m_Salt);
    return candidate.size() == m_Hash.size() &&
           CRYPTO_memcmp(candidate.data(), m_Hash.data(), m_Hash.size()) == 0;
}

bool CountedSecret::Check(const std::string& candidate) {
    if (IsBlocked() || !m_Secret) {
        return false;
    }
    if (m_Secret->Matches(candidate)) {
        m_TriesLeft = m_MaxTries;
        return true;
    }
    --m_TriesLeft;
    return false;
}

bool PinRecord::Accepts(const std::string& candidate) const {
    return candidate.size() >= m_MinLength && candidate.size() <= m_MaxLength &&
           std::all_of(candidate.begin(), candidate.end(), [](char c) { return c >= '0' && c <= '9'; });
}

void PinRecord::Set(const std::string& newPin) {
    m_Pin.m_Secret = HashedSecret::Of(newPin);
    m_Pin.m_TriesLeft = m_Pin.m_MaxTries;
}

} // namespace orselsim
