// SPDX-License-Identifier: MIT
#include "tests/cli/Process.h"

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TempDir.h"

Process::Process(const std::string& folder, const std::vector<std::string>& arguments, const Wish& wish)
    : m_OutFile(folder + "/stdout"), m_ErrorFile(folder + "/stderr"), m_Pid(fork()) {
    if (m_Pid == 0) {
        Begin(arguments, wish);
    }
}

Process::~Process() {
    if (m_Pid > 0) {
        kill(m_Pid, SIGKILL);
        waitpid(m_Pid, nullptr, 0);
    }
}

void Process::Signal(int signal) const {
    kill(m_Pid, signal);
}

int Process::Wait() {
    int status = 0;
    waitpid(m_Pid, &status, 0);
    m_Pid = -1;
    return CodeOf(status);
}

int Process::CodeOf(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string Process::Out() const {
    return ContentOf(m_OutFile);
}

std::string Process::Error() const {
    return ContentOf(m_ErrorFile);
}

// Whoever started the test may ignore the signals, which would pass on.
void Process::Begin(const std::vector<std::string>& arguments, const Wish& wish) const {
    constexpr int FOR_WRITING = O_WRONLY | O_CREAT | O_TRUNC;
    dup2(wish.m_In >= 0 ? wish.m_In : open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(wish.m_Out >= 0 ? wish.m_Out : open(m_OutFile.c_str(), FOR_WRITING, 0600), STDOUT_FILENO);
    dup2(open(m_ErrorFile.c_str(), FOR_WRITING, 0600), STDERR_FILENO);
    for (const int descriptor : wish.m_Closed) {
        close(descriptor);
    }
    setenv("LD_LIBRARY_PATH", wish.m_Libraries.c_str(), 1);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGINT, wish.m_IgnoresInterrupt ? SIG_IGN : SIG_DFL);
    Become(arguments);
}

void Process::Become(const std::vector<std::string>& arguments) {
    constexpr const char* PROGRAM[] = {ORSEL_CLI_COMMAND}; // behind the emulator of another machine's program
    std::vector<char*> words;
    for (const char* word : PROGRAM) {
        words.push_back(const_cast<char*>(word));
    }
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    execvp(words.front(), words.data());
    _exit(127);
}
