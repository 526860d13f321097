// SPDX-License-Identifier: MIT
// The usual extensions as plain values: what a key is for, who it belongs to, where to ask about it.
#include "formats/slCertificate.h"

#include <algorithm>
#include <cstddef>

#include <openssl/x509v3.h>

#include "formats/CertificateDecoding.h"
#include "formats/OpenSslHandle.h"

namespace Velmor {

using intern::DecodeExtension;

namespace {

constexpr int HIGHEST_KEY_USAGE = 8; // decipherOnly

/// Appends what this qualifier of a policy says.
void AddQualifier(const POLICYQUALINFO* qualifier, CertificatePolicy& policy) {
    switch (OBJ_obj2nid(qualifier->pqualid)) {
    case NID_id_qt_cps:
        policy.m_Statements.push_back(intern::RawTextOf(qualifier->d.cpsuri));
        break;
    case NID_id_qt_unotice:
        if (qualifier->d.usernotice->exptext != nullptr) {
            policy.m_Notices.push_back(intern::Utf8Of(qualifier->d.usernotice->exptext));
        }
        break;
    default:
        break;
    }
}

void AddNames(const DIST_POINT_NAME* point, std::vector<CertificateName>& names) {
    constexpr int FULL_NAME = 0;
    if (point == nullptr) {
        return;
    }
    if (point->type == FULL_NAME) {
        const std::vector<CertificateName> full = intern::NamesOf(point->name.fullname);
        names.insert(names.end(), full.begin(), full.end());
        return;
    }
    for (int i = 0; i < sk_X509_NAME_ENTRY_num(point->name.relativename); ++i) {
        const X509_NAME_ENTRY* entry = sk_X509_NAME_ENTRY_value(point->name.relativename, i);
        names.push_back({CertificateNameKind::DIRECTORY, intern::Utf8Of(X509_NAME_ENTRY_get_data(entry))});
    }
}

} // namespace

std::vector<int> slCertificate::GetKeyUsage() const {
    const auto usage = DecodeExtension<BitStringHandle>(m_X509, NID_key_usage);
    std::vector<int> bits;
    for (int bit = 0; usage && bit <= HIGHEST_KEY_USAGE; ++bit) {
        if (ASN1_BIT_STRING_get_bit(usage.get(), bit) == 1) {
            bits.push_back(bit);
        }
    }
    return bits;
}

std::vector<CertificateOid> slCertificate::GetExtendedKeyUsage() const {
    const auto usages = DecodeExtension<ExtKeyUsageHandle>(m_X509, NID_ext_key_usage);
    const int count = std::max(0, sk_ASN1_OBJECT_num(usages.get())); // -1 without the extension
    std::vector<CertificateOid> all;
    all.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        all.push_back(intern::OidOf(sk_ASN1_OBJECT_value(usages.get(), i)));
    }
    return all;
}

bool slCertificate::GetBasicConstraints(CertificateBasicConstraints& out) const {
    const auto constraints = DecodeExtension<BasicConstraintsHandle>(m_X509, NID_basic_constraints);
    if (!constraints) {
        return false;
    }
    out.m_IsCa = constraints->ca != 0;
    out.m_PathLength = constraints->pathlen != nullptr ? ASN1_INTEGER_get(constraints->pathlen) : -1;
    return true;
}

std::vector<CertificateName> slCertificate::GetSubjectAltNames() const {
    return intern::NamesOf(DecodeExtension<GeneralNamesHandle>(m_X509, NID_subject_alt_name).get());
}

std::vector<CertificateName> slCertificate::GetIssuerAltNames() const {
    return intern::NamesOf(DecodeExtension<GeneralNamesHandle>(m_X509, NID_issuer_alt_name).get());
}

std::vector<unsigned char> slCertificate::GetSubjectKeyId() const {
    return intern::BytesOf(DecodeExtension<OctetStringHandle>(m_X509, NID_subject_key_identifier).get());
}

bool slCertificate::GetAuthorityKeyId(CertificateAuthorityKey& out) const {
    const auto authority = DecodeExtension<AuthorityKeyHandle>(m_X509, NID_authority_key_identifier);
    if (!authority) {
        return false;
    }
    out.m_KeyId = intern::BytesOf(authority->keyid);
    out.m_Issuer = intern::NamesOf(authority->issuer);
    out.m_Serial = intern::NumberOf(authority->serial);
    return true;
}

std::vector<CertificatePolicy> slCertificate::GetPolicies() const {
    const auto policies = DecodeExtension<PoliciesHandle>(m_X509, NID_certificate_policies);
    std::vector<CertificatePolicy> all;
    for (int i = 0; i < sk_POLICYINFO_num(policies.get()); ++i) {
        const POLICYINFO* info = sk_POLICYINFO_value(policies.get(), i);
        CertificatePolicy policy;
        policy.m_Oid = intern::OidOf(info->policyid);
        for (int k = 0; k < sk_POLICYQUALINFO_num(info->qualifiers); ++k) {
            AddQualifier(sk_POLICYQUALINFO_value(info->qualifiers, k), policy);
        }
        all.push_back(policy);
    }
    return all;
}

std::vector<CertificateAccess> slCertificate::GetAccess() const {
    const auto entries = DecodeExtension<AccessInfoHandle>(m_X509, NID_info_access);
    std::vector<CertificateAccess> all;
    for (int i = 0; i < sk_ACCESS_DESCRIPTION_num(entries.get()); ++i) {
        const ACCESS_DESCRIPTION* entry = sk_ACCESS_DESCRIPTION_value(entries.get(), i);
        all.push_back({intern::OidOf(entry->method), intern::NameOf(entry->location)});
    }
    return all;
}

std::vector<CertificateName> slCertificate::GetCrlNames() const {
    const auto points = DecodeExtension<CrlPointsHandle>(m_X509, NID_crl_distribution_points);
    std::vector<CertificateName> names;
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
        AddNames(sk_DIST_POINT_value(points.get(), i)->distpoint, names);
    }
    return names;
}

} // namespace Velmor
