// SPDX-License-Identifier: MIT
#include "cli/CertificateSummary.h"

#include <ctime>

#include <nlohmann/json.hpp>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "cli/Names.h"
#include "cli/Table.h"
#include "cli/Words.h"
#include "formats/OpenSslHandle.h"
#include "formats/slCertificate.h"
#include "foundation/Base64.h"
#include "foundation/StringUtils.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;

/// RFC 2253, with letters beyond ASCII as they are.
constexpr unsigned long NAME_FORM = XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
constexpr size_t PEM_LINE = 64;

std::string TimeText(const ASN1_TIME* time) {
    std::tm parts = {};
    if (ASN1_TIME_to_tm(time, &parts) != 1) {
        return "";
    }
    char text[32];
    return std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts) > 0 ? text : "";
}

std::string KeyText(const X509* certificate) {
    EVP_PKEY* key = X509_get0_pubkey(certificate);
    if (key == nullptr) {
        return "";
    }
    const int kind = EVP_PKEY_base_id(key);
    const std::string name = kind == EVP_PKEY_RSA ? "RSA" : kind == EVP_PKEY_EC ? "EC" : OBJ_nid2sn(kind);
    return name + " " + std::to_string(EVP_PKEY_bits(key));
}

std::string Thumbprint(const Velmor::slCertificate& certificate, Velmor::HashAlgorithm hash) {
    Bytes digest;
    certificate.GetThumbprint(digest, hash);
    return HexOf(digest);
}

} // namespace

CertificateSummary CertificateSummary::Of(const Bytes& der) {
    Velmor::slCertificate certificate;
    certificate.LoadFromBuffer(der);
    const X509* raw = certificate.GetX509();
    CertificateSummary summary;
    if (raw == nullptr) {
        return summary;
    }
    summary.m_Subject = certificate.GetSubjectWithFormat(NAME_FORM);
    summary.m_Issuer = certificate.GetIssuerWithFormat(NAME_FORM);
    const std::string serial = certificate.GetSerialNumber();
    summary.m_Serial = serial.substr(Velmor::StartsWith(serial, "0x") ? 2 : 0);
    summary.m_NotBefore = TimeText(X509_get0_notBefore(raw));
    summary.m_NotAfter = TimeText(X509_get0_notAfter(raw));
    summary.m_Key = KeyText(raw);
    summary.m_Sha1 = Thumbprint(certificate, Velmor::HASH_SHA1);
    summary.m_Sha256 = Thumbprint(certificate, Velmor::HASH_SHA256);
    summary.m_IsValidNow = X509_cmp_current_time(X509_get0_notBefore(raw)) < 0 &&
                           X509_cmp_current_time(X509_get0_notAfter(raw)) > 0;
    return summary;
}

std::string CertificateSummary::InWords() const {
    const std::string valid = m_NotBefore + " \u2013 " + m_NotAfter;
    return Fields({{Tr("Holder"), Harmless(m_Subject)},
                   {Tr("Issuer"), Harmless(m_Issuer)},
                   {Tr("Serial number"), m_Serial},
                   {Tr("Valid"), m_IsValidNow ? valid : Filled(Tr("{} (not now)"), {valid})},
                   {Tr("Key"), m_Key},
                   {"SHA-1", m_Sha1},
                   {"SHA-256", m_Sha256}});
}

Json CertificateSummary::AsJson() const {
    return {{"subject", m_Subject},   {"issuer", m_Issuer},
            {"serial", m_Serial},     {"notBefore", m_NotBefore},
            {"notAfter", m_NotAfter}, {"validNow", m_IsValidNow},
            {"key", m_Key},           {"sha1", m_Sha1},
            {"sha256", m_Sha256}};
}

std::string PemOf(const Bytes& der) {
    std::string text;
    Velmor::b64encode(der, text, 0);
    std::string pem = "-----BEGIN CERTIFICATE-----\n";
    for (size_t position = 0; position < text.size(); position += PEM_LINE) {
        pem += text.substr(position, PEM_LINE) + "\n";
    }
    return pem + "-----END CERTIFICATE-----\n";
}

} // namespace orselcli
