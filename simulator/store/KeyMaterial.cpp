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

} // namespace orselsim
