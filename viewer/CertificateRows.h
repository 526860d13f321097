// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_CERTIFICATEROWS_H
#define ORSEL_VIEWER_CERTIFICATEROWS_H

#include <vector>

#include "formats/slCertificate.h"
#include "viewer/Row.h"

namespace viewer {

/// Everything that the certificate says, in words, below headings. Nothing is left out: what has no words of
/// its own stands with its object identifier and its bytes.
std::vector<Row> RowsOf(const Velmor::slCertificate& certificate);

/// The name that a person knows the holder by, or else the most telling one that there is.
std::string HolderOf(const Velmor::slCertificate& certificate);
std::string IssuerOf(const Velmor::slCertificate& certificate);

namespace intern {

/// Marks a word of a table for the catalogue; Translate looks it up when the table is read.
constexpr const char* Word(const char* text) {
    return text;
}

/// The long name with the numbers behind it, or the numbers alone.
std::string OidText(const Velmor::CertificateOid& oid);

/// The rows of all extensions.
void AddExtensions(const Velmor::slCertificate& certificate, std::vector<Row>& rows);

} // namespace intern

} // namespace viewer

#endif
