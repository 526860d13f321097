// SPDX-License-Identifier: MIT
#include "tokenlib/Files.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace tokenlib {

namespace {

bool SameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

Descriptor::~Descriptor() {
    if (m_Number >= 0) {
        close(m_Number);
    }
}

void FailOnFile(const std::string& path, int error) {
    throw FileError(path + ": " + std::strerror(error));
}

std::string JoinPath(const std::string& directory, const std::string& name) {
    std::string path = directory;
    path += '/';
    path += name;
    return path;
}

bool FileStamp::operator==(const FileStamp& other) const {
    return m_Device == other.m_Device && m_Inode == other.m_Inode && m_Size == other.m_Size &&
           SameTime(m_Modified, other.m_Modified) && SameTime(m_Changed, other.m_Changed);
}

std::optional<FileStamp> StampOf(const std::string& path) {
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0) {
        return std::nullopt;
    }
    FileStamp stamp;
    stamp.m_Device = info.st_dev;
    stamp.m_Inode = info.st_ino;
    stamp.m_Size = info.st_size;
    stamp.m_Modified = info.st_mtim;
    stamp.m_Changed = info.st_ctim;
    return stamp;
}

Bytes ReadFile(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.Number() < 0) {
        FailOnFile(path, errno);
    }
    struct stat info = {};
    if (fstat(file.Number(), &info) != 0) {
        FailOnFile(path, errno);
    }
    if (!S_ISREG(info.st_mode)) {
        throw FileError(path + ": not a regular file");
    }

    Bytes content;
    unsigned char block[16384];
    for (;;) {
        const ssize_t count = read(file.Number(), block, sizeof block);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            FailOnFile(path, errno);
        }
        if (count == 0) {
            return content;
        }
        content.insert(content.end(), block, block + count);
        if (content.size() > LARGEST_FILE) {
            throw FileError(path + ": larger than " + std::to_string(LARGEST_FILE) + " bytes");
        }
    }
}

} // namespace tokenlib
