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
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0)
            close(m_number);
    }
    Descriptor(const Descriptor&) = delete; // the number is closed once
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }

private:
    int m_number;
};

[[noreturn]] void fail(const std::string& path, int error) {
    throw FileError(path + ": " + std::strerror(error));
}

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

void writeAll(int descriptor, const Bytes& content, const std::string& path) {
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = write(descriptor, content.data() + done, content.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(path, errno);
        done += static_cast<std::size_t>(count);
    }
}

void writeNewFile(const std::string& path, const Bytes& content) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.number() < 0)
        fail(path, errno);
    writeAll(file.number(), content, path);
}

} // namespace

std::string joinPath(const std::string& directory, const std::string& name) {
    std::string path = directory;
    path += '/';
    path += name;
    return path;
}

bool FileStamp::operator==(const FileStamp& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           sameTime(modified, other.modified) && sameTime(changed, other.changed);
}

std::optional<FileStamp> stampOf(const std::string& path) {
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0)
        return std::nullopt;
    FileStamp stamp;
    stamp.device = info.st_dev;
    stamp.inode = info.st_ino;
    stamp.size = info.st_size;
    stamp.modified = info.st_mtim;
    stamp.changed = info.st_ctim;
    return stamp;
}

Bytes readFile(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.number() < 0)
        fail(path, errno);
    struct stat info = {};
    if (fstat(file.number(), &info) != 0)
        fail(path, errno);
    if (!S_ISREG(info.st_mode))
        throw FileError(path + ": not a regular file");

    Bytes content;
    unsigned char block[16384];
    for (;;) {
        const ssize_t count = read(file.number(), block, sizeof block);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(path, errno);
        if (count == 0)
            return content;
        content.insert(content.end(), block, block + count);
        if (content.size() > largestFile)
            throw FileError(path + ": larger than " + std::to_string(largestFile) + " bytes");
    }
}

void replaceFile(const std::string& path, const Bytes& content) {
    const std::filesystem::path target(path);
    const std::string temporary =
        (target.parent_path() / ("." + target.filename().string() + "." + std::to_string(getpid()))).string();
    try {
        writeNewFile(temporary, content);
        if (std::rename(temporary.c_str(), path.c_str()) != 0)
            fail(path, errno);
    } catch (...) {
        unlink(temporary.c_str());
        throw;
    }
}

OpenDirectory::OpenDirectory(const std::string& directory)
    : m_descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      m_isMissing(m_descriptor < 0 && errno == ENOENT),
      m_path(m_descriptor < 0 ? directory : "/proc/self/fd/" + std::to_string(m_descriptor)) {}

OpenDirectory::~OpenDirectory() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

DirectoryLock::DirectoryLock(const std::string& directory)
    : m_descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    while (m_descriptor >= 0 && flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) {
    }
}

DirectoryLock::~DirectoryLock() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

} // namespace orselsim
