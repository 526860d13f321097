// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include "formats/CertificateDecoding.h"
#include "formats/OpenSslHandle.h"
#include "foundation/StringUtils.h"

namespace Velmor {

using intern::BytesOf;
using intern::DecodeExtension;

namespace {

constexpr char OCSP_PREFIX[] = "ocsp:";
constexpr char CA_ISSUERS_PREFIX[] = "ca:";

std::string TextOf(const ASN1_STRING* text) {
    const unsigned char* data = ASN1_STRING_get0_data(text);
    return std::string(data, data + ASN1_STRING_length(text));
}

/// Appends the names of one kind, in order.
void CollectNames(const GENERAL_NAMES* names, int type, std::vector<std::string>& out) {
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
        if (name->type == type) {
            out.push_back(TextOf(name->d.ia5));
        }
    }
}

std::vector<std::string> WithoutPrefix(const std::vector<std::string>& texts, const std::string& prefix) {
    std::vector<std::string> rest;
    for (const std::string& text : texts) {
        if (StartsWith(text, prefix)) {
            rest.push_back(text.substr(prefix.size()));
        }
    }
    return rest;
}

} // namespace

std::vector<unsigned char> slCertificate::GetExtensionValue(int nid) const {
    if (m_X509 == nullptr) {
        return {};
    }
    X509_EXTENSION* extension = X509_get_ext(m_X509, X509_get_ext_by_NID(m_X509, nid, -1));
    return BytesOf(X509_EXTENSION_get_data(extension)); // null gives null: there is none
}

std::vector<unsigned char> slCertificate::GetSKI() const {
    return GetExtensionValue(NID_subject_key_identifier);
}

std::vector<unsigned char> slCertificate::GetAKI() const {
    return GetExtensionValue(NID_authority_key_identifier);
}

/// Null if there is none. Begins behind the extension number 0, which is thus never found: meant.
const X509_EXTENSION* slCertificate::FindExtension(const std::string& oid) const {
    const Asn1ObjectHandle object(OBJ_txt2obj(oid.c_str(), 0));
    if (m_X509 == nullptr || !object) {
        return nullptr;
    }
    return X509_get_ext(m_X509, X509_get_ext_by_OBJ(m_X509, object.get(), 0));
}

bool slCertificate::GetExtAvailable(std::string oid) const {
    return FindExtension(oid) != nullptr;
}

bool slCertificate::GetBoolExt(std::string oid) const {
    const X509_EXTENSION* extension = FindExtension(oid);
    if (extension == nullptr) {
        return false;
    }
    // libcrypto 1.1 takes the extension as one that it might change, but does not.
    const ::ASN1_OCTET_STRING* value = X509_EXTENSION_get_data(const_cast<X509_EXTENSION*>(extension));
    const unsigned char* content = ASN1_STRING_get0_data(value);
    constexpr int MALFORMED = 0x80;
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    const int result = ASN1_get_object(&content, &length, &tag, &tagClass, ASN1_STRING_length(value));
    return (result & MALFORMED) == 0 && tag == V_ASN1_BOOLEAN && length > 0 && content[0] == 255;
}

bool slCertificate::IsCaCert() const {
    // Numbers above 1 are for certificates that only may be one.
    return m_X509 != nullptr && X509_check_ca(m_X509) == 1;
}

bool slCertificate::IsSelfSigned() const {
    return m_X509 != nullptr &&
           X509_NAME_cmp(X509_get_subject_name(m_X509), X509_get_issuer_name(m_X509)) == 0;
}

bool slCertificate::IsOcspSigner() const {
    const auto usages = DecodeExtension<ExtKeyUsageHandle>(m_X509, NID_ext_key_usage);
    for (int i = 0; i < sk_ASN1_OBJECT_num(usages.get()); ++i) {
        if (OBJ_obj2nid(sk_ASN1_OBJECT_value(usages.get(), i)) == NID_OCSP_sign) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> slCertificate::Get_SAN_DNS() const {
    const auto names = DecodeExtension<GeneralNamesHandle>(m_X509, NID_subject_alt_name);
    std::vector<std::string> dnsNames;
    CollectNames(names.get(), GEN_DNS, dnsNames);
    return dnsNames;
}

std::vector<std::string> slCertificate::Get_AIA() const {
    const auto entries = DecodeExtension<AccessInfoHandle>(m_X509, NID_info_access);
    std::vector<std::string> uris;
    for (int i = 0; i < sk_ACCESS_DESCRIPTION_num(entries.get()); ++i) {
        const ACCESS_DESCRIPTION* entry = sk_ACCESS_DESCRIPTION_value(entries.get(), i);
        if (entry->location->type != GEN_URI) {
            continue;
        }
        const std::string uri = TextOf(entry->location->d.ia5);
        const int method = OBJ_obj2nid(entry->method);
        if (method == NID_ad_OCSP) {
            uris.push_back(OCSP_PREFIX + uri);
        } else if (method == NID_ad_ca_issuers) {
            uris.push_back(CA_ISSUERS_PREFIX + uri);
        }
    }
    return uris;
}

std::vector<std::string> slCertificate::Get_AIA_OCSP() const {
    return WithoutPrefix(Get_AIA(), OCSP_PREFIX);
}

std::vector<std::string> slCertificate::Get_AIA_CAIssuers() const {
    return WithoutPrefix(Get_AIA(), CA_ISSUERS_PREFIX);
}

std::vector<std::string> slCertificate::Get_CRL_Dp() const {
    const auto points = DecodeExtension<CrlPointsHandle>(m_X509, NID_crl_distribution_points);
    std::vector<std::string> uris;
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
        const DIST_POINT_NAME* name = sk_DIST_POINT_value(points.get(), i)->distpoint;
        constexpr int FULL_NAME = 0;
        if (name != nullptr && name->type == FULL_NAME) {
            CollectNames(name->name.fullname, GEN_URI, uris);
        }
    }
    return uris;
}

} // namespace Velmor
