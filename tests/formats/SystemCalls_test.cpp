// SPDX-License-Identifier: MIT
// Calls of the system that fail seldom: the linker's --wrap stands between them and the room.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <iterator>

#include <gtest/gtest.h>
#include <sys/types.h>

#include "formats/NewFile.h"
#include "formats/slCertificate.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

namespace fs = std::filesystem;

namespace {

bool g_IsWithoutStreams = false;
int g_InterruptionsYet = 0;

std::ptrdiff_t OpenDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

} // namespace

extern "C" {

FILE* __real_fdopen(int descriptor, const char* mode);
pid_t __real_waitpid(pid_t child, int* status, int options);

FILE* __wrap_fdopen(int descriptor, const char* mode) {
    if (g_IsWithoutStreams) {
        errno = ENOMEM;
        return nullptr;
    }
    return __real_fdopen(descriptor, mode);
}

pid_t __wrap_waitpid(pid_t child, int* status, int options) {
    if (g_InterruptionsYet > 0) {
        --g_InterruptionsYet;
        errno = EINTR;
        return -1;
    }
    return __real_waitpid(child, status, options);
}

} // extern "C"

TEST(WriteNewFile, WithoutAStreamLeavesNoDescriptorOpen) {
    const TempDir dir;
    const std::ptrdiff_t before = OpenDescriptors();
    const unsigned char byte = 'x';
    g_IsWithoutStreams = true;
    EXPECT_FALSE(Velmor::WriteNewFile(dir.Path("new"), &byte, 1));
    g_IsWithoutStreams = false;
    EXPECT_EQ(before, OpenDescriptors());
    EXPECT_TRUE(Velmor::WriteNewFile(dir.Path("another"), &byte, 1));
    EXPECT_EQ("x", ContentOf(dir.Path("another")));
}

TEST(ShowCertificate, WaitsOnAfterASignal) {
    const TempDir dir;
    const ScopedVariable path("PATH", dir.Path());
    g_InterruptionsYet = 2;
    EXPECT_TRUE(Velmor::ShowCertificate("cert.cer"));
    EXPECT_EQ(0, g_InterruptionsYet);
    EXPECT_EQ(-1, __real_waitpid(-1, nullptr, 0)) << "no child is left";
    EXPECT_EQ(ECHILD, errno);
}
