// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_FILES_H
#define ORSEL_TOKENLIB_FILES_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

#include "tokenlib/Hex.h"

namespace tokenlib {

/// A file that cannot be read or written; what() names the file and the reason.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Path of an entry of a directory.
std::string JoinPath(const std::string& directory, const std::string& name);

/// No file of a token library is larger: a damaged one must not fill the memory.
constexpr std::size_t LARGEST_FILE = 1048576;

/// Which version of a file one has seen: two equal stamps mean an unchanged file.
struct FileStamp {
    dev_t m_Device = 0;
    ino_t m_Inode = 0;
    off_t m_Size = 0;
    timespec m_Modified = {};
    timespec m_Changed = {};

    bool operator==(const FileStamp& other) const;
    bool operator!=(const FileStamp& other) const { return !(*this == other); }
};

/// Nothing when the file is not there or cannot be reached.
std::optional<FileStamp> StampOf(const std::string& path);

/// The whole content of a regular file of at most LARGEST_FILE bytes; throws FileError for
/// anything else, and never waits for a pipe or a device.
Bytes ReadFile(const std::string& path);

/// Owns an open file descriptor; a negative number owns nothing.
class Descriptor {
public:
    explicit Descriptor(int number) : m_Number(number) {}
    ~Descriptor();
    Descriptor(const Descriptor&) = delete; // the number is closed once
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return m_Number; }

private:
    int m_Number;
};

/// Throws FileError with the words of the system for `error`.
[[noreturn]] void FailOnFile(const std::string& path, int error);

} // namespace tokenlib

#endif
