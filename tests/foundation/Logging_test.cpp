// SPDX-License-Identifier: MIT
#include "foundation/Logging.h"

#include <cstddef>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/foundation/LoggerFixture.h"
#include "tests/foundation/Seconds.h"
#include "tests/foundation/UsedMemory.h"
#include "tests/support/ScopedVariable.h"

using namespace Velmor;

namespace {

LOG_LEVEL Level(int level) {
    return static_cast<LOG_LEVEL>(level);
}

DebugLevel Type(int type) {
    return static_cast<DebugLevel>(type);
}

LOG_BUFFER_MODE Mode(int mode) {
    return static_cast<LOG_BUFFER_MODE>(mode);
}

} // namespace

TEST(ALogEntry, StartsAtZeroAndKeepsItsOrder) {
    static_assert(offsetof(LogEntry, m_Time) == 0);
    static_assert(offsetof(LogEntry, m_Time) < offsetof(LogEntry, m_Level));
    static_assert(offsetof(LogEntry, m_Level) < offsetof(LogEntry, m_Text));
    const OnUsedMemory<LogEntry> entry;
    EXPECT_EQ(0, entry->m_Time);
    EXPECT_EQ(DEBUG_LEVEL_ERROR, entry->m_Level);
}

TEST_F(ALogger, StartsWithItsDefaults) {
    EXPECT_FALSE(m_Logger.IsEnabled());
    EXPECT_FALSE(m_Logger.IsVerbose());
    EXPECT_FALSE(m_Logger.IsOutputDbgString());
    EXPECT_TRUE(m_Logger.IsLogThreadId());
    EXPECT_TRUE(m_Logger.IsLogRotationEnabled());
    EXPECT_FALSE(m_Logger.IsLogToBuffer());
    EXPECT_EQ(0U, m_Logger.GetLogBufferSize());
    EXPECT_TRUE(m_Logger.GetLogBuffer().empty());
}

TEST_F(ALogger, InitChangesTheSettingsItNamesAndLeavesTheOthers) {
    m_Logger.Init(LogPath(), 5, false);
    EXPECT_FALSE(m_Logger.IsEnabled());
    EXPECT_TRUE(m_Logger.IsVerbose());
    EXPECT_TRUE(m_Logger.IsOutputDbgString());
    EXPECT_FALSE(m_Logger.IsLogThreadId());
    EXPECT_TRUE(m_Logger.IsLogRotationEnabled());

    m_Logger.LogRotation(false, 5);
    m_Logger.Enabled(true);
    m_Logger.Init(LogPath(), 5, false);
    EXPECT_FALSE(m_Logger.IsLogRotationEnabled());
    EXPECT_TRUE(m_Logger.IsEnabled());
}

TEST_F(ALogger, StoresItsSettings) {
    m_Logger.Enabled(true);
    m_Logger.Verbose(true);
    m_Logger.OutputDbgString(true);
    m_Logger.LogThreadId(false);
    EXPECT_TRUE(m_Logger.IsEnabled());
    EXPECT_TRUE(m_Logger.IsVerbose());
    EXPECT_TRUE(m_Logger.IsOutputDbgString());
    EXPECT_FALSE(m_Logger.IsLogThreadId());
    m_Logger.LogRotation(false, 1);
    EXPECT_FALSE(m_Logger.IsLogRotationEnabled());
    m_Logger.LogRotationFileSize(true, 1);
    EXPECT_TRUE(m_Logger.IsLogRotationEnabled());
    for (const int mode : {0, 1, 2, 7}) {
        m_Logger.LogToBuffer(Mode(mode), 1);
        EXPECT_EQ(mode != 0, m_Logger.IsLogToBuffer());
    }
}

TEST_F(ALogger, WritesNothingBeforeItHasBothAFileAndBeenEnabled) {
    m_Logger.LogError("no file, disabled");
    m_Logger.Enabled(true);
    m_Logger.LogError("no file");
    m_Logger.Enabled(false);
    m_Logger.Init(LogPath(), 10, false);
    m_Logger.LogError("disabled");
    EXPECT_EQ("", FileContent());
    m_Logger.Enabled(true);
    m_Logger.LogError("both");
    EXPECT_EQ(Texts{"        ERROR both"}, Lines());
}

TEST_F(ALogger, WithoutAFileLeavesTheRingEmpty) {
    m_Logger.Enabled(true);
    m_Logger.LogToBuffer(LOG_BUFFER_ONLY, 10);
    m_Logger.LogError("text");
    EXPECT_EQ(0U, m_Logger.GetLogBufferSize());
}

TEST_F(ALogger, StaysSilentWhenItsFileCannotBeOpened) {
    m_Logger.LogToBuffer(LOG_BUFFER_AND_FILE, 10);
    m_Logger.Init(m_Dir.Path("missing/client.log"), 10, false);
    m_Logger.Enabled(true);
    m_Logger.LogError("text");
    EXPECT_EQ(0U, m_Logger.GetLogBufferSize());
    EXPECT_TRUE(Files().empty());
}

TEST_F(ALogger, NeverStopsTheCallerOnAFullDisk) {
    std::filesystem::create_symlink("/dev/full", LogPath());
    Start();
    m_Logger.LogError("one");
    m_Logger.LogError("two");
    EXPECT_TRUE(m_Logger.IsEnabled());
}

TEST_F(ALogger, WritesAgainAfterAFailureWhenItGetsAnotherFile) {
    m_Logger.Init(m_Dir.Path("missing/client.log"), 10, false);
    Start();
    m_Logger.LogError("text");
    EXPECT_EQ(Texts{"        ERROR text"}, Lines());
}

TEST_F(ALogger, TruncatesItsFileAtInit) {
    m_Dir.File("client.log", "old\n");
    Start();
    EXPECT_EQ("", FileContent());
    m_Logger.LogError("one");
    m_Logger.Init(LogPath(), 10, false); // closes the open file first
    m_Logger.LogError("two");
    EXPECT_EQ(Texts{"        ERROR two"}, Lines());
}

TEST_F(ALogger, FlushesEachLine) {
    Start();
    m_Logger.LogError("one");
    EXPECT_EQ(1U, Lines().size());
    m_Logger.LogError("two");
    EXPECT_EQ(2U, Lines().size());
}

TEST_F(ALogger, PassesAtEachLevelWhatTheTableSays) {
    struct Row {
        int m_Level;
        Texts m_Expected;
    };
    const Texts everything = {"        ERROR e", "      WARNING w", "      MESSAGE m", " r",
                              "        DEBUG d", "  IN FUNCTION f", " OUT FUNCTION f", "  IN FUNCTION g",
                              "   STACKTRACE g"};
    for (const Row& row :
         {Row{0, {}}, Row{1, {everything.begin(), everything.begin() + 1}},
          Row{2, {everything.begin(), everything.begin() + 2}},
          Row{3, {everything.begin(), everything.begin() + 4}}, Row{4, everything}, Row{5, everything}}) {
        Start();
        m_Logger.SetLoggingLevel(Level(row.m_Level));
        m_Logger.LogError("e");
        m_Logger.LogWarning("w");
        m_Logger.LogMessage("m");
        m_Logger.LogRaw("r");
        m_Logger.LogDebug("d");
        m_Logger.LogFunction("f", FUNCTION_IN);
        m_Logger.LogFunction("f", FUNCTION_OUT);
        m_Logger.LogFunction("g", FUNCTION_IN);
        m_Logger.LogStackTrace();
        EXPECT_EQ(row.m_Expected, Lines()) << row.m_Level;
    }
}

TEST_F(ALogger, StartsAtLevel4AndInitSets5) {
    m_Logger.SetLoggingLevel(Level(0));
    Start();
    m_Logger.LogDebug("d");
    EXPECT_EQ(1U, Lines().size());
}

TEST_F(ALogger, WritesALineOfAnyTypeWhateverItsLevel) {
    struct Row {
        int m_Type;
        const char* m_Line;
    };
    const Row rows[] = {
        {0, "        ERROR text"}, {1, "      MESSAGE text"},
        {2, "        DEBUG text"}, {3, "  IN FUNCTION text"},
        {4, " OUT FUNCTION text"}, {5, "   STACKTRACE text"},
        {6, "      WARNING text"}, {7, " text"},
        {8, "      MESSAGE text"}, {-1, "      MESSAGE text"},
    };
    for (const Row& row : rows) {
        Start();
        m_Logger.SetLoggingLevel(Level(0));
        m_Logger.Log("text", Type(row.m_Type));
        EXPECT_EQ(Texts{row.m_Line}, Lines()) << row.m_Type;
    }
}

TEST_F(ALogger, NamesTheTypesOfALine) {
    const char* const words[] = {"ERROR",        "MESSAGE",    "DEBUG",  "IN FUNCTION",
                                 "OUT FUNCTION", "STACKTRACE", "WARNING"};
    for (int type = 0; type < 7; ++type) {
        EXPECT_EQ(words[type], LibLogging::LogTypeToString(Type(type)));
    }
    EXPECT_EQ("MESSAGE", LibLogging::LogTypeToString(DEBUG_LEVEL_RAW)); // whose line shows no word
    EXPECT_EQ("MESSAGE", LibLogging::LogTypeToString(Type(8)));
    EXPECT_EQ("MESSAGE", LibLogging::LogTypeToString(Type(-3)));
}

TEST_F(ALogger, WritesTheLocalTimeTheWordTheThreadAndTheText) {
    const ScopedVariable zone("TZ", "XYZ-5:30");
    Start();
    m_Logger.LogThreadId(true);
    const std::time_t now = BeginningOfASecond();
    m_Logger.LogMessage("card found");
    EXPECT_EQ(LocalText(now, "%Y-%m-%d %H:%M:%S") + "      MESSAGE (" + std::to_string(gettid()) +
                  ") card found\n",
              FileContent());
    EXPECT_NE(LocalText(now, "%H:%M"), UtcText(now, "%H:%M"));
}

TEST_F(ALogger, WritesARawLineWithOneBlankAndNothingElse) {
    Start();
    m_Logger.LogThreadId(true);
    m_Logger.LogRaw("text");
    EXPECT_EQ(" text\n", FileContent());
}

TEST_F(ALogger, WritesTheThreadIdOfAForkedChild) {
    Start();
    m_Logger.LogThreadId(true);
    m_Logger.LogMessage("parent");
    const pid_t child = fork();
    if (child == 0) {
        m_Logger.LogMessage("child");
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ((Texts{"      MESSAGE (" + std::to_string(gettid()) + ") parent",
                     "      MESSAGE (" + std::to_string(child) + ") child"}),
              Lines());
}

TEST_F(ALogger, PopsWhateverFunctionIsOnTop) {
    Start();
    m_Logger.LogFunction("f", FUNCTION_IN);
    m_Logger.LogFunction("g", FUNCTION_IN);
    m_Logger.LogFunction("another", FUNCTION_OUT);
    m_Logger.LogStackTrace();
    EXPECT_EQ((Texts{"  IN FUNCTION f", "  IN FUNCTION g", " OUT FUNCTION another", "   STACKTRACE f"}),
              Lines());
}

TEST_F(ALogger, PrintsLeavingWithAnEmptyStack) {
    Start();
    m_Logger.LogFunction("f", FUNCTION_OUT);
    EXPECT_EQ(Texts{" OUT FUNCTION f"}, Lines());
}

TEST_F(ALogger, IgnoresAnyOtherDirection) {
    Start();
    m_Logger.LogFunction("f", static_cast<FunctionInOut>(2));
    m_Logger.LogStackTrace();
    EXPECT_EQ("", FileContent());
}

TEST_F(ALogger, PrintsTheInnermostCallFirstAndConsumesTheTrace) {
    Start();
    m_Logger.LogFunction("f", FUNCTION_IN);
    m_Logger.LogFunction("g", FUNCTION_IN);
    Start();
    m_Logger.LogStackTrace();
    EXPECT_EQ((Texts{"   STACKTRACE g", "   STACKTRACE f"}), Lines());
    m_Logger.LogStackTrace();
    EXPECT_EQ(2U, Lines().size());
}

TEST_F(ALogger, LeavesTheFunctionStackAloneBelowItsLevel) {
    Start();
    m_Logger.LogFunction("f", FUNCTION_IN);
    m_Logger.SetLoggingLevel(Level(3));
    m_Logger.LogFunction("g", FUNCTION_IN);
    m_Logger.LogFunction("f", FUNCTION_OUT);
    m_Logger.LogStackTrace();
    EXPECT_EQ(Texts{"  IN FUNCTION f"}, Lines());
    m_Logger.SetLoggingLevel(Level(4));
    m_Logger.LogStackTrace();
    EXPECT_EQ((Texts{"  IN FUNCTION f", "   STACKTRACE f"}), Lines());
}

TEST_F(ALogger, KeepsTheNewestEntriesInItsRingNewestFirst) {
    Start();
    m_Logger.LogToBuffer(LOG_BUFFER_AND_FILE, 2);
    const std::time_t before = std::time(nullptr);
    m_Logger.LogMessage("A");
    m_Logger.LogError("B");
    m_Logger.LogMessage("C");
    const std::list<LogEntry> ring = m_Logger.GetLogBuffer();
    ASSERT_EQ(2U, ring.size());
    EXPECT_EQ(2U, m_Logger.GetLogBufferSize());
    EXPECT_EQ("C", ring.front().m_Text);
    EXPECT_EQ(DEBUG_LEVEL_MESSAGE, ring.front().m_Level);
    EXPECT_LE(before, ring.front().m_Time);
    EXPECT_GE(std::time(nullptr), ring.front().m_Time);
    EXPECT_EQ("B", ring.back().m_Text);
    EXPECT_EQ(DEBUG_LEVEL_ERROR, ring.back().m_Level);
    EXPECT_EQ(3U, Lines().size());
    m_Logger.ClearLogBuffer();
    EXPECT_EQ(0U, m_Logger.GetLogBufferSize());
}

TEST_F(ALogger, RemovesOneEntryForEachNewOneWhenItsRingBecameSmaller) {
    Start();
    m_Logger.LogToBuffer(LOG_BUFFER_ONLY, 5);
    for (const char* text : {"A", "B", "C", "D"}) {
        m_Logger.LogMessage(text);
    }
    m_Logger.LogToBuffer(LOG_BUFFER_ONLY, 2);
    m_Logger.LogMessage("E");
    EXPECT_EQ(4U, m_Logger.GetLogBufferSize());
    EXPECT_EQ("E", m_Logger.GetLogBuffer().front().m_Text);
}

TEST_F(ALogger, WithTheRingAloneWritesNoFileAndNeverSplits) {
    m_Logger.Init(LogPath(), 1, false);
    m_Logger.Enabled(true);
    m_Logger.LogRotationFileSize(true, 1);
    m_Logger.LogToBuffer(LOG_BUFFER_ONLY, 10);
    for (int line = 0; line < 5; ++line) {
        m_Logger.LogMessage("text");
    }
    EXPECT_EQ(5U, m_Logger.GetLogBufferSize());
    EXPECT_EQ("", FileContent());
    EXPECT_EQ(Texts{"client.log"}, Files());
}

TEST_F(ALogger, WritesItsRingToTheFileNewestFirst) {
    Start();
    m_Logger.LogToBuffer(LOG_BUFFER_ONLY, 10);
    m_Logger.LogMessage("A");
    m_Logger.LogError("B");
    m_Logger.LogToBuffer(LOG_BUFFER_OFF, 10);
    m_Logger.LogBufferToFile();
    EXPECT_EQ((Texts{"        ERROR B", "      MESSAGE A"}), Lines());
    EXPECT_EQ(2U, m_Logger.GetLogBufferSize());
}

TEST_F(ALogger, WritesTheTimeOfNowForAnEntryOfItsRing) {
    Start();
    m_Logger.LogToBuffer(LOG_BUFFER_ONLY, 10);
    m_Logger.LogMessage("A");
    m_Logger.LogToBuffer(LOG_BUFFER_OFF, 10);
    const std::time_t now = BeginningOfASecond();
    m_Logger.LogBufferToFile();
    EXPECT_EQ(LocalText(now, "%Y-%m-%d %H:%M:%S") + "      MESSAGE A\n", FileContent());
}

TEST_F(ALogger, AddsToTheRingAgainWhenTheRingIsWrittenWhileOn) {
    Start();
    m_Logger.LogToBuffer(LOG_BUFFER_AND_FILE, 3);
    m_Logger.LogMessage("A");
    m_Logger.LogMessage("B");
    m_Logger.LogBufferToFile();
    EXPECT_EQ((Texts{"      MESSAGE A", "      MESSAGE B", "      MESSAGE B", "      MESSAGE A"}), Lines());
    EXPECT_EQ(3U, m_Logger.GetLogBufferSize());
    EXPECT_EQ("A", m_Logger.GetLogBuffer().front().m_Text);
}

TEST_F(ALogger, WritesTwoLastLinesWhenDestroyed) {
    const unsigned int id = LibLogging::Register();
    LibLogging& logger = *LibLogging::GetHandle(id);
    logger.Init(LogPath(), 10, false);
    logger.Enabled(true);
    logger.Destroy();
    EXPECT_EQ((Texts{"        DEBUG Destroy()", "        DEBUG close LibLogging"}), Lines());
}

TEST_F(ALogger, WritesTheVeryLastLineWhateverItsLevel) {
    const unsigned int id = LibLogging::Register();
    LibLogging& logger = *LibLogging::GetHandle(id);
    logger.Init(LogPath(), 10, false);
    logger.Enabled(true);
    logger.SetLoggingLevel(Level(0));
    logger.Destroy();
    EXPECT_EQ(Texts{"        DEBUG close LibLogging"}, Lines());
}
