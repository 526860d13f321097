// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_LONGTEXT_H
#define ORSEL_VIEWER_LONGTEXT_H

#include <string>
#include <vector>

#include "viewer/Row.h"

namespace viewer {

/// Every row in full, indented below its heading, values that are bytes in lines of 16. UTF-8. Stops, and
/// says so in a last line, before it has many more bytes than `limit`.
std::string LongText(const std::vector<Row>& rows, std::size_t limit = std::string::npos);

/// One row for the clipboard: "label: value".
std::string RowText(const Row& row);

} // namespace viewer

#endif
