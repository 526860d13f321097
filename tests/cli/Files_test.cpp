// SPDX-License-Identifier: MIT
#include "cli/Files.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "cli/Interruption.h"
#include "tests/cli/CliTest.h"

using orselcli::Bytes;
using orselcli::Interruption;
using orselcli::ReadInput;
using orselcli::Reason;
using orselcli::WriteOutput;

namespace {

class AFileOfTheCommandLine : public CliTest {
protected:
    void TearDown() override { Interruption::Forget(); }

    const Bytes m_Content = {'n', 'e', 'w'};
};

mode_t RightsOf(const std::string& path) {
    struct stat status = {};
    stat(path.c_str(), &status);
    return status.st_mode & 0777;
}

} // namespace

TEST_F(AFileOfTheCommandLine, IsReplacedWholeAndLeavesNothingBeside) {
    const std::string path = FileOf("out", "old and longer");
    const auto before = Files();
    EXPECT_TRUE(WriteOutput(path, m_Content).IsDone());
    EXPECT_EQ(ContentOf(path), "new");
    EXPECT_THAT(Files(), testing::UnorderedElementsAreArray(before));
}

TEST_F(AFileOfTheCommandLine, KeepsItsRightsAndGetsTheUsualOnesWhenNew) {
    const std::string path = FileOf("out", "old");
    chmod(path.c_str(), 0604);
    EXPECT_TRUE(WriteOutput(path, m_Content).IsDone());
    EXPECT_EQ(RightsOf(path), 0604U);
    const mode_t mask = umask(027);
    EXPECT_TRUE(WriteOutput(PathOf("new"), m_Content).IsDone());
    umask(mask);
    EXPECT_EQ(RightsOf(PathOf("new")), 0640U);
}

TEST_F(AFileOfTheCommandLine, IsLeftAsItWasWhenASignalCame) {
    const std::string path = FileOf("out", "old");
    const auto before = Files();
    Interruption::Note(SIGINT);
    EXPECT_FALSE(WriteOutput(path, m_Content).IsDone());
    EXPECT_EQ(ContentOf(path), "old");
    EXPECT_THAT(Files(), testing::UnorderedElementsAreArray(before));
}

TEST_F(AFileOfTheCommandLine, ThatIsAPipeGetsNothingWhenASignalCame) {
    ASSERT_EQ(mkfifo(PathOf("pipe").c_str(), 0600), 0);
    const int reader = open(PathOf("pipe").c_str(), O_RDONLY | O_NONBLOCK);
    Interruption::Note(SIGINT);
    EXPECT_FALSE(WriteOutput(PathOf("pipe"), m_Content).IsDone());
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
}

TEST_F(AFileOfTheCommandLine, IsReachedThroughALinkThatStaysOne) {
    const std::string path = FileOf("target", "old");
    std::filesystem::create_symlink(path, PathOf("link"));
    EXPECT_TRUE(WriteOutput(PathOf("link"), m_Content).IsDone());
    EXPECT_TRUE(std::filesystem::is_symlink(PathOf("link")));
    EXPECT_EQ(ContentOf(path), "new");
}

TEST_F(AFileOfTheCommandLine, IsRefusedWhereThereIsNoDirectory) {
    EXPECT_EQ(WriteOutput(PathOf("no/such/file"), m_Content).Why(), Reason::OUTPUT_UNWRITABLE);
}

TEST_F(AFileOfTheCommandLine, ThatIsADeviceIsWrittenToAsItStands) {
    EXPECT_TRUE(WriteOutput("/dev/null", m_Content).IsDone());
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_EQ(WriteOutput("/dev/full", m_Content).Why(), Reason::OUTPUT_FAILED);
}

TEST_F(AFileOfTheCommandLine, ThatIsASocketIsRefused) {
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    PathOf("socket").copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(WriteOutput(PathOf("socket"), m_Content).Why(), Reason::OUTPUT_UNWRITABLE);
    EXPECT_TRUE(std::filesystem::is_socket(PathOf("socket")));
    close(listener);
}

TEST_F(AFileOfTheCommandLine, IsReadWholeUpToItsLimit) {
    Bytes content;
    const std::string path = FileOf("in", std::string(200000, 'x'));
    EXPECT_TRUE(ReadInput(path, content).IsDone());
    EXPECT_EQ(content.size(), 200000U);
    EXPECT_EQ(ReadInput(path, content, 199999).Why(), Reason::INPUT_TOO_LARGE);
    EXPECT_EQ(ReadInput(PathOf("none"), content).Why(), Reason::INPUT_UNREADABLE);
    EXPECT_EQ(ReadInput(m_Deck.Folder(), content).Why(), Reason::INPUT_UNREADABLE);
}
