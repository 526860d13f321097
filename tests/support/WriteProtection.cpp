// SPDX-License-Identifier: MIT
#include "tests/support/WriteProtection.h"

#include <filesystem>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#if __has_include(<linux/landlock.h>)
#include <linux/landlock.h>
#endif

#ifdef LANDLOCK_ACCESS_FS_REFER

namespace {

constexpr unsigned long long WRITING =
    LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
    LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
    LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
    LANDLOCK_ACCESS_FS_MAKE_SYM | LANDLOCK_ACCESS_FS_REFER;

bool Allow(int rules, const std::filesystem::path& directory) {
    landlock_path_beneath_attr beneath = {};
    beneath.allowed_access = WRITING;
    beneath.parent_fd = open(directory.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (beneath.parent_fd < 0) {
        return true; // a file or a link: nothing below it
    }
    const bool isAllowed =
        syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &beneath, 0) == 0;
    close(beneath.parent_fd);
    return isAllowed;
}

/// The rules know only what is allowed: all that stands beside the directory.
bool AllowAllBut(int rules, const std::filesystem::path& directory) {
    bool isAllowed = true;
    for (const auto& entry : std::filesystem::directory_iterator("/")) {
        isAllowed = isAllowed && (entry.path() == directory || Allow(rules, entry.path()));
    }
    return isAllowed;
}

} // namespace

bool ForbidWritingBelow(const std::string& directory) {
    // Version 1 would forbid every rename from one directory to another.
    if (syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 2) {
        return false;
    }
    landlock_ruleset_attr handled = {};
    handled.handled_access_fs = WRITING;
    const int rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0));
    const bool isForbidden = rules >= 0 && AllowAllBut(rules, directory) &&
                             prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                             syscall(SYS_landlock_restrict_self, rules, 0) == 0;
    if (rules >= 0) {
        close(rules);
    }
    return isForbidden;
}

#else

bool ForbidWritingBelow(const std::string&) {
    return false;
}

#endif
