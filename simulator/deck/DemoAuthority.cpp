// SPDX-License-Identifier: MIT
#include "simulator/deck/DemoAuthority.h"

#include <filesystem>
#include <stdexcept>

#include <openssl/obj_mac.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include "simulator/store/Files.h"
#include "simulator/store/KeyMaterial.h"

namespace orselsim {

namespace {

constexpr const char* AUTHORITY_NAME = "Orsel Demo CA";
constexpr long SECONDS_PER_DAY = 24L * 60 * 60;
constexpr long VALID_DAYS = 5L * 365;

void Check(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(what);
    }
}

/// First word of a name and the rest; a single word is a family name.
std::pair<std::string, std::string> SplitName(const std::string& name) {
    const std::size_t blank = name.find(' ');
    if (blank == std::string::npos) {
        return {"", name};
    }
    return {name.substr(0, blank), name.substr(blank + 1)};
}

void AddName(X509_NAME* name, int field, const std::string& text) {
    if (!text.empty()) {
        Check(X509_NAME_add_entry_by_NID(name, field, MBSTRING_UTF8,
                                         reinterpret_cast<const unsigned char*>(text.data()),
                                         static_cast<int>(text.size()), -1, 0) == 1,
              "a name is too long for a certificate, or is not UTF-8");
    }
}

void NameHolder(X509_NAME* name, const std::string& holder, const std::string& cardSerial) {
    const auto [given, family] = SplitName(holder);
    AddName(name, NID_commonName, holder);
    AddName(name, NID_surname, family);
    AddName(name, NID_givenName, given);
    AddName(name, NID_serialNumber, cardSerial);
}

void AddExtension(X509* certificate, int kind, const char* value) {
    const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value));
    Check(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "cannot extend a certificate");
}

void SetSerial(X509* certificate) {
    unsigned char random[8];
    Check(RAND_bytes(random, sizeof random) == 1, "no random bytes for a certificate");
    random[0] = static_cast<unsigned char>((random[0] & 0x7F) | 0x40); // positive, and always of this length
    const BignumPtr number(BN_bin2bn(random, sizeof random, nullptr));
    Check(BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
          "cannot number a certificate");
}

X509Ptr NewCertificate(EVP_PKEY* publicKey) {
    X509Ptr certificate(X509_new());
    Check(certificate && X509_set_version(certificate.get(), 2) == 1 && // counts from 0: version 3
              X509_set_pubkey(certificate.get(), publicKey) == 1,
          "cannot make a certificate");
    SetSerial(certificate.get());
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -SECONDS_PER_DAY);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), VALID_DAYS * SECONDS_PER_DAY);
    AddName(X509_get_issuer_name(certificate.get()), NID_commonName, AUTHORITY_NAME);
    return certificate;
}

Bytes Sealed(X509* certificate, EVP_PKEY* authorityKey) {
    Check(X509_sign(certificate, authorityKey, EVP_sha256()) > 0, "cannot sign a certificate");
    const int size = i2d_X509(certificate, nullptr);
    Check(size > 0, "cannot write a certificate");
    Bytes der(static_cast<std::size_t>(size));
    unsigned char* end = der.data();
    i2d_X509(certificate, &end);
    return der;
}

Bytes OwnCertificate(EVP_PKEY* key) {
    const X509Ptr certificate = NewCertificate(key);
    AddName(X509_get_subject_name(certificate.get()), NID_commonName, AUTHORITY_NAME);
    AddExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    AddExtension(certificate.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    return Sealed(certificate.get(), key);
}

} // namespace

void CheckHolderName(const std::string& holder) {
    Check(!holder.empty(), "the holder has no name");
    const std::unique_ptr<X509_NAME, FreeWith<X509_NAME_free>> name(X509_NAME_new());
    NameHolder(name.get(), holder, "");
}

DemoAuthority DemoAuthority::Of(const std::string& deckDirectory) {
    const std::string directory = JoinPath(deckDirectory, ".authority"); // a leading point: not a card
    const std::string keyPath = JoinPath(directory, "key.pem");
    const std::string certificatePath = JoinPath(directory, "certificate.der");
    if (std::filesystem::exists(keyPath)) {
        KeyPtr key = ReadKey(ReadFile(keyPath));
        Check(key != nullptr, "the deck's authority has a damaged key");
        return DemoAuthority(std::move(key), ReadFile(certificatePath));
    }
    std::filesystem::create_directories(directory);
    KeyPtr key = MakeKey(KeyForm::P256);
    const Bytes certificate = OwnCertificate(key.get());
    ReplaceFile(certificatePath, certificate);
    ReplaceFile(keyPath, PrintPrivateKey(key.get()));
    return DemoAuthority(std::move(key), certificate);
}

Bytes DemoAuthority::Issue(const std::string& holder, const std::string& cardSerial, EVP_PKEY* publicKey,
                           CertificateUse use) const {
    const X509Ptr certificate = NewCertificate(publicKey);
    NameHolder(X509_get_subject_name(certificate.get()), holder, cardSerial);
    AddExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(certificate.get(), NID_key_usage,
                 use == CertificateUse::SIGNATURE ? "critical,nonRepudiation"
                                                  : "critical,digitalSignature,keyEncipherment");
    return Sealed(certificate.get(), m_Key.get());
}

Bytes DemoAuthority::Sign(const Bytes& bytes) const {
    const DigestContextPtr context(EVP_MD_CTX_new());
    std::size_t size = 0;
    Check(context && EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, m_Key.get()) == 1 &&
              EVP_DigestSign(context.get(), nullptr, &size, bytes.data(), bytes.size()) == 1,
          "the deck's authority cannot sign");
    Bytes signature(size);
    Check(EVP_DigestSign(context.get(), signature.data(), &size, bytes.data(), bytes.size()) == 1,
          "the deck's authority cannot sign");
    signature.resize(size);
    return signature;
}

} // namespace orselsim
