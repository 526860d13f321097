// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_FILEHANDLE_H
#define ORSEL_FOUNDATION_FILEHANDLE_H

#include <cstdio>
#include <memory>
#include <string>

namespace Velmor {

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

/// A stream of the C library that is closed with its owner. Who has to know whether closing worked releases
/// it and calls std::fclose.
using FileHandle = std::unique_ptr<FILE, FileCloser>;

/// Null if the file does not open. The mode is that of std::fopen.
inline FileHandle OpenFile(const std::string& path, const char* mode) {
    return FileHandle(std::fopen(path.c_str(), mode));
}

} // namespace Velmor

#endif
