// SPDX-License-Identifier: MIT
#include "tests/support/PrivateEtc.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace privateetc {

namespace {

constexpr const char* ETC = "/etc";

/// The reason that the last system call gives.
std::string Because(const std::string& what) {
    return NO_PRIVATE_ETC + what + ": " + std::strerror(errno);
}

/// A descriptor that is closed with the object.
class Descriptor {
public:
    explicit Descriptor(int number) : m_Number(number) {}
    ~Descriptor() {
        if (m_Number >= 0) {
            close(m_Number);
        }
    }
    Descriptor(const Descriptor&) = delete; // one descriptor, one owner
    Descriptor& operator=(const Descriptor&) = delete;
    int Number() const { return m_Number; }

private:
    const int m_Number;
};

bool WriteOnce(const char* path, const std::string& text) {
    std::ofstream file(path);
    return static_cast<bool>(file << text << std::flush);
}

/// Maps the caller's own ids onto themselves, so that files keep their owner.
bool MapIds(uid_t user, gid_t group) {
    const auto ontoItself = [](unsigned id) { return std::to_string(id) + ' ' + std::to_string(id) + " 1"; };
    return WriteOnce("/proc/self/setgroups", "deny") && WriteOnce("/proc/self/uid_map", ontoItself(user)) &&
           WriteOnce("/proc/self/gid_map", ontoItself(group));
}

/// Gives up what a user namespace grants, so that permissions count for a user as they did before.
void DropCapabilities() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> none = {};
    syscall(SYS_capset, &header, none.data());
}

bool MakeMountsPrivate() {
    return mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// In a changed root "/" is no mount point: joining the namespace that one is in leads to its own root for
/// the moment.
bool MakeMountsPrivateFromTheirRoot() {
    const Descriptor self(static_cast<int>(syscall(SYS_pidfd_open, getpid(), 0)));
    const Descriptor root(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const Descriptor place(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (self.Number() < 0 || root.Number() < 0 || setns(self.Number(), CLONE_NEWNS) != 0) {
        return false;
    }
    const bool isPrivate = MakeMountsPrivate();
    const int error = errno;
    if (fchdir(root.Number()) != 0 || chroot(".") != 0 ||
        (place.Number() >= 0 && fchdir(place.Number()) != 0)) {
        std::abort(); // in another root nothing that follows would be what it says
    }
    errno = error;
    return isPrivate;
}

/// Mounts that nobody else sees, for as long as it lives with the right to change them.
class Mounts {
public:
    Mounts() {
        if (!EnterNamespace()) {
            m_Obstacle = Because("this machine allows no mount namespace");
        } else if (!MakeMountsPrivate() && !MakeMountsPrivateFromTheirRoot()) {
            m_Obstacle = Because("mounts cannot be made private");
        }
    }
    ~Mounts() {
        if (m_HasUserNamespace) {
            DropCapabilities();
        }
    }
    Mounts(const Mounts&) = delete; // drops what it was given once
    Mounts& operator=(const Mounts&) = delete;

    /// Each of the following does nothing once something has failed.

    void Tmpfs(const std::string& place) { Try(place, "tmpfs", "tmpfs", 0, "mode=0755"); }
    void Bind(const std::string& source, const std::string& place) {
        Try(place, source.c_str(), "none", MS_BIND | MS_REC, nullptr);
    }
    /// Of a place that is bound: a user namespace may not take back the other restrictions of a mount.
    void MakeReadOnly(const std::string& place) {
        struct statvfs old = {};
        statvfs(place.c_str(), &old);
        const unsigned long kept =
            old.f_flag & (MS_NOSUID | MS_NODEV | MS_NOEXEC | MS_NOATIME | MS_NODIRATIME);
        Try(place, "none", "none", MS_REMOUNT | MS_BIND | MS_RDONLY | kept, nullptr);
    }
    void Move(const std::string& source, const std::string& place) {
        Try(place, source.c_str(), "none", MS_MOVE, nullptr);
    }

    bool AreFine() const { return m_Obstacle.empty(); }
    const std::string& Obstacle() const { return m_Obstacle; }

private:
    /// Root goes without a user namespace, in which it would be no other user for a while.
    bool EnterNamespace() {
        const uid_t user = geteuid();
        const gid_t group = getegid();
        if (unshare(CLONE_NEWNS) == 0) {
            return true;
        }
        m_HasUserNamespace = user != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
        return m_HasUserNamespace && MapIds(user, group);
    }
    void Try(const std::string& place, const char* source, const char* type, unsigned long flags,
             const char* options) {
        if (AreFine() && mount(source, place.c_str(), type, flags, options) != 0) {
            m_Obstacle = Because("cannot mount on " + place);
        }
    }

    std::string m_Obstacle;
    bool m_HasUserNamespace = false;
};

/// Files are copied, as far as they can be read; whole folders are taken over.
void TakeOver(Mounts& mounts, const fs::directory_entry& entry, const fs::path& place) {
    std::error_code unreadable;
    if (entry.is_symlink(unreadable)) {
        fs::copy_symlink(entry.path(), place, unreadable);
    } else if (entry.is_directory(unreadable)) {
        fs::create_directory(place, unreadable);
        mounts.Bind(entry.path(), place);
    } else if (entry.is_regular_file(unreadable)) {
        fs::copy_file(entry.path(), place, unreadable);
    }
}

void TakeOverAllBut(const std::string& name, Mounts& mounts, const fs::path& place) {
    for (const fs::directory_entry& entry : fs::directory_iterator(ETC)) {
        if (mounts.AreFine() && entry.path().filename() != name) {
            TakeOver(mounts, entry, place / entry.path().filename());
        }
    }
}

/// What a child writes into the pipe before it ends.
std::string SaidByChild(const std::array<int, 2>& ends, pid_t child) {
    const Descriptor reading(ends[0]);
    close(ends[1]);
    std::string text;
    std::array<char, 256> block = {};
    for (ssize_t size = 0; (size = read(reading.Number(), block.data(), block.size())) > 0;) {
        text.append(block.data(), static_cast<std::size_t>(size));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? text : NO_PRIVATE_ETC + std::string("the attempt at one died");
}

} // namespace

std::string EnterEmpty() {
    Mounts mounts;
    mounts.Tmpfs(ETC);
    return mounts.Obstacle();
}

std::string EnterWith(const std::string& velmor, const std::string& folder) {
    Mounts mounts;
    const fs::path made = fs::path(folder) / "etc-in-the-making";
    fs::create_directories(made);
    mounts.Tmpfs(made);
    if (mounts.AreFine()) {
        TakeOverAllBut("velmor", mounts, made);
        fs::create_directory(made / "velmor");
        mounts.Bind(velmor, made / "velmor");
    }
    mounts.Move(made, ETC);
    return mounts.Obstacle();
}

std::string EnterReadOnly() {
    Mounts mounts;
    mounts.Bind(ETC, ETC);
    mounts.MakeReadOnly(ETC);
    return mounts.Obstacle();
}

std::string Obstacle() {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return Because("no pipe to a process that tries");
    }
    const pid_t child = fork();
    if (child == 0) {
        const std::string reason = EnterEmpty();
        const ssize_t written = write(ends[1], reason.data(), reason.size());
        _exit(written == static_cast<ssize_t>(reason.size()) ? 0 : 1);
    }
    return SaidByChild(ends, child);
}

} // namespace privateetc
