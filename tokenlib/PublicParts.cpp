// SPDX-License-Identifier: MIT
#include "tokenlib/PublicParts.h"

#include <stdexcept>

#include <openssl/err.h>

namespace tokenlib {

namespace {

using SequencePtr = std::unique_ptr<STACK_OF(ASN1_TYPE), void (*)(STACK_OF(ASN1_TYPE)*)>;

void FreeSequence(STACK_OF(ASN1_TYPE) * sequence) {
    sk_ASN1_TYPE_pop_free(sequence, ASN1_TYPE_free);
}

Bytes IntegerAt(const STACK_OF(ASN1_TYPE) * sequence, int index) {
    const ASN1_TYPE* value = sk_ASN1_TYPE_value(sequence, index);
    if (value == nullptr || value->type != V_ASN1_INTEGER) {
        throw std::runtime_error("an RSA key without its integers");
    }
    const BignumPtr number(ASN1_INTEGER_to_BN(value->value.integer, nullptr));
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(number.get())));
    BN_bn2bin(number.get(), bytes.data());
    return bytes;
}

void ReadRsaNumbers(const unsigned char* der, int size, PublicParts& parts) {
    const SequencePtr numbers(d2i_ASN1_SEQUENCE_ANY(nullptr, &der, size), FreeSequence);
    if (!numbers) {
        throw std::runtime_error("an RSA key without its integers");
    }
    parts.m_IsRsa = true;
    parts.m_Modulus = IntegerAt(numbers.get(), 0);
    parts.m_Exponent = IntegerAt(numbers.get(), 1);
}

Bytes NamedCurve(const X509_ALGOR* algorithm) {
    int type = V_ASN1_UNDEF;
    const void* value = nullptr;
    X509_ALGOR_get0(nullptr, &type, &value, algorithm);
    if (type != V_ASN1_OBJECT) {
        throw std::runtime_error("an EC key without a named curve");
    }
    const auto* curve = static_cast<const ASN1_OBJECT*>(value);
    Bytes der(static_cast<std::size_t>(i2d_ASN1_OBJECT(curve, nullptr)));
    unsigned char* end = der.data();
    i2d_ASN1_OBJECT(curve, &end);
    return der;
}

} // namespace

PublicParts PublicPartsOf(EVP_PKEY* key) {
    X509_PUBKEY* raw = nullptr;
    if (X509_PUBKEY_set(&raw, key) != 1) {
        throw std::runtime_error("a key without a public part");
    }
    const PublicKeyInfoPtr info(raw);
    const unsigned char* bits = nullptr;
    int size = 0;
    X509_ALGOR* algorithm = nullptr;
    X509_PUBKEY_get0_param(nullptr, &bits, &size, &algorithm, info.get());

    PublicParts parts;
    parts.m_Bits = EVP_PKEY_bits(key);
    switch (EVP_PKEY_base_id(key)) {
    case EVP_PKEY_RSA:
        ReadRsaNumbers(bits, size, parts);
        return parts;
    case EVP_PKEY_EC:
        parts.m_EcParams = NamedCurve(algorithm);
        parts.m_EcPoint.assign(bits, bits + size);
        return parts;
    default:
        throw std::runtime_error("a key that is neither RSA nor EC");
    }
}

std::size_t EcSignatureSize(const Bytes& ecParams) {
    const unsigned char* start = ecParams.data();
    const std::unique_ptr<EC_GROUP, FreeWith<EC_GROUP_free>> curve(
        d2i_ECPKParameters(nullptr, &start, static_cast<long>(ecParams.size())));
    ERR_clear_error(); // the host program's error queue is not ours to fill
    return curve ? 2 * ((static_cast<std::size_t>(EC_GROUP_order_bits(curve.get())) + 7) / 8) : 0;
}

} // namespace tokenlib
