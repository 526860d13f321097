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

void WriteAll(int descriptor, const Bytes& content, const std::string& path) {
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = write(descriptor, content.data() + done, content.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            FailOnFile(path, errno);
        }
        done += static_cast<std::size_t>(count);
    }
}

void WriteNewFile(const std::string& path, const Bytes& content) {
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.Number() < 0) {
        FailOnFile(path, errno);
    }
    WriteAll(file.Number(), content, path);
}

} // namespace

void ReplaceFile(const std::string& path, const Bytes& content) {
    const std::filesystem::path target(path);
    const std::string temporary =
        (target.parent_path() / ("." + target.filename().string() + "." + std::to_string(getpid()))).string();
    try {
        WriteNewFile(temporary, content);
        if (std::rename(temporary.c_str(), path.c_str()) != 0) {
            FailOnFile(path, errno);
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
