// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_CERTIFICATESUMMARY_H
#define ORSEL_CLI_CERTIFICATESUMMARY_H

#include "cli/Files.h"

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace orselcli {

/// The fields of a certificate that people ask for. Texts are UTF-8, as the certificate has them.
struct CertificateSummary {
    std::string m_Subject; ///< as RFC 2253 writes names
    std::string m_Issuer;
    std::string m_Serial;    ///< hexadecimal digits
    std::string m_NotBefore; ///< "2026-01-31T12:00:00Z"
    std::string m_NotAfter;
    std::string m_Key; ///< such as "RSA 2048"
    std::string m_Sha1;
    std::string m_Sha256;
    bool m_IsValidNow = false;

    /// Of a certificate in DER that can be parsed.
    static CertificateSummary Of(const Bytes& der);

    /// In words, a field a line.
    std::string InWords() const;
    nlohmann::ordered_json AsJson() const;
};

/// The armoured form, lines of 64 characters.
std::string PemOf(const Bytes& der);

} // namespace orselcli

#endif
