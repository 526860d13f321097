// SPDX-License-Identifier: MIT
// Calls of the system that a signal interrupts: the linker's --wrap stands between them and the room.
#include <cerrno>

#include <gmock/gmock.h>
#include <sys/types.h>

#include "tests/support/TempDir.h"
#include "tokenlib/Files.h"
#include "tokenlib/Trace.h"

namespace {

int g_InterruptionsYet = 0;

bool IsInterrupted() {
    if (g_InterruptionsYet == 0) {
        return false;
    }
    --g_InterruptionsYet;
    errno = EINTR;
    return true;
}

} // namespace

extern "C" {

ssize_t __real_read(int descriptor, void* bytes, size_t size);
ssize_t __real_write(int descriptor, const void* bytes, size_t size);

ssize_t __wrap_read(int descriptor, void* bytes, size_t size) {
    return IsInterrupted() ? -1 : __real_read(descriptor, bytes, size);
}

ssize_t __wrap_write(int descriptor, const void* bytes, size_t size) {
    return IsInterrupted() ? -1 : __real_write(descriptor, bytes, size);
}

} // extern "C"

TEST(AnInterruption, KeepsNobodyFromReadingAFile) {
    const TempDir folder;
    const std::string path = folder.File("file", "content");
    g_InterruptionsYet = 2;
    EXPECT_EQ("content", tokenlib::TextOf(tokenlib::ReadFile(path)));
    EXPECT_EQ(0, g_InterruptionsYet);
}

TEST(AnInterruption, LosesNoLineOfTheTrace) {
    const TempDir folder;
    const tokenlib::Trace trace(folder.Path("trace"));
    g_InterruptionsYet = 2;
    trace.Write("C_GetInfo");
    EXPECT_EQ(0, g_InterruptionsYet);
    EXPECT_THAT(ContentOf(folder.Path("trace")), testing::EndsWith(" C_GetInfo\n"));
}
