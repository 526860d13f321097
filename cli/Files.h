// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_FILES_H
#define ORSEL_CLI_FILES_H

#include "cli/Reason.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orselcli {

using Bytes = std::vector<unsigned char>;

/// Larger input is refused: it is read whole.
constexpr size_t LARGEST_INPUT = size_t{256} * 1024 * 1024;

/// Reads a file to its end; standard input for an empty name or "-".
Outcome ReadInput(const std::string& path, Bytes& content, size_t largest = LARGEST_INPUT);

/// Replaces a file: the content goes to a temporary file beside it, to the disk, and takes the name then. So
/// the file has either its old content or the whole new one. What is no regular file, such as a pipe, is
/// written to as it stands.
Outcome WriteOutput(const std::string& path, const Bytes& content);

} // namespace orselcli

#endif
