// SPDX-License-Identifier: MIT
#include "tests/support/CertificateBuilder.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

using namespace Velmor;

namespace {

using ContextHandle = OpenSslHandle<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;
using NameHandle = OpenSslHandle<X509_NAME, X509_NAME_free>;
using ExtensionHandle = OpenSslHandle<X509_EXTENSION, X509_EXTENSION_free>;
using OctetsHandle = OpenSslHandle<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free>;
using IntegerHandle = OpenSslHandle<ASN1_INTEGER, ASN1_INTEGER_free>;

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

KeyHandle MakeKey(int type, int bits, int curve) {
    const ContextHandle context(EVP_PKEY_CTX_new_id(type, nullptr));
    Require(EVP_PKEY_keygen_init(context.get()) == 1, "keygen_init");
    if (bits != 0) {
        Require(EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), bits) == 1, "keygen_bits");
    }
    if (curve != NID_undef) {
        Require(EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), curve) == 1, "curve");
        Require(EVP_PKEY_CTX_set_ec_param_enc(context.get(), OPENSSL_EC_NAMED_CURVE) == 1, "encoding");
    }
    EVP_PKEY* key = nullptr;
    Require(EVP_PKEY_keygen(context.get(), &key) == 1, "keygen");
    return KeyHandle(key);
}

KeyHandle MakeKey(TestKey kind) {
    switch (kind) {
    case TestKey::RSA1536:
        return MakeKey(EVP_PKEY_RSA, 1536, NID_undef);
    case TestKey::RSA2048:
        return MakeKey(EVP_PKEY_RSA, 2048, NID_undef);
    case TestKey::P192:
        return MakeKey(EVP_PKEY_EC, 0, NID_X9_62_prime192v1);
    case TestKey::P256:
        return MakeKey(EVP_PKEY_EC, 0, NID_X9_62_prime256v1);
    case TestKey::K256:
        return MakeKey(EVP_PKEY_EC, 0, NID_secp256k1);
    default:
        return MakeKey(EVP_PKEY_ED25519, 0, NID_undef);
    }
}

NameHandle MakeName(const NameFields& fields) {
    NameHandle name(X509_NAME_new());
    for (const auto& [field, text] : fields) {
        const bool belongsToTheLast = field[0] == '+';
        Require(X509_NAME_add_entry_by_txt(name.get(), field.c_str() + (belongsToTheLast ? 1 : 0),
                                           MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(text.data()),
                                           static_cast<int>(text.size()), -1, belongsToTheLast ? -1 : 0) == 1,
                "name entry");
    }
    return name;
}

} // namespace

EVP_PKEY* GetTestKey(TestKey kind) {
    // First, so that libcrypto is there for as long as the keys are.
    static const int initialized = OPENSSL_init_crypto(0, nullptr);
    static std::map<TestKey, KeyHandle> keys;
    Require(initialized == 1, "init");
    KeyHandle& key = keys[kind];
    if (!key) {
        key = MakeKey(kind);
    }
    return key.get();
}

CertificateBuilder::CertificateBuilder() : m_Certificate(X509_new()) {
    constexpr long VERSION3 = 2;
    Require(X509_set_version(m_Certificate.get(), VERSION3) == 1, "version");
    Serial("1A");
    Subject({{"C", "AT"}, {"O", "Muster"}, {"CN", "Erika Muster"}});
    Issuer({{"C", "AT"}, {"O", "Muster CA"}, {"CN", "Muster Sign 01"}});
    ValidFrom(V_ASN1_UTCTIME, "160101120000Z");
    ValidTo(V_ASN1_UTCTIME, "260101120000Z");
}

CertificateBuilder& CertificateBuilder::Key(TestKey kind) {
    m_Key = kind;
    return *this;
}

CertificateBuilder& CertificateBuilder::Subject(const NameFields& fields) {
    Require(X509_set_subject_name(m_Certificate.get(), MakeName(fields).get()) == 1, "subject");
    return *this;
}

CertificateBuilder& CertificateBuilder::RawSubject(int nid, int type, const std::string& bytes) {
    const NameHandle name(X509_NAME_new());
    Require(X509_NAME_add_entry_by_NID(name.get(), nid, type,
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()), -1, 0) == 1 &&
                X509_set_subject_name(m_Certificate.get(), name.get()) == 1,
            "raw subject");
    return *this;
}

CertificateBuilder& CertificateBuilder::Issuer(const NameFields& fields) {
    Require(X509_set_issuer_name(m_Certificate.get(), MakeName(fields).get()) == 1, "issuer");
    return *this;
}

CertificateBuilder& CertificateBuilder::Serial(const std::string& hex) {
    BIGNUM* number = nullptr;
    Require(BN_hex2bn(&number, hex.c_str()) != 0, "serial digits");
    const BnHandle owned(number);
    const IntegerHandle serial(BN_to_ASN1_INTEGER(number, nullptr));
    Require(X509_set_serialNumber(m_Certificate.get(), serial.get()) == 1, "serial");
    return *this;
}

CertificateBuilder& CertificateBuilder::ValidFrom(int type, const std::string& text) {
    Require(X509_set1_notBefore(m_Certificate.get(), TestTime(type, text).Get()) == 1, "notBefore");
    return *this;
}

CertificateBuilder& CertificateBuilder::ValidTo(int type, const std::string& text) {
    Require(X509_set1_notAfter(m_Certificate.get(), TestTime(type, text).Get()) == 1, "notAfter");
    return *this;
}

CertificateBuilder& CertificateBuilder::Extension(const std::string& name, const std::string& value) {
    X509V3_CTX context{};
    X509V3_set_ctx(&context, m_Certificate.get(), m_Certificate.get(), nullptr, nullptr, 0);
    X509_set_pubkey(m_Certificate.get(), GetTestKey(m_Key)); // key identifiers are made of it
    const ExtensionHandle extension(X509V3_EXT_nconf(nullptr, &context, name.c_str(), value.c_str()));
    Require(extension && X509_add_ext(m_Certificate.get(), extension.get(), -1) == 1, "extension");
    return *this;
}

CertificateBuilder& CertificateBuilder::RawExtension(const std::string& oid,
                                                     const std::vector<unsigned char>& content) {
    const OctetsHandle octets(ASN1_OCTET_STRING_new());
    ASN1_OCTET_STRING_set(octets.get(), content.data(), static_cast<int>(content.size()));
    const Asn1ObjectHandle object(OBJ_txt2obj(oid.c_str(), 0));
    const ExtensionHandle extension(X509_EXTENSION_create_by_OBJ(nullptr, object.get(), 0, octets.get()));
    Require(extension && X509_add_ext(m_Certificate.get(), extension.get(), -1) == 1, "raw extension");
    return *this;
}

X509Handle CertificateBuilder::Build() const {
    EVP_PKEY* key = GetTestKey(m_Key);
    Require(X509_set_pubkey(m_Certificate.get(), key) == 1, "public key");
    const EVP_MD* digest = m_Key == TestKey::ED25519 ? nullptr : EVP_sha256();
    Require(X509_sign(m_Certificate.get(), key, digest) > 0, "signature");
    return X509Handle(X509_dup(m_Certificate.get()));
}

std::vector<unsigned char> CertificateBuilder::Der() const {
    return DerOf(Build().get());
}

std::vector<unsigned char> CertificateBuilder::DerWithUnknownKey() {
    constexpr unsigned char EC_PUBLIC_KEY[] = {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x02, 0x01};
    std::vector<unsigned char> der = Key(TestKey::P256).Der();
    const auto kind = std::search(der.begin(), der.end(), std::begin(EC_PUBLIC_KEY), std::end(EC_PUBLIC_KEY));
    Require(kind != der.end(), "kind of key");
    kind[std::size(EC_PUBLIC_KEY) - 1] = 0x7f;
    return der;
}

std::string CertificateBuilder::Pem() const {
    const BioHandle stream(BIO_new(BIO_s_mem()));
    Require(PEM_write_bio_X509(stream.get(), Build().get()) == 1, "PEM");
    char* text = nullptr;
    const long size = BIO_get_mem_data(stream.get(), &text);
    return std::string(text, size);
}

slCertificate CertificateBuilder::Wrapped() const {
    return slCertificate(Build().get());
}

std::vector<unsigned char> DerOf(X509* certificate) {
    std::vector<unsigned char> der(i2d_X509(certificate, nullptr));
    unsigned char* out = der.data();
    i2d_X509(certificate, &out);
    return der;
}

TestTime::TestTime(int type, const std::string& text) : m_Time(ASN1_STRING_type_new(type)) {
    ASN1_STRING_set(m_Time.get(), text.data(), static_cast<int>(text.size()));
}
