// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using Velmor::ShowCertificate;

namespace {

/// Sends standard error to a file for the life of the object.
class StandardErrorTo {
public:
    explicit StandardErrorTo(const std::string& path) : m_Before(dup(STDERR_FILENO)) {
        FILE* file = std::fopen(path.c_str(), "w");
        dup2(fileno(file), STDERR_FILENO);
        std::fclose(file);
    }
    StandardErrorTo(const StandardErrorTo&) = delete;
    StandardErrorTo& operator=(const StandardErrorTo&) = delete;
    ~StandardErrorTo() {
        dup2(m_Before, STDERR_FILENO);
        close(m_Before);
    }

private:
    int m_Before;
};

/// For the life of the object orphans below this process become its children, as they become those of the
/// system's first process otherwise: so a test can wait for a viewer.
class Guardian {
public:
    Guardian() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
    Guardian(const Guardian&) = delete;
    Guardian& operator=(const Guardian&) = delete;
    ~Guardian() {
        while (waitpid(-1, nullptr, 0) > 0) {
        }
        prctl(PR_SET_CHILD_SUBREAPER, 0);
    }
};

/// Waits for the one child of this process and returns its exit code.
int ExitCodeOfTheChild() {
    int status = 0;
    EXPECT_LT(0, waitpid(-1, &status, 0));
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

std::string g_ExitMark;
pid_t g_Parent;

void LeaveMarkInAChild() {
    if (getpid() != g_Parent) {
        std::ofstream(g_ExitMark) << "exit handlers have run";
    }
}

void MakeViewer(const TempDir& dir, const std::string& script) {
    std::filesystem::permissions(dir.File("certViewerApp", "#!/bin/sh\n" + script),
                                 std::filesystem::perms::owner_all);
}

} // namespace

TEST(ShowCertificate, StartsTheViewerOnThePathWithTheFileAsItsOneArgument) {
    const Guardian guardian;
    const TempDir dir;
    MakeViewer(dir, "printf '%s|%s|' \"$#\" \"$1\" >\"${0%/*}/arguments\"\n");
    const ScopedVariable path("PATH", dir.Path());
    EXPECT_TRUE(ShowCertificate("/tmp/a b;c $HOME.cer"));
    EXPECT_EQ(0, ExitCodeOfTheChild());
    EXPECT_EQ("1|/tmp/a b;c $HOME.cer|", ContentOf(dir.Path("arguments")));
}

TEST(ShowCertificate, DoesNotWaitForTheViewer) {
    const Guardian guardian;
    const TempDir dir;
    // The viewer ends only when this test lets it.
    ASSERT_EQ(0, mkfifo(dir.Path("gate").c_str(), 0600));
    MakeViewer(dir, "read line <\"${0%/*}/gate\"\n");
    const ScopedVariable path("PATH", dir.Path());
    EXPECT_TRUE(ShowCertificate("cert.cer"));
    int status = 0;
    EXPECT_EQ(0, waitpid(-1, &status, WNOHANG));
    std::ofstream(dir.Path("gate")) << "go\n";
    ExitCodeOfTheChild();
}

TEST(ShowCertificate, SaysOnStandardErrorThatThereIsNoViewer) {
    const Guardian guardian;
    const TempDir dir;
    const ScopedVariable path("PATH", dir.Path());
    {
        const StandardErrorTo file(dir.Path("stderr"));
        EXPECT_TRUE(ShowCertificate("cert.cer"));
        EXPECT_EQ(255, ExitCodeOfTheChild());
    }
    EXPECT_EQ("ERROR: can not execute certViewerApp: No such file or directory\n",
              ContentOf(dir.Path("stderr")));
}

TEST(ShowCertificate, AChildWithoutAViewerRunsNoExitHandlers) {
    const Guardian guardian;
    const TempDir dir;
    const ScopedVariable path("PATH", dir.Path());
    g_Parent = getpid();
    g_ExitMark = dir.Path("mark");
    ASSERT_EQ(0, std::atexit(LeaveMarkInAChild));
    const StandardErrorTo file(dir.Path("stderr"));
    EXPECT_TRUE(ShowCertificate("cert.cer"));
    ExitCodeOfTheChild();
    EXPECT_EQ("", ContentOf(g_ExitMark));
}

TEST(ShowCertificate, LeavesNoChildBehind) {
    const TempDir dir;
    ASSERT_EQ(0, mkfifo(dir.Path("gate").c_str(), 0600));
    MakeViewer(dir, "echo ready >\"${0%/*}/gate\"\n");
    const ScopedVariable path("PATH", dir.Path());
    EXPECT_TRUE(ShowCertificate("cert.cer"));
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)); // neither one that runs nor a zombie
    EXPECT_EQ(ECHILD, errno);
    EXPECT_EQ("ready\n", ContentOf(dir.Path("gate")));
}

TEST(ShowCertificate, WorksWhereTheEndsOfChildrenAreIgnored) {
    const Guardian guardian;
    const TempDir dir;
    const ScopedVariable path("PATH", dir.Path());
    const StandardErrorTo file(dir.Path("stderr"));
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(ShowCertificate("cert.cer"));
    std::signal(SIGCHLD, before);
}

TEST(ShowCertificate, IsFalseIfOnlyTheFirstOfItsTwoProcessesCanBeStarted) {
    const pid_t limited = fork();
    if (limited == 0) {
        // As a user of whom no process runs: two of them are this one and the first below it.
        const rlimit two{2, 2};
        const bool isLimited = setrlimit(RLIMIT_NPROC, &two) == 0 && (getuid() != 0 || setuid(54321) == 0);
        _exit(isLimited && !ShowCertificate("cert.cer") ? 0 : 1);
    }
    EXPECT_EQ(0, ExitCodeOfTheChild());
}

TEST(ShowCertificate, IsFalseIfNoProcessCanBeStarted) {
    const pid_t limited = fork();
    if (limited == 0) {
        const rlimit none{0, 0};
        const bool isLimited =
            setrlimit(RLIMIT_NPROC, &none) == 0 && (getuid() != 0 || setuid(65534) == 0); // root has no limit
        _exit(isLimited && !ShowCertificate("cert.cer") ? 0 : 1);
    }
    EXPECT_EQ(0, ExitCodeOfTheChild());
}
