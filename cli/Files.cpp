// SPDX-License-Identifier: MIT
#include "cli/Files.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/Interruption.h"

namespace orselcli {

namespace {

/// Owns an open file.
class Descriptor {
public:
    explicit Descriptor(int number) : m_Number(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete; // one owner
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return m_Number; }
    bool IsOpen() const { return m_Number >= 0; }
    bool Close() {
        const int number = m_Number;
        m_Number = -1;
        return number < 0 || close(number) == 0;
    }

private:
    int m_Number;
};

/// A temporary file that is gone again unless it takes its final name.
class PendingFile {
public:
    explicit PendingFile(const std::string& target) : m_Target(target), m_Path(target + ".XXXXXX") {}
    ~PendingFile() {
        if (m_IsMade) {
            unlink(m_Path.c_str());
        }
        Interruption::GuardFile("");
    }
    PendingFile(const PendingFile&) = delete; // one owner
    PendingFile& operator=(const PendingFile&) = delete;

    int Make() {
        const int descriptor = mkstemp(m_Path.data());
        m_IsMade = descriptor >= 0;
        if (m_IsMade) {
            Interruption::GuardFile(m_Path);
        }
        return descriptor;
    }
    bool TakeName() {
        const bool isRenamed = rename(m_Path.c_str(), m_Target.c_str()) == 0;
        m_IsMade = !isRenamed;
        return isRenamed;
    }

private:
    std::string m_Target;
    std::string m_Path;
    bool m_IsMade = false;
};

Outcome Failed(Reason reason, const std::string& path) {
    return Outcome(reason, path + ": " + std::strerror(errno));
}

bool WriteAll(int descriptor, const Bytes& content) {
    for (size_t written = 0; written < content.size();) {
        const ssize_t count = write(descriptor, content.data() + written, content.size() - written);
        if (count < 0 && (errno != EINTR || Interruption::HasCome())) {
            return false;
        }
        written += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}

/// The rights that a new file would have had, or those of the file that is replaced.
mode_t RightsOf(const struct stat* present) {
    if (present != nullptr) {
        return present->st_mode & 07777;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// Brings a rename to the disk; a file system that cannot do that does it in its own time.
void SyncDirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.IsOpen()) {
        fsync(opened.Number());
    }
}

/// Where the name leads to: a link stays a link.
std::string FollowedPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> followed(realpath(path.c_str(), nullptr), std::free);
    return followed != nullptr ? followed.get() : path;
}

Outcome WriteInPlace(const std::string& path, const Bytes& content) {
    if (Interruption::HasCome()) {
        return Failed(Reason::OUTPUT_FAILED, path);
    }
    Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        return Failed(Reason::OUTPUT_UNWRITABLE, path);
    }
    return WriteAll(file.Number(), content) && file.Close() ? Outcome() : Failed(Reason::OUTPUT_FAILED, path);
}

} // namespace

Outcome ReadInput(const std::string& path, Bytes& content, size_t largest) {
    const bool isStandard = path.empty() || path == "-";
    const Descriptor opened(isStandard ? -1 : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!isStandard && !opened.IsOpen()) {
        return Failed(Reason::INPUT_UNREADABLE, path);
    }
    const int descriptor = isStandard ? STDIN_FILENO : opened.Number();
    content.reserve(1); // an empty file is hashed too, which takes a vector that has held storage
    content.clear();
    unsigned char block[65536];
    while (true) {
        const bool isReady = Interruption::WaitForInput(descriptor); // a pipe may keep one waiting
        const ssize_t count = isReady ? read(descriptor, block, sizeof(block)) : -1;
        if (count < 0) {
            return Failed(Reason::INPUT_UNREADABLE, isStandard ? "-" : path);
        }
        if (count == 0) {
            return {};
        }
        if (content.size() + static_cast<size_t>(count) > largest) {
            return Outcome(Reason::INPUT_TOO_LARGE, isStandard ? "-" : path);
        }
        content.insert(content.end(), block, block + count);
    }
}

Outcome WriteOutput(const std::string& path, const Bytes& content) {
    const std::string target = FollowedPath(path);
    struct stat status = {};
    const bool isThere = stat(target.c_str(), &status) == 0;
    if (isThere && !S_ISREG(status.st_mode)) {
        return WriteInPlace(target, content);
    }
    PendingFile pending(target);
    Descriptor file(pending.Make());
    if (!file.IsOpen()) {
        return Failed(Reason::OUTPUT_UNWRITABLE, path);
    }
    const bool isWritten = fchmod(file.Number(), RightsOf(isThere ? &status : nullptr)) == 0 &&
                           WriteAll(file.Number(), content) && fsync(file.Number()) == 0 && file.Close();
    if (!isWritten || Interruption::HasCome() || !pending.TakeName()) {
        return Failed(Reason::OUTPUT_FAILED, path);
    }
    SyncDirectoryOf(target);
    return {};
}

} // namespace orselcli
