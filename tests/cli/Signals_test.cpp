// SPDX-License-Identifier: MIT
// The built program with signals, closed pipes and closed descriptors as a shell deals them out.
#include <array>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <thread>

#include <sys/ioctl.h>
#include <unistd.h>

#include "tests/cli/CliTest.h"
#include "tests/cli/Process.h"
#include "tests/support/ScopedVariable.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Line = std::vector<std::string>;

class AProcess : public CliTest {
protected:
    void SetUp() override {
        m_Card = m_Deck.Add("acos-a04");
        FileOf("FILE", "a text");
        m_Deck.AnswerPins({"123456"});
    }

    /// Whatever has been opened is closed, and nothing lies beside the file.
    void ExpectNothingHalf() {
        ExpectNoSession();
        EXPECT_EQ(m_Deck.GetTrace("C_Initialize").size(), m_Deck.GetTrace("C_Finalize").size());
        for (const std::string& name : Files()) {
            EXPECT_THAT(name, Not(testing::StartsWith("OUT.")));
        }
    }

    /// Names of the calls that the command makes when nobody disturbs it.
    std::vector<std::string> CallsOf(const Line& line) {
        m_Deck.ClearTrace();
        EXPECT_EQ(Process(m_Deck.Folder(), line).Wait(), 0) << line[0];
        std::vector<std::string> calls;
        for (const orseltest::TraceRecord& record : m_Deck.GetTrace()) {
            calls.push_back(record.m_Function);
        }
        return calls;
    }

    std::string m_Card;
};

/// A pipe whose reading end this process has closed, or another one will.
class Pipe {
public:
    Pipe() { EXPECT_EQ(pipe(m_Ends.data()), 0); }
    ~Pipe() { CloseAll(); }
    Pipe(const Pipe&) = delete; // one owner
    Pipe& operator=(const Pipe&) = delete;

    int Reading() const { return m_Ends[0]; }
    int Writing() const { return m_Ends[1]; }
    void CloseReading() { Close(m_Ends[0]); }
    void CloseAll() {
        Close(m_Ends[0]);
        Close(m_Ends[1]);
    }

private:
    static void Close(int& end) {
        if (end >= 0) {
            close(end);
        }
        end = -1;
    }

    std::array<int, 2> m_Ends = {-1, -1};
};

} // namespace

TEST_F(AProcess, ThatSignsEndsByTheSignalOrWithTheWholeFileInWhicheverCallItComes) {
    const Line line = {"sign", "signature", PathOf("FILE"), "--out", PathOf("OUT")};
    const std::vector<std::string> calls = CallsOf(line);
    ASSERT_GT(calls.size(), 10U);
    for (size_t call = 0; call < calls.size(); ++call) {
        SCOPED_TRACE(std::to_string(call) + " " + calls[call]);
        FileOf("OUT", "old");
        m_Deck.ClearTrace();
        const ScopedVariable plan("ORSEL_INTERRUPT",
                                  std::to_string(call) + " signal " + std::to_string(SIGINT));
        Process::Wish wish;
        wish.m_Libraries = ORSEL_INTERRUPTED_DIR;
        Process process(m_Deck.Folder(), line, wish);
        const int code = process.Wait();
        ExpectNothingHalf();
        const bool isWritten = ContentOf(PathOf("OUT")) != "old";
        EXPECT_EQ(code, isWritten ? 0 : 128 + SIGINT);
        EXPECT_TRUE(!isWritten || ContentOf(PathOf("OUT")).size() == 64);
    }
    std::cout << calls.size() << " calls\n";
}

TEST_F(AProcess, WhoseReaderGoesAwayEndsByTheSignalOfTheClosedPipeInWhicheverCallThatIs) {
    const Line line = {"certificate", "signature"};
    const std::vector<std::string> calls = CallsOf(line);
    for (size_t call = 0; call < calls.size(); ++call) {
        SCOPED_TRACE(std::to_string(call) + " " + calls[call]);
        m_Deck.ClearTrace();
        Pipe output;
        const ScopedVariable plan("ORSEL_INTERRUPT",
                                  std::to_string(call) + " close " + std::to_string(output.Reading()));
        Process::Wish wish;
        wish.m_Out = output.Writing();
        wish.m_Libraries = ORSEL_INTERRUPTED_DIR;
        Process process(m_Deck.Folder(), line, wish);
        output.CloseAll();
        EXPECT_EQ(process.Wait(), 128 + SIGPIPE);
        EXPECT_EQ(process.Error(), "");
        ExpectNothingHalf();
    }
    std::cout << calls.size() << " calls\n";
}

TEST_F(AProcess, WithoutAReaderEndsByTheSignalOfTheClosedPipe) {
    for (const Line& line :
         {Line{"list"}, {"show"}, {"pin"}, {"infobox"}, {"apdu", "80F6000008"}, {"doctor"}, {"--help"}}) {
        Pipe output;
        output.CloseReading();
        Process::Wish wish;
        wish.m_Out = output.Writing();
        Process process(m_Deck.Folder(), line, wish);
        EXPECT_EQ(process.Wait(), 128 + SIGPIPE) << line[0];
        EXPECT_EQ(process.Error(), "") << line[0];
        ExpectNothingHalf();
    }
}

TEST_F(AProcess, EndsAtOnceAtASecondSignalAndLeavesNoHalfFile) {
    m_Deck.PlanFaults({"C_Sign delay=60000"});
    Process process(m_Deck.Folder(), {"sign", "signature", PathOf("FILE"), "--out", PathOf("OUT")});
    while (m_Deck.GetTrace("C_SignInit").empty()) {
        std::this_thread::yield();
    }
    process.Signal(SIGTERM);
    process.Signal(SIGINT); // one of them is the second, in whichever order they are handled
    EXPECT_THAT(process.Wait(), testing::AnyOf(128 + SIGINT, 128 + SIGTERM));
    EXPECT_FALSE(std::filesystem::exists(PathOf("OUT")));
}

TEST_F(AProcess, ThatIsToIgnoreCtrlCDoesSo) {
    const std::vector<std::string> calls = CallsOf({"list"});
    const ScopedVariable plan("ORSEL_INTERRUPT", "3 signal " + std::to_string(SIGINT));
    Process::Wish wish;
    wish.m_Libraries = ORSEL_INTERRUPTED_DIR;
    wish.m_IgnoresInterrupt = true;
    Process process(m_Deck.Folder(), {"list"}, wish);
    EXPECT_EQ(process.Wait(), 0);
    EXPECT_THAT(process.Out(), Not(IsEmpty()));
}

TEST_F(AProcess, WaitingForACardEndsByTheSignal) {
    m_Deck.TakeOut(m_Card);
    m_Deck.ClearTrace();
    Process waiting(m_Deck.Folder(), {"show", "--wait", "600"});
    while (m_Deck.GetTrace("C_GetSlotList").size() < 6) { // it has looked and waits
        std::this_thread::yield();
    }
    waiting.Signal(SIGINT);
    EXPECT_EQ(waiting.Wait(), 128 + SIGINT);
    EXPECT_THAT(waiting.Error(), HasSubstr("interrupted"));
    ExpectNothingHalf();
}

TEST_F(AProcess, WaitingForDataEndsByTheSignal) {
    Pipe input;
    Process::Wish wish;
    wish.m_In = input.Reading();
    Process process(m_Deck.Folder(), {"sign", "signature", "--out", PathOf("OUT")}, wish);
    ASSERT_EQ(write(input.Writing(), "a", 1), 1);
    int unread = 1;
    while (unread != 0) { // it reads, and waits for more
        ASSERT_EQ(ioctl(input.Reading(), FIONREAD, &unread), 0);
        std::this_thread::yield();
    }
    process.Signal(SIGINT);
    EXPECT_EQ(process.Wait(), 128 + SIGINT);
    EXPECT_THAT(process.Error(), HasSubstr("interrupted"));
    EXPECT_FALSE(std::filesystem::exists(PathOf("OUT")));
}

TEST_F(AProcess, WithoutStandardDescriptorsTakesNoOtherFileForThem) {
    Process::Wish wish;
    wish.m_Closed = {STDIN_FILENO, STDOUT_FILENO};
    Process list(m_Deck.Folder(), {"list"}, wish);
    EXPECT_EQ(list.Wait(), 1);
    EXPECT_THAT(list.Error(), HasSubstr("output cannot be written"));
    Process reading(m_Deck.Folder(), {"sign", "signature"}, wish);
    EXPECT_EQ(reading.Wait(), 2);
    wish.m_Closed = {STDERR_FILENO}; // the library's trace would be the next file in this place
    const Line read = {"certificate", "signature", "--out", PathOf("OUT")};
    EXPECT_EQ(Process(m_Deck.Folder(), read, wish).Wait(), 0);
    const Line write = {"update", "certificate", PathOf("OUT"), "--yes"};
    EXPECT_EQ(Process(m_Deck.Folder(), write, wish).Wait(), 0);
    EXPECT_THAT(m_Deck.TraceText(), Not(HasSubstr("On the card now")));
    EXPECT_THAT(ContentOf(PathOf("OUT")), testing::StartsWith("-----BEGIN CERTIFICATE-----"));
}
