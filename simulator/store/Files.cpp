// SPDX-License-Identifier: MIT
#include "simulator/store/Files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace orselsim {

namespace {

/// Owns an open file descriptor.
class Descriptor {
public:
    explicit Descriptor(int number) : m_Number(number) {}
    ~Descriptor() {
        if (m_Number >= 0) {
            close(m_Number);
        }
    }
    Descriptor(const Descriptor&) = delete; // the number is closed once
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return m_Number; }

private:
    int m_Number;
};

[[noreturn]] void Fail(const std::string& path, int error) {
    throw FileError(path + ": " + std::strerror(error));
}

bool SameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

void WriteAll(int descriptor, const Bytes& content, const std::string& path) {
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = write(descriptor, content.data() + done, content.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            Fail(path, errno);
        }
        done += static_cast<std::size_t>(count);
    }
}

void WriteNewFile(const std::string& path, const Bytes& content) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.Number() < 0) {
        Fail(path, errno);
    }
    WriteAll(file.Number(), content, path);
}

} // namespace

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
        Fail(path, errno);
    }
    struct stat info = {};
    if (fstat(file.Number(), &info) != 0) {
        Fail(path, errno);
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
            Fail(path, errno);
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

void ReplaceFile(const std::string& path, const Bytes& content) {
    const std::filesystem::path target(path);
    const std::string temporary =
        (target.parent_path() / ("." + target.filename().string() + "." + std::to_string(getpid()))).string();
    try {
        WriteNewFile(temporary, content);
        if (std::rename(temporary.c_str(), path.c_str()) != 0) {
            Fail(path, errno);
        }
    } catch (...) {
        unlink(temporary.c_str());
        throw;
    }
}

OpenDirectory::OpenDirectory(const std::string& directory)
    : m_Descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      m_IsMissing(m_Descriptor < 0 && errno == ENOENT),
      m_Path(m_Descriptor < 0 ? directory : "/proc/self/fd/" + std::to_string(m_Descriptor)) {}

OpenDirectory::~OpenDirectory() {
    if (m_Descriptor >= 0) {
        close(m_Descriptor);
    }
}

DirectoryLock::DirectoryLock(const std::string& directory)
    : m_Descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    while (m_Descriptor >= 0 && flock(m_Descriptor, LOCK_EX) != 0 && errno == EINTR) {
    }
}

DirectoryLock::~DirectoryLock() {
    if (m_Descriptor >= 0) {
        close(m_Descriptor);
    }
}

} // namespace orselsim
