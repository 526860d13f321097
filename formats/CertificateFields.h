// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_CERTIFICATEFIELDS_H
#define ORSEL_FORMATS_CERTIFICATEFIELDS_H

#include <ctime>
#include <string>
#include <vector>

/// What slCertificate takes a certificate apart into. Plain values: texts come out of the certificate as
/// somebody put them in, with whatever control characters and zero bytes they have.
namespace Velmor {

/// An object identifier. A number that libcrypto does not know has NID 0 (NID_undef) and no name.
struct CertificateOid {
    std::string m_Dotted; ///< "2.5.4.3"
    int m_Nid = 0;
    std::string m_ShortName; ///< "CN"
    std::string m_LongName;  ///< "commonName"
};

/// One attribute of a subject or an issuer.
struct CertificateNameField {
    CertificateOid m_Oid;
    std::string m_Text;     ///< UTF-8; "#" and hexadecimal digits of what cannot be converted
    int m_RelativeName = 0; ///< attributes with the same number form one multi-valued part of the name
};

/// The kinds of RFC 5280, section 4.2.1.6, in the order of their tags.
enum class CertificateNameKind : int { OTHER, EMAIL, DNS, X400, DIRECTORY, EDI, URI, IP, REGISTERED_ID };

/// A general name: an alternative name, or a place where something is to be fetched.
struct CertificateName {
    CertificateNameKind m_Kind = CertificateNameKind::OTHER;
    /// The name itself: an address for IP, the attributes as in RFC 2253 for DIRECTORY, dotted numbers for
    /// REGISTERED_ID, "OID:text" for OTHER. Hexadecimal digits where there is no text.
    std::string m_Text;
};

/// One entry of an information access extension: what is there (NID_ad_OCSP, NID_ad_ca_issuers, ...), and
/// where.
struct CertificateAccess {
    CertificateOid m_Method;
    CertificateName m_Location;
};

struct CertificatePolicy {
    CertificateOid m_Oid;
    std::vector<std::string> m_Statements; ///< addresses of practice statements
    std::vector<std::string> m_Notices;    ///< texts for users, UTF-8
};

struct CertificateExtension {
    CertificateOid m_Oid;
    bool m_IsCritical = false;
    std::vector<unsigned char> m_Content; ///< of the OCTET STRING
};

struct CertificateBasicConstraints {
    bool m_IsCa = false;
    /// How many CAs may stand below; -1 for no limit.
    long m_PathLength = -1;
};

struct CertificateAuthorityKey {
    std::vector<unsigned char> m_KeyId;
    std::vector<CertificateName> m_Issuer; ///< of the authority's own certificate
    std::string m_Serial;                  ///< its number: "0x" and upper-case digits
};

struct CertificateKey {
    CertificateOid m_Algorithm;
    int m_Bits = 0;          ///< 0 for a key that libcrypto cannot read
    std::string m_Curve;     ///< "prime256v1"; empty for a key without a named curve
    std::string m_NistCurve; ///< "P-256"; empty for a curve without such a name
};

/// A point in time as it really is, with no shift by a zone.
struct CertificateTime {
    bool m_IsReadable = false;
    std::time_t m_Seconds = 0; ///< since 1970
    std::string m_Text;        ///< as the certificate has it
};

} // namespace Velmor

#endif
