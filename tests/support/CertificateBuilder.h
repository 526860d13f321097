// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_CERTIFICATEBUILDER_H
#define ORSEL_TESTS_SUPPORT_CERTIFICATEBUILDER_H

#include <string>
#include <utility>
#include <vector>

#include "formats/OpenSslHandle.h"
#include "formats/slCertificate.h"

/// Kinds of keys that certificates in tests are made with.
enum class TestKey { RSA1536, RSA2048, P192, P256, K256, ED25519 };

/// A key of this kind, made once in a process and owned by this function.
EVP_PKEY* GetTestKey(TestKey kind);

/// Fields of a name in order: short name and UTF-8 text. A "+" before the name makes a multi-valued part of
/// this field and the one before it.
using NameFields = std::vector<std::pair<std::string, std::string>>;

/// Makes one signed certificate with libcrypto. A new builder makes a plain one: RSA 2048, serial 1A, valid
/// from 2016 to 2026, a citizen as subject and a CA as issuer, no extensions.
class CertificateBuilder {
public:
    CertificateBuilder();

    CertificateBuilder& Key(TestKey kind);
    CertificateBuilder& Subject(const NameFields& fields);
    /// A subject of one field with these bytes, taken as they are; `type` is V_ASN1_BIT_STRING or the like.
    CertificateBuilder& RawSubject(int nid, int type, const std::string& bytes);
    CertificateBuilder& Issuer(const NameFields& fields);
    CertificateBuilder& Serial(const std::string& hex);
    /// Raw texts, taken as they are; `type` is V_ASN1_UTCTIME or V_ASN1_GENERALIZEDTIME.
    CertificateBuilder& ValidFrom(int type, const std::string& text);
    CertificateBuilder& ValidTo(int type, const std::string& text);
    /// An extension in libcrypto's configuration language, as "basicConstraints", "critical,CA:TRUE".
    CertificateBuilder& Extension(const std::string& name, const std::string& value);
    /// An extension with this content.
    CertificateBuilder& RawExtension(const std::string& oid, const std::vector<unsigned char>& content);

    Velmor::X509Handle Build() const;
    std::vector<unsigned char> Der() const;
    /// With a key that says it is of a kind which nobody knows, 1.2.840.10045.2.127.
    std::vector<unsigned char> DerWithUnknownKey();
    std::string Pem() const;
    Velmor::slCertificate Wrapped() const;

private:
    Velmor::X509Handle m_Certificate;
    TestKey m_Key = TestKey::RSA2048;
};

std::vector<unsigned char> DerOf(X509* certificate);

/// A time that is not part of a certificate.
class TestTime {
public:
    TestTime(int type, const std::string& text);
    ASN1_STRING* Get() const { return m_Time.get(); }

private:
    Velmor::OpenSslHandle<ASN1_STRING, ASN1_STRING_free> m_Time;
};

#endif
