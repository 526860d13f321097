// SPDX-License-Identifier: MIT
#include "foundation/FileAndDirectory.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/foundation/DefaultLog.h"
#include "tests/foundation/Seconds.h"
#include "tests/support/ScopedVariable.h"

using namespace Velmor;
using Texts = std::vector<std::string>;

namespace {

bool IsDirectory(const std::string& path) {
    return std::filesystem::is_directory(path);
}

/// How often this process has asked the kernel to write.
long WritesOfThisProcess() {
    std::ifstream accounts("/proc/self/io");
    std::string name;
    for (long count = 0; accounts >> name >> count;) {
        if (name == "syscw:") {
            return count;
        }
    }
    return -1;
}

/// Reads from `pipe` until the writer closes it. After the first bytes it cuts `source` off.
std::string DrainWhileTheSourceVanishes(const std::string& pipe, const std::string& source) {
    const int descriptor = open(pipe.c_str(), O_RDONLY);
    std::string content;
    char block[512];
    for (ssize_t length = 0; (length = read(descriptor, block, sizeof(block))) > 0;) {
        if (content.empty()) {
            std::filesystem::resize_file(source, 0);
        }
        content.append(block, static_cast<std::size_t>(length));
    }
    close(descriptor);
    return content;
}

} // namespace

TEST(CombinePaths, JoinsWithOneSlash) {
    struct Row {
        std::string m_A;
        std::string m_B;
        std::string m_Expected;
    };
    const std::string zero(1, '\0');
    for (const Row& row : {
             Row{"/a", "b", "/a/b"},
             Row{"/a/", "/b", "/a/b"},
             Row{"/a/", "b", "/a/b"},
             Row{"/a", "/b", "/a/b"},
             Row{"", "/b", "b"},
             Row{"", "b", "b"},
             Row{"/a", "", "/a/"},
             Row{"/a/", "", "/a/"},
             Row{"", "", ""},
             Row{"/", "/", "/"},
             Row{"a//", "//b", "a///b"}, // one slash of each side is looked at
             Row{"a" + zero, "b", "a" + zero + "b"},
             Row{"a", zero + "b", "a/b"},
         }) {
        EXPECT_EQ(row.m_Expected, CombinePaths(row.m_A, row.m_B)) << row.m_A << " + " << row.m_B;
    }
}

TEST(CombinePaths, FoldsPartsFromTheLeft) {
    const std::string parts[] = {"/a", "b/", "/c", ""};
    EXPECT_EQ("", CombinePaths(parts, 0));
    EXPECT_EQ("", CombinePaths(parts, -1));
    EXPECT_EQ("/a", CombinePaths(parts, 1));
    EXPECT_EQ("/a/b/", CombinePaths(parts, 2));
    EXPECT_EQ("/a/b/c", CombinePaths(parts, 3));
    EXPECT_EQ("/a/b/c/", CombinePaths(parts, 4));
}

TEST(CombinePaths, KeepsBothNamesOfARandomJoinWithOneSlashBetween) {
    std::mt19937 random(6);
    const auto name = [&random] {
        std::string text;
        for (auto left = 1 + random() % 8; left > 0; --left) {
            text += static_cast<char>('a' + random() % 26);
        }
        return text;
    };
    for (int round = 0; round < 1000; ++round) {
        const std::string a = name();
        const std::string b = name();
        const std::string folder = a + "/";
        const std::string joined = folder + b;
        for (const char* behind : {"", "/"}) {
            for (const char* before : {"", "/"}) {
                const std::string path = CombinePaths(a + behind, before + b);
                ASSERT_EQ(joined, path);
                ASSERT_EQ(b, GetFilenameFromPath(path));
                ASSERT_EQ(folder, RemoveLastPartFromPath(path));
            }
        }
    }
}

TEST(PathParts, AreCutAtTheLastSlash) {
    struct Row {
        const char* m_Path;
        const char* m_Parent;
        const char* m_Filename;
    };
    for (const Row& row : {
             Row{"/a/b", "/a/", "b"},
             Row{"/a/b/", "/a/", ""},
             Row{"/a/b//", "/a/b/", ""},
             Row{"/a", "/", "a"},
             Row{"/a/", "/", ""},
             Row{"a/b", "a/", "b"},
             Row{"a/", "a/", ""},
             Row{"a", "a", "a"},
             Row{"/", "/", ""},
             Row{"", "", ""},
         }) {
        EXPECT_EQ(row.m_Parent, RemoveLastPartFromPath(row.m_Path)) << row.m_Path;
        EXPECT_EQ(row.m_Filename, GetFilenameFromPath(row.m_Path)) << row.m_Path;
    }
}

TEST(FileExists, AsksWhetherTheFileCanBeRead) {
    const TempDir dir;
    EXPECT_TRUE(FileExists(dir.File("file", "")));
    EXPECT_FALSE(FileExists(dir.Path("missing")));
    EXPECT_FALSE(FileExists(""));

    const std::string secret = dir.File("secret", "x");
    std::filesystem::permissions(dir.Path(), std::filesystem::perms::all);
    std::filesystem::permissions(secret, std::filesystem::perms::none);
    const Unprivileged unprivileged;
    EXPECT_FALSE(FileExists(secret));
}

TEST(DirectoryExists, IsFalseForAFile) {
    const TempDir dir;
    EXPECT_TRUE(DirectoryExists(dir.Path()));
    EXPECT_TRUE(DirectoryExists(dir.Path() + "/"));
    EXPECT_FALSE(DirectoryExists(dir.File("file", "")));
    EXPECT_FALSE(DirectoryExists(dir.Path("missing")));
    EXPECT_FALSE(DirectoryExists(""));
}

TEST(CreateOneDir, MakesOneLevel) {
    const TempDir dir;
    EXPECT_TRUE(CreateOneDir(""));
    EXPECT_TRUE(CreateOneDir(dir.Path("a")));
    EXPECT_TRUE(IsDirectory(dir.Path("a")));
    EXPECT_TRUE(CreateOneDir(dir.Path("a")));
    EXPECT_FALSE(CreateOneDir(dir.Path("b/c")));
    EXPECT_FALSE(CreateOneDir(dir.File("file", "")));
}

TEST(CreateOneDir, AsksForAllRightsAndLeavesTheRestToTheMask) {
    const TempDir dir;
    const mode_t old = umask(0);
    CreateOneDir(dir.Path("a"));
    umask(old);
    EXPECT_EQ(std::filesystem::perms::all, std::filesystem::status(dir.Path("a")).permissions());
}

TEST(CreateOneDir, TakesALinkToNothingAsThere) {
    const TempDir dir;
    std::filesystem::create_symlink("nothing", dir.Path("link"));
    EXPECT_TRUE(CreateOneDir(dir.Path("link"))); // mkdir says that it exists
}

TEST(CreateOneDir, FailsInAReadOnlyDirectory) {
    const TempDir dir;
    dir.MakeReadOnly();
    const Unprivileged unprivileged;
    EXPECT_FALSE(CreateOneDir(dir.Path("a")));
}

TEST(CreateDirectories, MakesWhatStandsBeforeASlash) {
    const TempDir dir;
    EXPECT_TRUE(CreateDirectories(dir.Path("a/b")));
    EXPECT_TRUE(IsDirectory(dir.Path("a")));
    EXPECT_FALSE(IsDirectory(dir.Path("a/b")));
    EXPECT_TRUE(CreateDirectories(dir.Path("a/b/c/")));
    EXPECT_TRUE(IsDirectory(dir.Path("a/b/c")));
    EXPECT_TRUE(CreateDirectories(""));
    EXPECT_TRUE(CreateDirectories("name"));
    EXPECT_TRUE(CreateDirectories("/"));
}

TEST(CreateDirectories, StopsAtTheFirstFailure) {
    const TempDir dir;
    dir.File("file", "");
    EXPECT_FALSE(CreateDirectories(dir.Path("file/a/")));
    EXPECT_EQ("", ContentOf(dir.Path("file")));
}

TEST(CreateDirectories, FailsInAReadOnlyDirectory) {
    const TempDir dir;
    dir.MakeReadOnly();
    const Unprivileged unprivileged;
    EXPECT_FALSE(CreateDirectories(dir.Path("a/b/")));
}

TEST(ReadCompleteFileBinary, ReadsTheWholeFileIntoANewArray) {
    const TempDir dir;
    const std::string content = std::string(5000, 'x') + std::string("\0\r\n", 3);
    char* data = nullptr;
    unsigned long size = 0;
    EXPECT_TRUE(ReadCompleteFileBinary(dir.File("file", content), data, size));
    EXPECT_EQ(content, std::string(data, size));
    delete[] data;
}

TEST(ReadCompleteFileBinary, OfAnEmptyFileFailsAndYieldsAnArrayAllTheSame) {
    const TempDir dir;
    char* data = nullptr;
    unsigned long size = 7;
    EXPECT_FALSE(ReadCompleteFileBinary(dir.File("file", ""), data, size));
    EXPECT_NE(nullptr, data);
    EXPECT_EQ(0U, size);
    delete[] data;
}

TEST(ReadCompleteFileBinary, OfAMissingFileLeavesItsOutputsAlone) {
    const TempDir dir;
    char* data = nullptr;
    unsigned long size = 7;
    EXPECT_FALSE(ReadCompleteFileBinary(dir.Path("missing"), data, size));
    EXPECT_EQ(nullptr, data);
    EXPECT_EQ(7U, size);
}

TEST(ReadCompleteFile, GivesTheContentOrNothing) {
    const TempDir dir;
    EXPECT_EQ(std::string("a\0b", 3), ReadCompleteFile(dir.File("file", std::string("a\0b", 3))));
    EXPECT_EQ("", ReadCompleteFile(dir.File("empty", "")));
    EXPECT_EQ("", ReadCompleteFile(dir.Path("missing")));
    EXPECT_EQ("", ReadCompleteFile(dir.Path()));
}

TEST(RenameFile, MovesAFile) {
    const TempDir dir;
    EXPECT_TRUE(RenameFile(dir.File("a", "x"), dir.Path("b")));
    EXPECT_EQ("x", ContentOf(dir.Path("b")));
    EXPECT_FALSE(std::filesystem::exists(dir.Path("a")));
    EXPECT_FALSE(RenameFile(dir.Path("a"), dir.Path("c")));
    EXPECT_FALSE(RenameFile(dir.Path("b"), dir.Path("missing/b")));
    EXPECT_EQ("x", ContentOf(dir.Path("b")));
}

TEST(RemoveFile, RemovesAFile) {
    const TempDir dir;
    EXPECT_TRUE(RemoveFile(dir.File("a", "x")));
    EXPECT_FALSE(std::filesystem::exists(dir.Path("a")));
    EXPECT_FALSE(RemoveFile(dir.Path("a")));
}

TEST(CopyFile, CopiesEveryByte) {
    const TempDir dir;
    for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 10000U}) {
        std::string content;
        for (std::size_t index = 0; index < size; ++index) {
            content += static_cast<char>(index % 253);
        }
        const std::string to = dir.File("to", std::string(20000, 'y'));
        EXPECT_TRUE(CopyFile(dir.File("from", content), to));
        EXPECT_EQ(content, ContentOf(to));
    }
}

TEST(CopyFile, HandsEachBlockOutBeforeTheNext) {
    const TempDir dir;
    const std::string from = dir.File("from", std::string(20 * 1024, 'x'));
    const long before = WritesOfThisProcess();
    ASSERT_GE(before, 0) << "the kernel keeps no account of this process's writes";
    EXPECT_TRUE(CopyFile(from, dir.Path("to")));
    EXPECT_GE(WritesOfThisProcess() - before, 20);
}

TEST(CopyFile, FromAMissingSourceLeavesAnEmptyTargetBehind) {
    const TempDir dir;
    const DefaultLog log;
    const std::string to = dir.File("to", "old");
    EXPECT_FALSE(CopyFile(dir.Path("missing"), to));
    EXPECT_TRUE(std::filesystem::exists(to));
    EXPECT_EQ("", ContentOf(to));
    EXPECT_EQ(Texts{"copy: source or dest is NULL"}, log.Errors());
}

TEST(CopyFile, FailsWhenTheTargetCannotBeOpened) {
    const TempDir dir;
    const DefaultLog log;
    EXPECT_FALSE(CopyFile(dir.File("from", "x"), dir.Path("missing/to")));
    EXPECT_FALSE(CopyFile(dir.Path("neither"), dir.Path("missing/to")));
    EXPECT_EQ(Texts(2, "copy: source or dest is NULL"), log.Errors());
    EXPECT_EQ("x", ContentOf(dir.Path("from")));
}

TEST(CopyFile, FailsInAReadOnlyDirectory) {
    const TempDir dir;
    dir.File("from", "x");
    dir.MakeReadOnly();
    const DefaultLog log;
    const Unprivileged unprivileged;
    EXPECT_FALSE(CopyFile(dir.Path("from"), dir.Path("to")));
    EXPECT_EQ(Texts{"copy: source or dest is NULL"}, log.Errors());
}

TEST(CopyFile, DoesNotNoticeAFullDisk) {
    const TempDir dir;
    const DefaultLog log;
    std::filesystem::create_symlink("/dev/full", dir.Path("to"));
    EXPECT_TRUE(CopyFile(dir.File("from", std::string(5000, 'x')), dir.Path("to")));
    EXPECT_TRUE(log.Errors().empty());
}

TEST(CopyFile, OfADirectoryCopiesNothing) {
    const TempDir dir;
    EXPECT_TRUE(CopyFile(dir.Path(), dir.Path("to")));
    EXPECT_EQ("", ContentOf(dir.Path("to")));
}

TEST(CopyFile, GoesOnWhenTheSourceVanishesUnderWay) {
    const TempDir dir;
    const DefaultLog log;
    const std::string from = dir.File("from", std::string(500000, 'x'));
    const std::string pipe = dir.Path("pipe");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    std::string received;
    std::thread reader([&] { received = DrainWhileTheSourceVanishes(pipe, from); });
    EXPECT_TRUE(CopyFile(from, pipe)); // the pipe is full long before the end, so the reader is in time
    reader.join();
    EXPECT_EQ((Texts{"WARNING: error during copy from", from, "to", pipe}), log.Errors());
    EXPECT_LT(received.size(), 500000U);
    // Whole pages were read ahead; the block that could not be read is written all the same.
    EXPECT_EQ(1024U, received.size() % 4096);
}

TEST(WriteToFile, ReplacesTheContent) {
    const TempDir dir;
    const DefaultLog log;
    const std::string path = dir.File("file", "a longer old content");
    EXPECT_TRUE(WriteToFile(path, std::vector<unsigned char>{'a', 0, 'b'}, false));
    EXPECT_EQ(std::string("a\0b", 3), ContentOf(path));
    EXPECT_TRUE(WriteToFile(path, std::string("text"), true));
    EXPECT_EQ("text", ContentOf(path));
    EXPECT_TRUE(WriteToFile(path, std::string(), false));
    EXPECT_EQ("", ContentOf(path));
    EXPECT_TRUE(WriteToFile(dir.Path("new"), std::string("x"), true));
    EXPECT_EQ("x", ContentOf(dir.Path("new")));
    EXPECT_TRUE(log.Errors().empty());
}

TEST(WriteToFile, KeepsTheFileOrMakesANewOneAsAsked) {
    const TempDir dir;
    const std::string path = dir.File("file", "x");
    const std::string link = dir.Path("link");
    std::filesystem::create_hard_link(path, link);
    WriteToFile(path, std::string("kept"), false);
    EXPECT_EQ("kept", ContentOf(link));
    WriteToFile(path, std::string("new"), true);
    EXPECT_EQ("kept", ContentOf(link));
    EXPECT_EQ("new", ContentOf(path));
}

TEST(WriteToFile, FailsWhenTheFileCannotBeOpened) {
    const TempDir dir;
    const DefaultLog log;
    EXPECT_FALSE(WriteToFile(dir.Path("missing/file"), std::string("x"), false));
    EXPECT_FALSE(WriteToFile(dir.Path(), std::vector<unsigned char>{1}, false));
    EXPECT_EQ(Texts(2, "WriteToFile: cannot open file"), log.Errors());
}

TEST(WriteToFile, FailsInAReadOnlyDirectory) {
    const TempDir dir;
    dir.MakeReadOnly();
    const DefaultLog log;
    const Unprivileged unprivileged;
    EXPECT_FALSE(WriteToFile(dir.Path("file"), std::string("x"), true));
    EXPECT_EQ(Texts{"WriteToFile: cannot open file"}, log.Errors());
}

TEST(WriteToFile, FailsOnAFullDisk) {
    const DefaultLog log;
    for (const std::size_t size : {1U, 5000U, 100000U}) {
        EXPECT_FALSE(WriteToFile("/dev/full", std::string(size, 'x'), false)) << size;
    }
    EXPECT_EQ(Texts(3, "fwrite retval != 1"), log.Errors());
}

TEST(KnownDirectories, ComeFromTheEnvironmentOrAreFixed) {
    {
        const ScopedVariable temp("TMPDIR", "/somewhere");
        const ScopedVariable home("HOME", "/home/u");
        EXPECT_EQ("/somewhere", GetTempDir());
        EXPECT_EQ("/home/u", GetUserDir());
    }
    for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
        const ScopedVariable temp("TMPDIR", nothing);
        const ScopedVariable home("HOME", nothing);
        EXPECT_EQ("/tmp/", GetTempDir());
        EXPECT_EQ("", GetUserDir());
    }
    EXPECT_EQ("/etc/", GetAllUsersDir());
    EXPECT_EQ("/var/log/", GetSystemLogDir());
}

TEST(GenerateFilenameWithTimestamp, BearsTheLocalTime) {
    const ScopedVariable zone("TZ", "XYZ-5:30");
    const std::time_t now = BeginningOfASecond();
    EXPECT_EQ("name_" + LocalText(now, "%Y-%m-%d-%H-%M-%S") + ".ext",
              GenerateFilenameWithTimestamp("name", "ext"));
}

TEST(GenerateTempFilename, IsMadeOfTheSeedOfTheSecond) {
    const TempDir dir;
    std::string path = dir.Path();
    const std::time_t now = BeginningOfASecond();
    const std::string name = GenerateTempFilename(path, "prefix");
    std::srand(static_cast<unsigned int>(now));
    char digits[16];
    std::snprintf(digits, sizeof(digits), "%06d", std::rand() % 100000);
    EXPECT_EQ(dir.Path("prefix" + std::string(digits) + ".tmp"), name);
    EXPECT_EQ(dir.Path(), path);
    EXPECT_FALSE(std::filesystem::exists(name));
}

TEST(ListDirectory, TellsDirectoriesAndFilesApart) {
    const TempDir dir;
    dir.File("file", "x");
    std::filesystem::create_directory(dir.Path("folder"));
    std::filesystem::create_symlink("file", dir.Path("link"));
    Texts directories = {"old"};
    EXPECT_TRUE(ListAllSubDirectories(dir.Path(), directories));
    std::sort(directories.begin() + 1, directories.end());
    EXPECT_EQ((Texts{"old", dir.Path("."), dir.Path(".."), dir.Path("folder")}), directories);
    Texts files = {"old"};
    EXPECT_TRUE(ListAllFilesInDirectory(dir.Path() + "/", files));
    EXPECT_EQ((Texts{"old", dir.Path("file")}), files);
}

TEST(ListDirectory, FailsForWhatCannotBeOpened) {
    const TempDir dir;
    Texts out = {"old"};
    EXPECT_FALSE(ListAllSubDirectories(dir.Path("missing"), out));
    EXPECT_FALSE(ListAllFilesInDirectory(dir.Path("missing"), out));
    EXPECT_FALSE(ListAllFilesInDirectory(dir.File("file", ""), out));
    EXPECT_EQ(Texts{"old"}, out);
}
