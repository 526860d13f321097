// SPDX-License-Identifier: MIT
#include <algorithm>

#include "tests/foundation/LoggerFixture.h"
#include "tests/foundation/Seconds.h"
#include "tests/support/ScopedVariable.h"

using namespace Velmor;

namespace {

constexpr char STAMP[] = "%Y-%m-%d_%H-%M-%S";

std::string Message(const std::string& text) {
    return "      MESSAGE " + text;
}

} // namespace

TEST(LogFileName, IsCutAtItsExtension) {
    struct Row {
        const char* m_Path;
        const char* m_Base;
        const char* m_Ext;
        const char* m_Appended;
    };
    for (const Row& row : {
             Row{"trace", "trace", "", "trace.log"},
             Row{"trace.log", "trace", "log", "trace.log"},
             Row{"trace.txt", "trace", "log", "trace.txt"},
             Row{"a.log.old", "a", "log", "a.log.old"},
             Row{"a.log.b.log", "a.log.b", "log", "a.log.b.log"},
             Row{"a.log.txt", "a", "log", "a.log.txt"},
             Row{"a.txt.b", "a", "log", "a.txt.b"},
             Row{"a.txt.txt", "a.txt", "log", "a.txt.txt"},
             Row{"a.html", "a", "log", "a.html"},
             Row{"a.", "a", "log", "a."},
             Row{"a.jsonx", "a.jsonx", "", "a.jsonx.log"},
             Row{"a.config", "a.config", "", "a.config.log"},
             Row{"b.c.html", "b.c", "log", "b.c.html"},
             Row{"/x.d/ab", "/x", "log", "/x.d/ab"},
             Row{"/x.d/trace", "/x.d/trace", "", "/x.d/trace.log"},
             Row{".log", "", "log", ".log"},
             Row{"", "", "", ".log"},
         }) {
        std::string base = "old";
        std::string ext = "old";
        LibLogging::GetExtension(row.m_Path, base, ext);
        EXPECT_EQ(row.m_Base, base) << row.m_Path;
        EXPECT_EQ(row.m_Ext, ext) << row.m_Path;
        EXPECT_EQ(row.m_Appended, LibLogging::AppendLogExtension(row.m_Path));
    }
}

TEST(LogFileName, CountsUpToTheFirstThatIsFree) {
    const TempDir dir;
    const std::string name = dir.Path("a.log");
    EXPECT_EQ(name, LibLogging::NumberedName(name));
    dir.File("a.log", "x");
    EXPECT_EQ(dir.Path("a_0.log"), LibLogging::NumberedName(name));
    dir.File("a_0.log", "x");
    dir.File("a_2.log", "x");
    EXPECT_EQ(dir.Path("a_1.log"), LibLogging::NumberedName(name));
    dir.File("a_1.log", "x");
    EXPECT_EQ(dir.Path("a_3.log"), LibLogging::NumberedName(name));
}

TEST(LogFileName, GetsTheExtensionLogFromANumber) {
    const TempDir dir;
    EXPECT_EQ(dir.Path("a_0.log"), LibLogging::NumberedName(dir.File("a.txt", "x")));
}

TEST(LogFileName, BearsATimeStampInUtc) {
    const ScopedVariable zone("TZ", "XYZ-5:30");
    const std::time_t now = BeginningOfASecond();
    EXPECT_EQ("client_" + UtcText(now, STAMP) + ".log", LibLogging::NameWithTimeStamp("client.log"));
    EXPECT_EQ("client_3_" + UtcText(now, STAMP) + ".log", LibLogging::NameWithTimeStamp("client_3.txt"));
}

TEST(BackupFile, CopiesTheWholeContentOverTheTarget) {
    const TempDir dir;
    const std::string content = std::string(100000, 'x') + std::string("\0\r\n", 3);
    const std::string from = dir.File("from", content);
    const std::string to = dir.File("to", std::string(200000, 'y'));
    LibLogging::BackupFile(from, to, false);
    EXPECT_EQ(content, ContentOf(to));
    EXPECT_EQ(content, ContentOf(from));
}

TEST(BackupFile, RemovesTheSourceWhetherOrNotTheCopyWorked) {
    const TempDir dir;
    const std::string from = dir.File("from", "content");
    LibLogging::BackupFile(from, dir.Path("to"), true);
    EXPECT_FALSE(std::filesystem::exists(from));
    EXPECT_EQ("content", ContentOf(dir.Path("to")));

    dir.File("from", "content");
    LibLogging::BackupFile(from, dir.Path("missing/to"), true);
    EXPECT_FALSE(std::filesystem::exists(from));
}

TEST(BackupFile, OfAMissingFileLeavesAnEmptyTarget) {
    const TempDir dir;
    const std::string to = dir.File("to", "old");
    LibLogging::BackupFile(dir.Path("missing"), to, false);
    EXPECT_TRUE(std::filesystem::exists(to));
    EXPECT_EQ("", ContentOf(to));
}

TEST(BackupFile, OfAnEmptyFileLeavesAnEmptyTarget) {
    const TempDir dir;
    LibLogging::BackupFile(dir.File("from", ""), dir.Path("to"), false);
    EXPECT_TRUE(std::filesystem::exists(dir.Path("to")));
}

TEST_F(ALogger, AppendsTheExtensionToItsPath) {
    m_Logger.Init(m_Dir.Path("trace"), 10, false);
    EXPECT_EQ(Texts{"trace.log"}, Files());
    m_Logger.Init(m_Dir.Path("other"), 10, true);
    EXPECT_EQ((Texts{"other.log", "trace.log"}), Files());
    m_Logger.Init(m_Dir.Path("text.txt"), 10, true);
    EXPECT_EQ((Texts{"other.log", "text.txt", "trace.log"}), Files());
}

TEST_F(ALogger, SplitsBeforeTheLineThatTripsTheLimitOfEntries) {
    m_Logger.Init(LogPath(), 2, false);
    m_Logger.Enabled(true);
    for (const char* text : {"1", "2", "3", "4", "5"}) {
        m_Logger.LogMessage(text);
    }
    EXPECT_EQ((Texts{"client.log", "client_0.log", "client_1.log"}), Files());
    EXPECT_EQ((Texts{Message("1"), Message("2")}), LinesOf("client_0.log"));
    EXPECT_EQ((Texts{Message("3"), Message("4")}), LinesOf("client_1.log"));
    EXPECT_EQ((Texts{Message("5")}), Lines());
}

TEST_F(ALogger, SplitsWhenTheSizeIsReached) {
    Start();
    m_Logger.LogRotation(false, 1);
    m_Logger.LogRotationFileSize(true, 12); // two raw lines of six bytes reach it
    for (const char* text : {"1234", "5678", "abcd"}) {
        m_Logger.LogRaw(text);
    }
    EXPECT_EQ(" 1234\n 5678\n", ContentOf(m_Dir.Path("client_0.log")));
    EXPECT_EQ(" abcd\n", FileContent());
}

TEST_F(ALogger, SplitsWhenTheSizeIsExceeded) {
    Start();
    m_Logger.LogRotation(false, 1);
    m_Logger.LogRotationFileSize(true, 7);
    for (const char* text : {"1234", "5678", "abcd"}) {
        m_Logger.LogRaw(text);
    }
    EXPECT_EQ(" 1234\n 5678\n", ContentOf(m_Dir.Path("client_0.log")));
    EXPECT_EQ(" abcd\n", FileContent());
}

TEST_F(ALogger, DoesNotSplitWithBothRotationsOff) {
    m_Logger.Init(LogPath(), 1, false);
    m_Logger.Enabled(true);
    m_Logger.LogRotation(false, 1);
    m_Logger.LogRotationFileSize(false, 1);
    for (int line = 0; line < 5; ++line) {
        m_Logger.LogMessage("text");
    }
    EXPECT_EQ(Texts{"client.log"}, Files());
    EXPECT_EQ(5U, Lines().size());
}

TEST_F(ALogger, CountsOnlyWhileItsRotationIsOn) {
    Start();
    m_Logger.LogRotation(false, 2);
    m_Logger.LogMessage("1");
    m_Logger.LogMessage("2");
    m_Logger.LogRotation(true, 2);
    m_Logger.LogMessage("3");
    m_Logger.LogMessage("4");
    EXPECT_EQ(Texts{"client.log"}, Files());
    m_Logger.LogMessage("5");
    EXPECT_EQ(4U, LinesOf("client_0.log").size());
}

TEST_F(ALogger, OverwritesThePartsOfAnEarlierRunWhenItStartsWithoutRotation) {
    m_Dir.File("client_0.log", "old\n");
    m_Logger.Init(LogPath(), 1, false);
    m_Logger.Enabled(true);
    m_Logger.LogMessage("1");
    m_Logger.LogMessage("2");
    EXPECT_EQ(Texts{Message("1")}, LinesOf("client_0.log"));
}

TEST_F(ALogger, CountsItsPartsAnewAfterInit) {
    for (const char* run : {"first", "second"}) {
        m_Logger.Init(LogPath(), 1, false);
        m_Logger.Enabled(true);
        m_Logger.LogMessage(run);
        m_Logger.LogMessage("more");
    }
    EXPECT_EQ((Texts{"client.log", "client_0.log"}), Files());
    EXPECT_EQ(Texts{Message("second")}, LinesOf("client_0.log"));
}

TEST_F(ALogger, GivesThePartsOfATextFileTheExtensionLog) {
    m_Logger.Init(m_Dir.Path("a.txt"), 1, false);
    m_Logger.Enabled(true);
    m_Logger.LogMessage("1");
    m_Logger.LogMessage("2");
    EXPECT_EQ((Texts{"a.txt", "a_0.log"}), Files());
}

TEST_F(ALogger, FallsSilentWhenItsFileCannotBeReopened) {
    const std::string folder = m_Dir.Path("folder");
    std::filesystem::create_directory(folder);
    m_Logger.Init(folder + "/client.log", 1, false);
    m_Logger.Enabled(true);
    m_Logger.LogToBuffer(LOG_BUFFER_AND_FILE, 10);
    m_Logger.LogMessage("1");
    std::filesystem::remove_all(folder);
    m_Logger.LogMessage("2"); // splits, fails to reopen, and is the last one to reach the ring
    m_Logger.LogMessage("3");
    EXPECT_EQ(2U, m_Logger.GetLogBufferSize());
    EXPECT_TRUE(Files().empty());
}

TEST_F(ALogger, CanBeSplitByHand) {
    Start();
    m_Logger.LogMessage("1");
    m_Logger.SplitLog();
    m_Logger.LogMessage("2");
    EXPECT_EQ(Texts{Message("1")}, LinesOf("client_0.log"));
    EXPECT_EQ(Texts{Message("2")}, Lines());
}

TEST_F(ALogger, GoesOnInTheSameFileWhenItIsSplit) {
    Start();
    m_Logger.LogMessage("1");
    std::filesystem::create_hard_link(LogPath(), m_Dir.Path("followed")); // as whoever has it open sees it
    m_Logger.SplitLog();
    m_Logger.LogMessage("2");
    EXPECT_EQ(Texts{Message("2")}, LinesOf("followed"));
}

TEST_F(ALogger, StartsAnEmptyFileWithoutABackupWhenThereWasNone) {
    m_Logger.Init(LogPath(), 10, true);
    EXPECT_EQ(Texts{"client.log"}, Files());
    EXPECT_EQ("", FileContent());
}

TEST_F(ALogger, PutsTheFilesOfTheLastRunAsideWhenItStartsWithRotation) {
    m_Dir.File("client.log", "live");
    m_Dir.File("client_0.log", "part 0");
    m_Dir.File("client_1.log", "part 1");
    m_Dir.File("client_3.log", "behind a gap");
    const std::string stamp = UtcText(BeginningOfASecond(), STAMP);
    m_Logger.Init(LogPath(), 10, true);
    EXPECT_EQ((Texts{"client.log", "client_0_" + stamp + ".log", "client_1_" + stamp + ".log",
                     "client_" + stamp + ".log", "client_3.log"}),
              Files());
    EXPECT_EQ("live", ContentOf(m_Dir.Path("client_" + stamp + ".log")));
    EXPECT_EQ("part 0", ContentOf(m_Dir.Path("client_0_" + stamp + ".log")));
    EXPECT_EQ("part 1", ContentOf(m_Dir.Path("client_1_" + stamp + ".log")));
    EXPECT_EQ("", FileContent());
}

TEST_F(ALogger, KeepsBothCopiesOfTwoStartsWithinOneSecond) {
    m_Dir.File("client.log", "first");
    const std::string stamp = UtcText(BeginningOfASecond(), STAMP);
    m_Logger.Init(LogPath(), 10, true);
    m_Logger.Enabled(true);
    m_Logger.LogRaw("second");
    m_Logger.Init(LogPath(), 10, true);
    EXPECT_EQ("first", ContentOf(m_Dir.Path("client_" + stamp + ".log")));
    EXPECT_EQ(" second\n", ContentOf(m_Dir.Path("client_" + stamp + "_0.log")));
    EXPECT_EQ("", FileContent());
}

TEST_F(ALogger, ClosesItsFileBeforeItOpensAnother) {
    Start();
    m_Logger.LogRaw("one");
    m_Logger.OpenFileAndRotate(m_Dir.Path("other.log"));
    m_Logger.LogRaw("two");
    EXPECT_EQ(" one\n", FileContent());
    EXPECT_EQ(" two\n", ContentOf(m_Dir.Path("other.log")));
}

TEST_F(ALogger, StaysSilentWhenItsFileCannotBeOpenedWithRotation) {
    m_Logger.Init(m_Dir.Path("missing/client.log"), 10, true);
    m_Logger.Enabled(true);
    m_Logger.LogRaw("text");
    EXPECT_TRUE(Files().empty());
}
