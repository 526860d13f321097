// SPDX-License-Identifier: MIT
// The certificate's own fields as plain values, for somebody to look at.
#include "formats/slCertificate.h"

#include <openssl/objects.h>
#include <openssl/pem.h>

#include "formats/CertificateDecoding.h"
#include "formats/OpenSslCompat.h"
#include "formats/OpenSslHandle.h"

namespace Velmor {

namespace {

std::vector<CertificateNameField> FieldsOf(const X509_NAME* name) {
    std::vector<CertificateNameField> fields;
    for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
        const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
        fields.push_back({intern::OidOf(X509_NAME_ENTRY_get_object(entry)),
                          intern::Utf8Of(X509_NAME_ENTRY_get_data(entry)), X509_NAME_ENTRY_set(entry)});
    }
    return fields;
}

CertificateTime TimeOf(const ASN1_TIME* time) {
    CertificateTime result;
    result.m_Text = intern::RawTextOf(time);
    std::tm fields{};
    // A time without any text would stand for the present moment.
    if (!result.m_Text.empty() && ASN1_TIME_to_tm(time, &fields) == 1) {
        result.m_IsReadable = true;
        result.m_Seconds = timegm(&fields);
    }
    return result;
}

} // namespace

std::string slCertificate::ToPem() const {
    const BioHandle stream(BIO_new(BIO_s_mem()));
    if (m_X509 == nullptr || !stream || PEM_write_bio_X509(stream.get(), m_X509) != 1) {
        return {};
    }
    char* text = nullptr;
    const long size = BIO_get_mem_data(stream.get(), &text);
    return std::string(text, static_cast<std::size_t>(size));
}

long slCertificate::GetVersion() const {
    return m_X509 != nullptr ? X509_get_version(m_X509) + 1 : 0; // the encoding counts from 0
}

std::vector<CertificateNameField> slCertificate::GetSubjectFields() const {
    return m_X509 != nullptr ? FieldsOf(X509_get_subject_name(m_X509)) : std::vector<CertificateNameField>();
}

std::vector<CertificateNameField> slCertificate::GetIssuerFields() const {
    return m_X509 != nullptr ? FieldsOf(X509_get_issuer_name(m_X509)) : std::vector<CertificateNameField>();
}

CertificateTime slCertificate::GetNotBefore() const {
    return m_X509 != nullptr ? TimeOf(X509_get0_notBefore(m_X509)) : CertificateTime();
}

CertificateTime slCertificate::GetNotAfter() const {
    return m_X509 != nullptr ? TimeOf(X509_get0_notAfter(m_X509)) : CertificateTime();
}

CertificateKey slCertificate::GetKey() const {
    CertificateKey key;
    ASN1_OBJECT* algorithm = nullptr;
    if (m_X509 == nullptr ||
        X509_PUBKEY_get0_param(&algorithm, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(m_X509)) != 1) {
        return key;
    }
    key.m_Algorithm = intern::OidOf(algorithm);
    const KeyHandle value(X509_get_pubkey(m_X509));
    if (!value) {
        return key;
    }
    key.m_Bits = EVP_PKEY_bits(value.get());
    const int curve = EVP_PKEY_base_id(value.get()) == EVP_PKEY_EC ? CurveOf(value.get()) : NID_undef;
    if (curve != NID_undef) {
        key.m_Curve = OBJ_nid2sn(curve);
        const char* nistName = EC_curve_nid2nist(curve);
        key.m_NistCurve = nistName != nullptr ? nistName : "";
    }
    return key;
}

CertificateOid slCertificate::GetSignatureAlgorithm() const {
    const X509_ALGOR* algorithm = nullptr;
    const ASN1_OBJECT* object = nullptr;
    if (m_X509 != nullptr) {
        X509_get0_signature(nullptr, &algorithm, m_X509);
        X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    }
    return intern::OidOf(object);
}

std::vector<unsigned char> slCertificate::GetSignatureValue() const {
    const ::ASN1_BIT_STRING* value = nullptr; // qualified: asn1.h has an enumerator of this name
    if (m_X509 != nullptr) {
        X509_get0_signature(&value, nullptr, m_X509);
    }
    return intern::BytesOf(value);
}

std::vector<CertificateExtension> slCertificate::GetExtensions() const {
    std::vector<CertificateExtension> extensions;
    const int count = m_X509 != nullptr ? X509_get_ext_count(m_X509) : 0;
    for (int i = 0; i < count; ++i) {
        X509_EXTENSION* extension = X509_get_ext(m_X509, i);
        extensions.push_back({intern::OidOf(X509_EXTENSION_get_object(extension)),
                              X509_EXTENSION_get_critical(extension) != 0,
                              intern::BytesOf(X509_EXTENSION_get_data(extension))});
    }
    return extensions;
}

} // namespace Velmor
