// SPDX-License-Identifier: MIT
#include "bridge/CertificateFacts.h"

#include <stdexcept>

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include "tokenlib/AttributeValues.h"

namespace orselbridge {

namespace {

/// The host program's error queue is not ours to fill.
struct ErrorQueue {
    ErrorQueue() = default;
    ~ErrorQueue() { ERR_clear_error(); }
    ErrorQueue(const ErrorQueue&) = delete; // clears once
    ErrorQueue& operator=(const ErrorQueue&) = delete;
};

std::optional<tokenlib::PublicParts> KeyOf(X509* certificate) {
    EVP_PKEY* key = X509_get0_pubkey(certificate);
    if (key == nullptr) {
        return std::nullopt;
    }
    try {
        return tokenlib::PublicPartsOf(key);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

} // namespace

std::optional<CertificateFacts> FactsOf(const Bytes& der) {
    const ErrorQueue queue;
    const unsigned char* start = der.data();
    const tokenlib::X509Ptr certificate(d2i_X509(nullptr, &start, static_cast<long>(der.size())));
    if (!certificate) {
        return std::nullopt;
    }
    const bool hasUsage = (X509_get_extension_flags(certificate.get()) & EXFLAG_KUSAGE) != 0;
    const auto usage = X509_get_key_usage(certificate.get()); // all bits when there is no such extension
    CertificateFacts facts;
    facts.m_IsForNonRepudiation = hasUsage && (usage & KU_NON_REPUDIATION) != 0;
    facts.m_MaySign = (usage & (KU_NON_REPUDIATION | KU_DIGITAL_SIGNATURE)) != 0;
    facts.m_IsAuthority = (X509_get_extension_flags(certificate.get()) & EXFLAG_CA) != 0;
    facts.m_Subject = tokenlib::DerOf(X509_get_subject_name(certificate.get()));
    facts.m_Key = KeyOf(certificate.get());
    return facts;
}

} // namespace orselbridge
