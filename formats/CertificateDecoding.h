// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_CERTIFICATEDECODING_H
#define ORSEL_FORMATS_CERTIFICATEDECODING_H

#include <string>
#include <vector>

#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "formats/CertificateFields.h"

/// The small conversions from libcrypto's objects to plain values that the getters of slCertificate share.
/// All take null for nothing there.
namespace Velmor::intern {

std::vector<unsigned char> BytesOf(const ASN1_STRING* string);
/// The content without conversion.
std::string RawTextOf(const ASN1_STRING* string);
/// Converted to UTF-8 by the string's own type; "#" and hexadecimal digits if that is impossible.
std::string Utf8Of(const ASN1_STRING* string);
/// Upper-case digits without anything between.
std::string HexOf(const std::vector<unsigned char>& bytes);
/// "0x" and upper-case digits.
std::string NumberOf(const ::ASN1_INTEGER* number);
CertificateOid OidOf(const ASN1_OBJECT* object);
CertificateName NameOf(const GENERAL_NAME* name);
std::vector<CertificateName> NamesOf(const GENERAL_NAMES* names);
/// The form of RFC 2253, in UTF-8.
std::string DirectoryNameOf(const X509_NAME* name);
/// The form of libcrypto's flags for names; empty if that is impossible.
std::string PrintedNameOf(const X509_NAME* name, unsigned long flags);

/// The decoded extension, if there is exactly one of this kind.
template <typename Handle>
Handle DecodeExtension(const X509* certificate, int nid) {
    using Type = typename Handle::element_type;
    return Handle(certificate != nullptr
                      ? static_cast<Type*>(X509_get_ext_d2i(certificate, nid, nullptr, nullptr))
                      : nullptr);
}

} // namespace Velmor::intern

#endif
