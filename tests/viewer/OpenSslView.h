// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_VIEWER_OPENSSLVIEW_H
#define ORSEL_TESTS_VIEWER_OPENSSLVIEW_H

#include <map>
#include <string>
#include <vector>

/// "heading/label" with the values that stand there, in order.
using Fields = std::map<std::string, std::vector<std::string>>;

/// What the openssl command says of the certificate in this DER file, brought into the viewer's German words.
/// Nothing of the project reads the certificate for it. Times are in UTC.
Fields FieldsByOpenSsl(const std::string& derFile);

#endif
