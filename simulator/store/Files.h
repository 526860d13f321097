// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_FILES_H
#define ORSEL_SIMULATOR_STORE_FILES_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

#include "simulator/store/Hex.h"

namespace orselsim {

/// A file of a deck that cannot be read or written; what() names the file and the reason.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Path of an entry of a directory.
std::string JoinPath(const std::string& directory, const std::string& name);

/// No file of a card is larger: a damaged deck must not fill the memory.
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

/// The whole content of a regular file of at most `largestFile` bytes; throws FileError for
/// anything else, and never waits for a pipe or a device.
Bytes ReadFile(const std::string& path);

/// Writes a temporary file beside `path` and renames it, so that a reader sees the old content or
/// the new one. Throws FileError and leaves the old file when that fails.
void ReplaceFile(const std::string& path, const Bytes& content);

/// A directory that stays the same one while it is read, also when it is renamed meanwhile.
class OpenDirectory {
public:
    explicit OpenDirectory(const std::string& directory);
    ~OpenDirectory();
    OpenDirectory(const OpenDirectory&) = delete; // one descriptor, one owner
    OpenDirectory& operator=(const OpenDirectory&) = delete;

    /// Whether there was no such directory.
    bool IsMissing() const { return m_IsMissing; }
    /// A path that leads to it as long as this object lives; the one given when it cannot be opened.
    const std::string& GetPath() const { return m_Path; }

private:
    int m_Descriptor;
    bool m_IsMissing;
    std::string m_Path;
};

/// Keeps other processes from changing a card between reading its state and writing it back. A
/// directory that cannot be locked is used without: a read-only deck can still be read.
class DirectoryLock {
public:
    explicit DirectoryLock(const std::string& directory);
    ~DirectoryLock();
    DirectoryLock(const DirectoryLock&) = delete; // one lock, one owner
    DirectoryLock& operator=(const DirectoryLock&) = delete;

private:
    int m_Descriptor;
};

} // namespace orselsim

#endif
