// SPDX-License-Identifier: MIT
#include "tokenlib/Files.h"

#include <sys/stat.h>

#include <gmock/gmock.h>

#include "tests/support/TempDir.h"

using tokenlib::FileError;
using tokenlib::ReadFile;

TEST(AFileOfATokenLibrary, MayBeAsLargeAsTheLimit) {
    const TempDir folder;
    const std::string path = folder.File("file", std::string(tokenlib::LARGEST_FILE, 'x'));
    EXPECT_EQ(tokenlib::LARGEST_FILE, ReadFile(path).size());
    folder.File("file", std::string(tokenlib::LARGEST_FILE + 1, 'x'));
    EXPECT_THROW(ReadFile(path), FileError);
}

TEST(AFileOfATokenLibrary, IsNoDirectoryAndNoPipe) {
    const TempDir folder;
    EXPECT_THROW(ReadFile(folder.Path()), FileError);
    ASSERT_EQ(0, mkfifo(folder.Path("pipe").c_str(), 0600));
    EXPECT_THROW(ReadFile(folder.Path("pipe")), FileError) << "and nobody waits for its other end";
}

TEST(AFileOfATokenLibrary, IsNamedInTheError) {
    try {
        ReadFile("/no/such/file");
        FAIL() << "no error";
    } catch (const FileError& error) {
        EXPECT_STREQ("/no/such/file: No such file or directory", error.what());
    }
}

TEST(AFileOfATokenLibrary, ThatCannotBeReadToItsEndIsAnError) {
    try {
        ReadFile("/proc/self/mem"); // nothing lies at its beginning
        FAIL() << "no error";
    } catch (const FileError& error) {
        EXPECT_STREQ("/proc/self/mem: Input/output error", error.what());
    }
}

TEST(TheStampOfAFile, IsOfThisFileAsItIsNow) {
    const TempDir folder;
    const std::string path = folder.File("file", "content");
    const auto stamp = tokenlib::StampOf(path);
    ASSERT_TRUE(stamp);
    EXPECT_TRUE(*stamp == *tokenlib::StampOf(path));
    EXPECT_FALSE(*stamp == *tokenlib::StampOf(folder.File("other", "content")));
    EXPECT_FALSE(*stamp == *tokenlib::StampOf("/proc/self/status")) << "on another device";
    folder.File("file", "more content");
    EXPECT_FALSE(*stamp == *tokenlib::StampOf(path));
    EXPECT_FALSE(tokenlib::StampOf("/no/such/file"));
}
