// SPDX-License-Identifier: MIT
#include "formats/NewFile.h"

#include <csignal>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "tests/support/TempDir.h"

namespace fs = std::filesystem;

namespace {

bool Write(const std::string& path, const std::string& content) {
    const std::vector<unsigned char> bytes(content.begin(), content.end());
    return Velmor::WriteNewFile(path, bytes.data(), bytes.size());
}

/// No file of this process grows beyond this many bytes, for the life of the object.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_Before);
        const rlimit limit{bytes, m_Before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_Before); }

private:
    rlimit m_Before{};
};

} // namespace

TEST(WriteNewFile, MakesAFileThatOnlyItsOwnerMayRead) {
    const TempDir dir;
    const mode_t before = umask(0);
    EXPECT_TRUE(Write(dir.Path("new"), std::string("a\0b", 3)));
    umask(before);
    EXPECT_EQ(std::string("a\0b", 3), ContentOf(dir.Path("new")));
    EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, fs::status(dir.Path("new")).permissions());
}

TEST(WriteNewFile, LeavesAFileAloneThatIsThere) {
    const TempDir dir;
    const std::string path = dir.File("there", "mine");
    fs::permissions(path, fs::perms::all);
    EXPECT_FALSE(Write(path, "other"));
    EXPECT_EQ("mine", ContentOf(path));
}

TEST(WriteNewFile, WritesThroughNoLink) {
    const TempDir dir;
    const std::string target = dir.File("target", "mine");
    fs::create_symlink(target, dir.Path("link"));
    fs::create_symlink(dir.Path("nowhere"), dir.Path("dangling"));
    EXPECT_FALSE(Write(dir.Path("link"), "other"));
    EXPECT_FALSE(Write(dir.Path("dangling"), "other"));
    EXPECT_EQ("mine", ContentOf(target));
    EXPECT_FALSE(fs::exists(dir.Path("nowhere")));
}

TEST(WriteNewFile, FailsWhereThereIsNoFolder) {
    const TempDir dir;
    EXPECT_FALSE(Write(dir.Path("no folder/new"), "x"));
    EXPECT_FALSE(Write("", "x"));
}

TEST(WriteNewFile, FailsOnAFullDisk) {
    const TempDir dir;
    const FullDisk full(10000);
    EXPECT_FALSE(Write(dir.Path("large"), std::string(20000, 'x')));
    EXPECT_TRUE(Write(dir.Path("small"), std::string(10000, 'x')));
}
