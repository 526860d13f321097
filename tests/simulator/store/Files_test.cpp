// SPDX-License-Identifier: MIT
#include "simulator/store/Files.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>

#include <gmock/gmock.h>

#include "tests/simulator/token/SleepingThread.h"
#include "tests/support/SimDeck.h"

using orselsim::Bytes;
using orselsim::bytesOf;
using orselsim::FileError;
using orselsim::readFile;
using orselsim::replaceFile;
using orselsim::stampOf;

namespace {

namespace fs = std::filesystem;

long entriesIn(const std::string& directory) {
    return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

} // namespace

class FilesOfADeck : public testing::Test {
protected:
    std::string path(const std::string& name) const { return deck.path() + "/" + name; }

    orseltest::SimDeck deck;
};

TEST_F(FilesOfADeck, AreReadAsTheyWereWritten) {
    const Bytes content = {0x00, 0x0A, 0xFF};
    replaceFile(path("file"), content);
    EXPECT_EQ(content, readFile(path("file")));
    replaceFile(path("file"), {});
    EXPECT_EQ(Bytes(), readFile(path("file")));
}

TEST_F(FilesOfADeck, MayBeAsLargeAsTheLimit) {
    replaceFile(path("file"), Bytes(orselsim::largestFile));
    EXPECT_EQ(orselsim::largestFile, readFile(path("file")).size());
    replaceFile(path("file"), Bytes(orselsim::largestFile + 1));
    EXPECT_THROW(readFile(path("file")), FileError);
}

TEST_F(FilesOfADeck, AreReplacedWithoutALeftover) {
    const long before = entriesIn(deck.path());
    replaceFile(path("file"), bytesOf("old"));
    replaceFile(path("file"), bytesOf("new"));
    EXPECT_EQ("new", orselsim::textOf(readFile(path("file"))));
    EXPECT_EQ(before + 1, entriesIn(deck.path()));
}

TEST_F(FilesOfADeck, ThatCannotBeReplacedStayAsTheyAre) {
    fs::create_directory(path("directory"));
    std::ofstream(path("directory") + "/inside") << "kept";
    const long before = entriesIn(deck.path());
    EXPECT_THROW(replaceFile(path("directory"), bytesOf("new")), FileError);
    EXPECT_TRUE(fs::exists(path("directory") + "/inside"));
    EXPECT_EQ(before, entriesIn(deck.path())) << "the temporary file is gone";
    EXPECT_THROW(replaceFile(path("nowhere/file"), bytesOf("new")), FileError);
}

TEST_F(FilesOfADeck, ThatAreNotThereAreNamedInTheError) {
    try {
        readFile(path("missing"));
        FAIL() << "no error";
    } catch (const FileError& error) {
        EXPECT_EQ(path("missing") + ": No such file or directory", error.what());
    }
}

TEST_F(FilesOfADeck, HaveAStampThatChangesWithThem) {
    EXPECT_EQ(std::nullopt, stampOf(path("file")));
    replaceFile(path("file"), bytesOf("a"));
    const auto first = stampOf(path("file"));
    EXPECT_EQ(first, stampOf(path("file")));
    replaceFile(path("file"), bytesOf("b"));
    EXPECT_NE(first, stampOf(path("file")));
}

TEST_F(FilesOfADeck, AreLockedByOneAtATime) {
    std::atomic<bool> isFree{false}; // a sanitizer does not know that the lock orders the two
    std::optional<orselsim::DirectoryLock> lock(deck.path());
    const orseltest::SleepingThread other([&] {
        const orselsim::DirectoryLock second(deck.path());
        EXPECT_TRUE(isFree);
    });
    isFree = true;
    lock.reset();
}

TEST_F(FilesOfADeck, CanBeUsedWithoutALock) {
    const orselsim::DirectoryLock lock(path("missing"));
}
