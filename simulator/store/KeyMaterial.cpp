// SPDX-License-Identifier: MIT
#include "simulator/store/KeyMaterial.h"

#include <stdexcept>
#include <string>

#include <openssl/err.h>
#include <openssl/obj_mac.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace orselsim {

namespace {

/// libcrypto would otherwise ask on the terminal.
int RefusePassPhrase(char*, int, int, void*) {
    return -1;
}

BioPtr ReaderOf(const Bytes& bytes) {
    return BioPtr(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

KeyPtr Generate(int type, int (*configure)(EVP_PKEY_CTX*, int), int parameter) {
    const KeyContextPtr context(EVP_PKEY_CTX_new_id(type, nullptr));
    EVP_PKEY* key = nullptr;
    if (!context || EVP_PKEY_keygen_init(context.get()) <= 0 || configure(context.get(), parameter) <= 0 ||
        EVP_PKEY_keygen(context.get(), &key) <= 0) {
        throw std::runtime_error("cannot make a key");
    }
    return KeyPtr(key);
}

int SetRsaBits(EVP_PKEY_CTX* context, int bits) {
    return EVP_PKEY_CTX_set_rsa_keygen_bits(context, bits);
}

int SetCurve(EVP_PKEY_CTX* context, int curve) {
    return EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context, curve);
}

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

KeyPtr MakeKey(KeyForm form) {
    switch (form) {
    case KeyForm::RSA1536:
        return Generate(EVP_PKEY_RSA, SetRsaBits, 1536);
    case KeyForm::RSA2048:
        return Generate(EVP_PKEY_RSA, SetRsaBits, 2048);
    case KeyForm::P192:
        return Generate(EVP_PKEY_EC, SetCurve, NID_X9_62_prime192v1);
    case KeyForm::P256:
        return Generate(EVP_PKEY_EC, SetCurve, NID_X9_62_prime256v1);
    }
    throw std::runtime_error("no such form of key");
}

KeyPtr ReadKey(const Bytes& pem) {
    KeyPtr key(PEM_read_bio_PrivateKey(ReaderOf(pem).get(), nullptr, RefusePassPhrase, nullptr));
    if (!key) {
        key.reset(PEM_read_bio_PUBKEY(ReaderOf(pem).get(), nullptr, RefusePassPhrase, nullptr));
    }
    ERR_clear_error(); // the host program's error queue is not ours to fill
    return key;
}

Bytes PrintPrivateKey(EVP_PKEY* key) {
    const BioPtr out(BIO_new(BIO_s_mem()));
    if (PEM_write_bio_PrivateKey(out.get(), key, nullptr, nullptr, 0, nullptr, nullptr) != 1) {
        throw std::runtime_error("cannot write a key");
    }
    char* text = nullptr;
    const long size = BIO_get_mem_data(out.get(), &text);
    return Bytes(text, text + size);
}

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

} // namespace orselsim
