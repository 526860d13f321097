// SPDX-License-Identifier: MIT
#include "foundation/FileSystem.h"

#include <cstddef>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/foundation/UsedMemory.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using namespace Velmor;

namespace {

/// A path table with a home and a temp directory of its own.
class APathTable : public testing::Test {
protected:
    APathTable() : m_Home("HOME", m_Dir.Path("home").c_str()), m_Temp("TMPDIR", m_Dir.Path("temp").c_str()) {
        FileSystem::Destroy();
        Table().Initialize("");
    }
    ~APathTable() override { FileSystem::Destroy(); }

    static FileSystem& Table() { return *FileSystem::GetHandle(); }
    static BasePath Base(int base) { return static_cast<BasePath>(base); }

    TempDir m_Dir;
    ScopedVariable m_Home;
    ScopedVariable m_Temp;
};

} // namespace

TEST(PathConstants, AreTheNamesOfTheFamily) {
    EXPECT_STREQ(".velmor", VELMOR_PATH_USR);
    EXPECT_STREQ("velmor", VELMOR_PATH_SYS);
}

TEST(PathRow, IsMadeOfBasePathAndFileAndStartsAtZero) {
    static_assert(offsetof(_PathConfig, m_Base) == 0);
    static_assert(offsetof(_PathConfig, m_Base) < offsetof(_PathConfig, m_Path));
    static_assert(offsetof(_PathConfig, m_Path) < offsetof(_PathConfig, m_File));
    const OnUsedMemory<_PathConfig> row;
    EXPECT_EQ(BASE_PATH_USER, row->m_Base);
}

TEST(FileSystem, IsOneInstanceThatStartsEmpty) {
    FileSystem::Destroy();
    FileSystem* const table = FileSystem::GetHandle();
    EXPECT_EQ(table, FileSystem::GetHandle());
    EXPECT_EQ("", table->GetProgramDirectory());
    EXPECT_EQ("", table->GetUserDirectory());
    EXPECT_EQ("", table->GetAllUserDirectory());
    EXPECT_EQ("", table->GetTempDirectory());
    FileSystem::Destroy();
}

TEST_F(APathTable, StartsAfreshAfterDestroy) {
    Table().AddConfig(1, Base(0), "a", "b");
    FileSystem::Destroy();
    FileSystem::Destroy();
    EXPECT_EQ(nullptr, Table().GetConfigEntry(1));
    EXPECT_EQ("", Table().GetUserDirectory());
}

TEST_F(APathTable, FindsTheBaseDirectories) {
    EXPECT_EQ(m_Dir.Path("home") + "/.velmor", Table().GetUserDirectory());
    EXPECT_EQ("/etc/velmor", Table().GetAllUserDirectory());
    EXPECT_EQ(m_Dir.Path("temp"), Table().GetTempDirectory());
    EXPECT_EQ(std::filesystem::read_symlink("/proc/self/exe").parent_path().string(),
              Table().GetProgramDirectory());
}

TEST_F(APathTable, FindsTheBaseDirectoriesAnewAtEachInitialize) {
    const ScopedVariable home("HOME", "/home/u");
    const ScopedVariable temp("TMPDIR", nullptr);
    Table().Initialize("");
    EXPECT_EQ("/home/u/.velmor", Table().GetUserDirectory());
    EXPECT_EQ("/tmp/", Table().GetTempDirectory());
}

TEST_F(APathTable, StoresRowsWithForwardSlashes) {
    EXPECT_TRUE(Table().AddConfig(7, Base(2), "a b\\c\\", "file"));
    const _PathConfig* const row = Table().GetConfigEntry(7);
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(BASE_PATH_PROGRAM, row->m_Base);
    EXPECT_EQ("a b/c/", row->m_Path);
    EXPECT_EQ("file", row->m_File);
}

TEST_F(APathTable, ReplacesARowOfTheSameId) {
    Table().AddConfig(7, Base(0), "a", "b");
    Table().AddConfig(7, Base(1), "c", "d");
    EXPECT_EQ("c", Table().GetConfigEntry(7)->m_Path);
}

TEST_F(APathTable, AddsRowsUnderConsecutiveIds) {
    const _PathConfig rows[] = {{BASE_PATH_USER, "a\\", "x"}, {BASE_PATH_TEMP, "b\\", "y"}};
    EXPECT_TRUE(Table().AddConfigs(5, rows, 2));
    EXPECT_EQ("a/", Table().GetConfigEntry(5)->m_Path);
    EXPECT_EQ("b/", Table().GetConfigEntry(6)->m_Path);
    EXPECT_EQ("y", Table().GetConfigEntry(6)->m_File);
    EXPECT_EQ(nullptr, Table().GetConfigEntry(7));
}

TEST_F(APathTable, AddsNothingForACountBelow1) {
    EXPECT_TRUE(Table().AddConfigs(5, nullptr, 0));
    EXPECT_TRUE(Table().AddConfigs(5, nullptr, -1));
    EXPECT_EQ(nullptr, Table().GetConfigEntry(5));
}

TEST_F(APathTable, BuildsPathsFromTheBaseOfTheRow) {
    const std::string bases[] = {Table().GetUserDirectory(), "/etc/velmor", Table().GetProgramDirectory(),
                                 Table().GetTempDirectory(), Table().GetTempDirectory()};
    for (const int base : {0, 1, 2, 3, 4}) {
        Table().AddConfig(1, Base(base), "a\\b\\", "c");
        EXPECT_EQ(bases[base] + "/a/b/", Table().GetPath(1, false)) << base;
        EXPECT_EQ(bases[base] + "/a/b/c", Table().GetFile(1, false)) << base;
    }
}

TEST_F(APathTable, JoinsTheSubDirectoryBetweenBaseAndPath) {
    Table().Initialize("sub");
    Table().AddConfig(1, Base(3), "a", "");
    Table().AddConfig(2, Base(3), "", "c");
    const std::string base = m_Dir.Path("temp") + "/sub";
    EXPECT_EQ(base + "/a", Table().GetPath(1, false));
    EXPECT_EQ(base + "/a", Table().GetFile(1, false));
    EXPECT_EQ(base, Table().GetPath(2, false));
    EXPECT_EQ(base + "/c", Table().GetFile(2, false));
}

TEST_F(APathTable, GivesNothingForAnUnknownId) {
    EXPECT_EQ("", Table().GetPath(99, false));
    EXPECT_EQ("", Table().GetPath(99, true));
    EXPECT_EQ("", Table().GetFile(99, true));
    EXPECT_EQ(nullptr, Table().GetConfigEntry(99));
    EXPECT_TRUE(std::filesystem::is_empty(m_Dir.Path()));
}

TEST_F(APathTable, CreatesNothingUnlessAsked) {
    Table().AddConfig(1, Base(0), "a\\", "c");
    Table().GetPath(1, false);
    Table().GetFile(1, false);
    EXPECT_TRUE(std::filesystem::is_empty(m_Dir.Path()));
}

TEST_F(APathTable, CreatesEveryLevelOfAPathThatEndsInASlash) {
    Table().AddConfig(1, Base(0), "a\\b\\", "");
    Table().AddConfig(2, Base(0), "c\\d", "");
    EXPECT_TRUE(std::filesystem::is_directory(Table().GetPath(1, true)));
    EXPECT_FALSE(std::filesystem::exists(Table().GetPath(2, true)));
    EXPECT_TRUE(std::filesystem::is_directory(m_Dir.Path("home") + "/.velmor/c"));
}

TEST_F(APathTable, EmptiesTheFileEachTimeItIsCreated) {
    Table().AddConfig(1, Base(0), "a\\", "file");
    const std::string path = Table().GetFile(1, true);
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
    std::ofstream(path) << "content";
    EXPECT_EQ(path, Table().GetFile(1, true));
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
    EXPECT_EQ("", ContentOf(path));
}

TEST_F(APathTable, CreatesNoFileForARowWithoutOne) {
    Table().AddConfig(1, Base(0), "a\\", "");
    EXPECT_EQ(m_Dir.Path("home") + "/.velmor/a/", Table().GetFile(1, true));
    EXPECT_TRUE(std::filesystem::is_empty(m_Dir.Path("home") + "/.velmor/a"));
}

TEST(ToNativeFS, TurnsEveryBackslash) {
    EXPECT_EQ("a/b//c/", FileSystem::toNativeFS("a\\b\\\\c/"));
    EXPECT_EQ("", FileSystem::toNativeFS(""));
}
