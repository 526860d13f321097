// SPDX-License-Identifier: MIT
// The public key, its hash, and the thumbprints of the whole certificate.
#include "formats/slCertificate.h"

#include <algorithm>
#include <array>
#include <locale>
#include <sstream>

#include "formats/Hash.h"
#include "formats/OpenSslCompat.h"
#include "formats/OpenSslHandle.h"
#include "foundation/Base64.h"

namespace Velmor {

namespace {

KeyHandle KeyOf(X509* certificate) {
    return KeyHandle(certificate != nullptr ? X509_get_pubkey(certificate) : nullptr);
}

bool IsKeyOfType(X509* certificate, int type) {
    const KeyHandle key = KeyOf(certificate);
    return key && EVP_PKEY_base_id(key.get()) == type;
}

void CopyToNewArray(const std::vector<unsigned char>& data, unsigned char** out, unsigned long* len) {
    *out = new unsigned char[data.size()];
    std::copy(data.begin(), data.end(), *out);
    *len = data.size();
}

/// Big-endian bytes; empty for null and for zero.
std::vector<unsigned char> BytesOf(const BnHandle& number) {
    if (!number) {
        return {};
    }
    std::vector<unsigned char> bytes(BN_num_bytes(number.get()));
    BN_bn2bin(number.get(), bytes.data());
    return bytes;
}

} // namespace

bool slCertificate::IsRsaKey() const {
    return IsKeyOfType(m_X509, EVP_PKEY_RSA);
}

bool slCertificate::IsEcdsaKey() const {
    return IsKeyOfType(m_X509, EVP_PKEY_EC);
}

int slCertificate::GetKeyAlgorithm() const {
    if (IsRsaKey()) {
        return 1;
    }
    return IsEcdsaKey() ? 0 : 3;
}

bool slCertificate::GetPublicKeyValue(std::vector<unsigned char>& out) const {
    const ASN1_BIT_STRING* value = m_X509 != nullptr ? X509_get0_pubkey_bitstr(m_X509) : nullptr;
    const unsigned char* data = value != nullptr ? ASN1_STRING_get0_data(value) : nullptr;
    if (data == nullptr) {
        return false;
    }
    out.assign(data, data + ASN1_STRING_length(value));
    return true;
}

bool slCertificate::GetPublicKeyValue(unsigned char** out, unsigned long* len) const {
    std::vector<unsigned char> value;
    if (!GetPublicKeyValue(value)) {
        return false;
    }
    CopyToNewArray(value, out, len);
    return true;
}

bool slCertificate::GetRsaPublicKey(RSA** out) const {
    const KeyHandle key = KeyOf(m_X509);
    if (!key) {
        return false;
    }
    *out = DuplicateRsaKey(key.get());
    return *out != nullptr;
}

bool slCertificate::GetEcdsaPublicKey(EC_KEY** out) const {
    const KeyHandle key = KeyOf(m_X509);
    if (!key) {
        return false;
    }
    *out = DuplicateEcKey(key.get());
    return *out != nullptr;
}

bool slCertificate::GetRsaPubKeyComponents(std::vector<unsigned char>& modulus,
                                           std::vector<unsigned char>& exponent) const {
    if (m_X509 == nullptr) {
        return false;
    }
    modulus.clear();
    exponent.clear();
    const KeyHandle key = KeyOf(m_X509);
    if (!key) {
        return false;
    }
    const RsaNumbers numbers = GetRsaNumbers(key.get());
    modulus = BytesOf(numbers.m_Modulus);
    exponent = BytesOf(numbers.m_Exponent);
    return !modulus.empty() && !exponent.empty();
}

std::vector<unsigned char> slCertificate::GetPubKeyHashBytes() const {
    std::vector<unsigned char> value;
    std::vector<unsigned char> hash;
    if (GetPublicKeyValue(value)) {
        Hash(value, hash, HASH_SHA1, false);
    }
    return hash;
}

std::string slCertificate::GetPubKeyHashHex() const {
    const std::vector<unsigned char> hash = GetPubKeyHashBytes();
    return std::string(hash.begin(), hash.end()); // raw bytes in spite of the name
}

std::string slCertificate::GetPubKeyHashB64() const {
    std::string text;
    b64encode(GetPubKeyHashBytes(), text, 0);
    return text;
}

bool slCertificate::GetThumbprint(std::vector<unsigned char>& out, HashAlgorithm algo) const {
    unsigned long ignored = 0;
    const EVP_MD* digest = intern::GetHashAlgo(algo, ignored);
    std::array<unsigned char, EVP_MAX_MD_SIZE> thumbprint;
    unsigned int size = 0;
    if (m_X509 == nullptr || digest == nullptr ||
        X509_digest(m_X509, digest, thumbprint.data(), &size) != 1) {
        return false;
    }
    out.assign(thumbprint.begin(), thumbprint.begin() + size);
    return true;
}

bool slCertificate::GetThumbprint(unsigned char** out, unsigned long* len) const {
    std::vector<unsigned char> thumbprint;
    if (!GetThumbprint(thumbprint, HASH_SHA1)) {
        return false;
    }
    CopyToNewArray(thumbprint, out, len);
    return true;
}

std::wstring slCertificate::GetThumbprint() const {
    std::vector<unsigned char> thumbprint;
    GetThumbprint(thumbprint, HASH_SHA1);
    std::wostringstream text;
    text.imbue(std::locale::classic()); // no grouping of digits, whatever the process asks for
    text << std::uppercase << std::hex;
    for (const unsigned int byte : thumbprint) {
        text << byte; // without leading zeros: thumbprints of this form are compared with each other
    }
    return text.str();
}

} // namespace Velmor
