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
using orselsim::BytesOf;
using orselsim::FileError;
using orselsim::ReadFile;
using orselsim::ReplaceFile;
using orselsim::StampOf;

namespace {

namespace fs = std::filesystem;

long EntriesIn(const std::string& directory) {
    return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

} // namespace

class FilesOfADeck : public testing::Test {
protected:
    std::string GetPath(const std::string& name) const { return m_Deck.GetPath() + "/" + name; }

    orseltest::SimDeck m_Deck;
};

TEST_F(FilesOfADeck, AreReadAsTheyWereWritten) {
    const Bytes content = {0x00, 0x0A, 0xFF};
    ReplaceFile(GetPath("file"), content);
    EXPECT_EQ(content, ReadFile(GetPath("file")));
    ReplaceFile(GetPath("file"), {});
    EXPECT_EQ(Bytes(), ReadFile(GetPath("file")));
}

TEST_F(FilesOfADeck, MayBeAsLargeAsTheLimit) {
    ReplaceFile(GetPath("file"), Bytes(orselsim::LARGEST_FILE));
    EXPECT_EQ(orselsim::LARGEST_FILE, ReadFile(GetPath("file")).size());
    ReplaceFile(GetPath("file"), Bytes(orselsim::LARGEST_FILE + 1));
    EXPECT_THROW(ReadFile(GetPath("file")), FileError);
}

TEST_F(FilesOfADeck, AreReplacedWithoutALeftover) {
    const long before = EntriesIn(m_Deck.GetPath());
    ReplaceFile(GetPath("file"), BytesOf("old"));
    ReplaceFile(GetPath("file"), BytesOf("new"));
    EXPECT_EQ("new", orselsim::TextOf(ReadFile(GetPath("file"))));
    EXPECT_EQ(before + 1, EntriesIn(m_Deck.GetPath()));
}

TEST_F(FilesOfADeck, ThatCannotBeReplacedStayAsTheyAre) {
    fs::create_directory(GetPath("directory"));
    std::ofstream(GetPath("directory") + "/inside") << "kept";
    const long before = EntriesIn(m_Deck.GetPath());
    EXPECT_THROW(ReplaceFile(GetPath("directory"), BytesOf("new")), FileError);
    EXPECT_TRUE(fs::exists(GetPath("directory") + "/inside"));
    EXPECT_EQ(before, EntriesIn(m_Deck.GetPath())) << "the temporary file is gone";
    EXPECT_THROW(ReplaceFile(GetPath("nowhere/file"), BytesOf("new")), FileError);
}

TEST_F(FilesOfADeck, ThatAreNotThereAreNamedInTheError) {
    try {
        ReadFile(GetPath("missing"));
        FAIL() << "no error";
    } catch (const FileError& error) {
        EXPECT_EQ(GetPath("missing") + ": No such file or directory", error.what());
    }
}

TEST_F(FilesOfADeck, HaveAStampThatChangesWithThem) {
    EXPECT_EQ(std::nullopt, StampOf(GetPath("file")));
    ReplaceFile(GetPath("file"), BytesOf("a"));
    const auto first = StampOf(GetPath("file"));
    EXPECT_EQ(first, StampOf(GetPath("file")));
    ReplaceFile(GetPath("file"), BytesOf("b"));
    EXPECT_NE(first, StampOf(GetPath("file")));
}

TEST_F(FilesOfADeck, AreLockedByOneAtATime) {
    std::atomic<bool> isFree{false}; // a sanitizer does not know that the lock orders the two
    std::optional<orselsim::DirectoryLock> lock(m_Deck.GetPath());
    const orseltest::SleepingThread other([&] {
        const orselsim::DirectoryLock second(m_Deck.GetPath());
        EXPECT_TRUE(isFree);
    });
    isFree = true;
    lock.reset();
}

TEST_F(FilesOfADeck, CanBeUsedWithoutALock) {
    const orselsim::DirectoryLock lock(GetPath("missing"));
}
