// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_SUBJECTNAME_H
#define ORSEL_CLI_SUBJECTNAME_H

#include <cstddef>
#include <string>

namespace orselcli {

/// Common name of the subject of a certificate in DER (RFC 5280, 4.1), as slCertificate gives it, without
/// taking the rest apart. Empty for bytes that are no certificate and for one without that name.
std::string SubjectCommonName(const unsigned char* der, size_t size);

} // namespace orselcli

#endif
