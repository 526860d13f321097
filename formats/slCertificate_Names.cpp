// SPDX-License-Identifier: MIT
// Subject and issuer.
#include "formats/slCertificate.h"

#include <array>
#include <cstdio>

#include <openssl/objects.h>

#include "formats/CertificateDecoding.h"

namespace Velmor {

namespace {

constexpr int NAME_BUFFER_SIZE = 1024;

// The names belong to the certificate. Null for null.
X509_NAME* SubjectOf(const X509* certificate) {
    return certificate != nullptr ? X509_get_subject_name(certificate) : nullptr;
}

X509_NAME* IssuerOf(const X509* certificate) {
    return certificate != nullptr ? X509_get_issuer_name(certificate) : nullptr;
}

std::string OneLine(const X509_NAME* name) {
    std::array<char, NAME_BUFFER_SIZE> text{};
    if (name != nullptr) {
        X509_NAME_oneline(name, text.data(), NAME_BUFFER_SIZE);
    }
    return text.data();
}

std::string Field(X509_NAME* name, int nid) {
    std::array<char, NAME_BUFFER_SIZE> text{};
    if (name != nullptr) {
        X509_NAME_get_text_by_NID(name, nid, text.data(), NAME_BUFFER_SIZE);
    }
    return text.data();
}

bool CopyDer(X509_NAME* name, unsigned char* out, unsigned int& len) {
    const int size = name != nullptr ? i2d_X509_NAME(name, nullptr) : 0;
    if (size <= 0) {
        return false;
    }
    if (out != nullptr) {
        if (len < static_cast<unsigned int>(size)) {
            return false;
        }
        i2d_X509_NAME(name, &out);
    }
    len = static_cast<unsigned int>(size);
    return true;
}

/// Up to the first zero byte, which some flags leave in.
std::string Print(const X509_NAME* name, unsigned long flags) {
    const std::string text = intern::PrintedNameOf(name, flags);
    return text.substr(0, text.find('\0'));
}

std::string HashText(unsigned long hash) {
    std::array<char, 2 * sizeof(hash) + 1> text;
    std::snprintf(text.data(), text.size(), "%08lx", hash);
    return text.data();
}

} // namespace

std::string slCertificate::GetSubject() const {
    return OneLine(SubjectOf(m_X509));
}

std::string slCertificate::GetIssuer() const {
    return OneLine(IssuerOf(m_X509));
}

bool slCertificate::GetSubjectDER(unsigned char* out, unsigned int& len) const {
    return CopyDer(SubjectOf(m_X509), out, len);
}

bool slCertificate::GetIssuerDER(unsigned char* out, unsigned int& len) const {
    return CopyDer(IssuerOf(m_X509), out, len);
}

std::string slCertificate::GetSubjectWithFormat(unsigned long flags) const {
    return Print(SubjectOf(m_X509), flags);
}

std::string slCertificate::GetIssuerWithFormat(unsigned long flags) const {
    return Print(IssuerOf(m_X509), flags);
}

std::string slCertificate::GetIssuerSepByComa() const {
    return GetIssuerWithFormat(XN_FLAG_RFC2253);
}

std::string slCertificate::GetIssuerVal(int nid) const {
    return Field(IssuerOf(m_X509), nid);
}

std::string slCertificate::GetSubjectVal(int nid) const {
    return Field(SubjectOf(m_X509), nid);
}

std::string slCertificate::GetIssuerCN() const {
    return GetIssuerVal(NID_commonName);
}

std::string slCertificate::GetIssuerC() const {
    return GetIssuerVal(NID_countryName);
}

std::string slCertificate::GetIssuerO() const {
    return GetIssuerVal(NID_organizationName);
}

std::string slCertificate::GetIssuerOU() const {
    return GetIssuerVal(NID_organizationalUnitName);
}

std::string slCertificate::GetSubjectCN() const {
    return GetSubjectVal(NID_commonName);
}

std::string slCertificate::GetSubjectOU() const {
    return GetSubjectVal(NID_organizationalUnitName);
}

std::string slCertificate::GetSubjectGN() const {
    return GetSubjectVal(NID_givenName);
}

std::string slCertificate::GetSubjectSN() const {
    return GetSubjectVal(NID_surname);
}

std::string slCertificate::GetSubjectSerial() const {
    return GetSubjectVal(NID_serialNumber);
}

std::string slCertificate::GetSubjectNameHash() const {
    return m_X509 != nullptr ? HashText(X509_subject_name_hash(m_X509)) : std::string();
}

std::string slCertificate::GetIssuerNameHash() const {
    return m_X509 != nullptr ? HashText(X509_issuer_name_hash(m_X509)) : std::string();
}

} // namespace Velmor
