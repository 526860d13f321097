// SPDX-License-Identifier: MIT
#include "tests/foundation/SystemConfig.h"

#include <array>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const fs::path Directory = "/etc/velmor";
const fs::path Aside = "/etc/velmor.aside-for-tests";

/// Maps the caller's own ids onto themselves, so that files keep their owner.
void MapIds(uid_t user, gid_t group) {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
    std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
}

/// Gives up what a user namespace grants, so that permissions count for a user as they did before.
void DropCapabilities() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> none = {};
    syscall(SYS_capset, &header, none.data());
}

/// Mounts an empty "/etc" that nobody but this process sees.
bool EnterPrivateEtc() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    if (user != 0) {
        MapIds(user, group);
    }
    const bool mounted = mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         mount("tmpfs", "/etc", "tmpfs", 0, "mode=0755") == 0;
    if (user != 0) {
        fs::create_directory(Directory);
        DropCapabilities();
    }
    return mounted;
}

bool HasPrivateEtc() {
    static const bool entered = EnterPrivateEtc();
    return entered;
}

void Empty(const fs::path& directory) {
    std::error_code none;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, none)) {
        fs::remove_all(entry);
    }
}

} // namespace

SystemConfig::SystemConfig() {
    if (HasPrivateEtc()) {
        Empty(Directory);
        return;
    }
    m_IsAvailable = geteuid() == 0;
    if (m_IsAvailable) {
        m_Lock = open("/etc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        flock(m_Lock, LOCK_EX);
        if (fs::exists(Directory) && !fs::exists(Aside)) {
            fs::rename(Directory, Aside);
        }
    }
}

SystemConfig::~SystemConfig() {
    if (m_Lock == -1) {
        return;
    }
    fs::remove_all(Directory);
    if (fs::exists(Aside)) {
        fs::rename(Aside, Directory);
    }
    close(m_Lock);
}

void SystemConfig::MakeDirectory() {
    fs::create_directories(fs::path(File()).parent_path());
}

void SystemConfig::Write(const std::string& content) {
    MakeDirectory();
    std::ofstream(File(), std::ios::binary) << content;
}
