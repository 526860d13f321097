// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_FILES_H
#define ORSEL_SIMULATOR_STORE_FILES_H

#include <string>

#include "simulator/store/Shared.h"
#include "tokenlib/Files.h"

namespace orselsim {

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
