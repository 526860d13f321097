// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_CERTIFICATEFILE_H
#define ORSEL_VIEWER_CERTIFICATEFILE_H

#include <string>

#include <wx/string.h>

#include "formats/slCertificate.h"

namespace viewer {

/// Nobody's certificate is larger; what is, is not read.
constexpr std::size_t LARGEST_FILE = std::size_t{64} * 1024 * 1024;

/// Reads PEM, DER or base64 of DER. An empty text, or one sentence that says why there is no certificate.
wxString LoadCertificate(const std::string& path, Velmor::slCertificate& out);

enum class FileForm { PEM, DER };

/// What `path` is to be written as: what its ending says, else `chosen`.
FileForm FormOf(const std::string& path, FileForm chosen);

/// Puts the certificate into a file that is there whole or, on failure, as it was before. An empty text, or
/// one sentence that says what went wrong.
wxString SaveCertificate(const std::string& path, FileForm form, const Velmor::slCertificate& certificate);

/// A path as it may be shown.
wxString VisiblePath(const std::string& path);

} // namespace viewer

#endif
