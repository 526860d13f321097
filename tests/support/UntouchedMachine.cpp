// SPDX-License-Identifier: MIT
// Whatever a test does, the machine's "/etc" and the user's home stay as they are. The program's own way is
// to make its directories in both as soon as it looks for its settings, so every test program that may come
// to that links this file: before main() it gets a home of its own, and loses the right to write below "/etc"
// if it has it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

#include "tests/support/PrivateEtc.h"
#include "tests/support/WriteProtection.h"

namespace {

/// A home that is gone with the process that made it.
class TemporaryHome {
public:
    TemporaryHome() : m_Path((std::filesystem::temp_directory_path() / "orsel-home-XXXXXX").string()) {
        if (mkdtemp(m_Path.data()) == nullptr) {
            std::perror(m_Path.c_str());
            std::abort();
        }
        setenv("HOME", m_Path.c_str(), 1);
        for (const char* elsewhere :
             {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
            unsetenv(elsewhere);
        }
    }
    ~TemporaryHome() {
        std::error_code ignored;
        if (getpid() == m_Maker) {
            std::filesystem::remove_all(m_Path, ignored);
        }
    }
    TemporaryHome(const TemporaryHome&) = delete; // one folder, one owner
    TemporaryHome& operator=(const TemporaryHome&) = delete;

private:
    std::string m_Path;
    const pid_t m_Maker = getpid();
};

/// Empty, or why "/etc" could be written to all the same. A machine without namespaces may still know how to
/// keep a process from writing; a private "/etc" comes first, since that other way rules out all mounts.
std::string ProtectEtc() {
    if (access("/etc", W_OK) != 0) {
        return "";
    }
    const std::string obstacle = privateetc::EnterReadOnly();
    return obstacle.empty() || ForbidWritingBelow("/etc") ? "" : obstacle;
}

/// Runs no test on a machine that cannot be kept untouched.
class UntouchedMachine : public testing::Environment {
public:
    void SetUp() override {
        if (!m_Obstacle.empty()) {
            std::printf("[  SKIPPED ] %s\n", m_Obstacle.c_str());
            std::fflush(stdout);
            std::_Exit(EXIT_SUCCESS);
        }
    }

private:
    const TemporaryHome m_Home;
    const std::string m_Obstacle = ProtectEtc();
};

// The test library owns it, and runs its SetUp() before the first test.
[[maybe_unused]] const testing::Environment* const MACHINE =
    testing::AddGlobalTestEnvironment(new UntouchedMachine);

} // namespace
