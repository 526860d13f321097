// SPDX-License-Identifier: MIT
#include "tests/e2e/Program.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/e2e/Desktop.h"
#include "tests/support/PrivateEtc.h"

namespace {

/// Where the child finds what it sees as "/etc/velmor".
std::string velmorIn(const std::string& folder) {
    return folder + "/etc/velmor";
}

void writeConfiguration(const std::string& folder, const std::string& text) {
    std::filesystem::create_directories(velmorIn(folder) + "/orselclient");
    std::ofstream(velmorIn(folder) + "/orselclient/config") << text;
}

[[noreturn]] void becomeProgram(const std::string& folder, bool withConfiguration) {
    setenv("HOME", folder.c_str(), 1);
    setenv("LD_LIBRARY_PATH", ORSEL_SIMULATOR_DIR, 1);
    const std::string obstacle = withConfiguration ? privateetc::EnterWith(velmorIn(folder), folder) : "";
    if (obstacle.empty()) {
        execl(ORSEL_PROGRAM, "orselcards", nullptr);
    }
    std::cerr << obstacle << std::endl;
    _exit(127);
}

} // namespace

Program::Program(const std::string& folder, const std::string& systemConfiguration)
    : m_outputFile(folder + "/output.txt") {
    if (!systemConfiguration.empty())
        writeConfiguration(folder, systemConfiguration);
    m_pid = fork();
    if (m_pid < 0)
        throw std::runtime_error("cannot start the program");
    if (m_pid == 0) {
        const int file = open(m_outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        becomeProgram(folder, !systemConfiguration.empty());
    }
}

Program::~Program() {
    if (!runs())
        return;
    kill(SIGTERM);
    if (waitForEnd(5) == -1) {
        kill(SIGKILL);
        waitForEnd(5);
    }
}

bool Program::runs() {
    if (m_pid > 0 && waitpid(m_pid, &m_status, WNOHANG) == m_pid)
        m_pid = -1;
    return m_pid > 0;
}

int Program::waitForEnd(int seconds) {
    if (!desktop::waitFor([this] { return !runs(); }, seconds))
        return -1;
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : 1000 + WTERMSIG(m_status);
}

void Program::kill(int signal) {
    ::kill(m_pid, signal);
}

std::string Program::output() const {
    std::ifstream file(m_outputFile);
    return std::string(std::istreambuf_iterator<char>(file), {});
}
