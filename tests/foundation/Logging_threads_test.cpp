// SPDX-License-Identifier: MIT
#include "foundation/Logging.h"

#include <thread>

#include "tests/foundation/LoggerFixture.h"

using namespace Velmor;

namespace {

constexpr int LINES_A_THREAD = 2000;

void WriteLines(LibLogging& logger, const std::string& text) {
    for (int line = 0; line < LINES_A_THREAD; ++line) {
        logger.LogRaw(text);
    }
}

} // namespace

TEST_F(ALogger, KeepsEachLineWholeWhenTwoThreadsWrite) {
    Start();
    const std::string first(200, 'a');
    const std::string second(200, 'b');
    std::thread other(WriteLines, std::ref(m_Logger), first);
    WriteLines(m_Logger, second);
    other.join();
    const Texts lines = Lines();
    EXPECT_EQ(LINES_A_THREAD, std::count(lines.begin(), lines.end(), " " + first));
    EXPECT_EQ(LINES_A_THREAD, std::count(lines.begin(), lines.end(), " " + second));
    EXPECT_EQ(2U * LINES_A_THREAD, lines.size());
}

TEST_F(ALogger, KeepsCountWhenTwoThreadsWriteUpToItsLimit) {
    m_Logger.Init(LogPath(), 2 * LINES_A_THREAD, false);
    m_Logger.Enabled(true);
    std::thread other(WriteLines, std::ref(m_Logger), "a");
    WriteLines(m_Logger, "b");
    other.join();
    EXPECT_EQ(Texts{"client.log"}, Files());
    m_Logger.LogRaw("c");
    EXPECT_EQ(2U * LINES_A_THREAD, LinesOf("client_0.log").size());
    EXPECT_EQ(Texts{" c"}, Lines());
}

TEST_F(ALogger, SurvivesSplitsOfTwoThreads) {
    m_Logger.Init(LogPath(), 50, false);
    m_Logger.Enabled(true);
    std::thread other(WriteLines, std::ref(m_Logger), "a");
    WriteLines(m_Logger, "b");
    other.join();
    std::size_t lines = 0;
    for (const std::string& file : Files()) {
        for (const std::string& line : LinesOf(file)) {
            EXPECT_TRUE(line == " a" || line == " b") << line;
            ++lines;
        }
    }
    EXPECT_EQ(2U * LINES_A_THREAD, lines);
}

TEST(LoggerRegistry, HandsOutDistinctIdsToTwoThreads) {
    std::vector<unsigned int> ids[2];
    const auto registerMany = [](std::vector<unsigned int>& mine) {
        for (int count = 0; count < 200; ++count) {
            mine.push_back(LibLogging::Register());
            LibLogging::GetHandle(mine.back())->Destroy();
        }
    };
    std::thread other(registerMany, std::ref(ids[0]));
    registerMany(ids[1]);
    other.join();
    std::vector<unsigned int> all = ids[0];
    all.insert(all.end(), ids[1].begin(), ids[1].end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all.end(), std::adjacent_find(all.begin(), all.end()));
    EXPECT_EQ(400U, all.size());
}

TEST(MutexOfTwoThreads, LetsOneInAtATime) {
    Mutex mutex;
    int count = 0;
    const auto countUp = [&] {
        for (int step = 0; step < 10000; ++step) {
            mutex.lock();
            ++count;
            mutex.unlock();
        }
    };
    std::thread other(countUp);
    countUp();
    other.join();
    EXPECT_EQ(20000, count);
}
