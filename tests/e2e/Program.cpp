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
std::string VelmorIn(const std::string& folder) {
    return folder + "/etc/velmor";
}

void WriteConfiguration(const std::string& folder, const std::string& text) {
    std::filesystem::create_directories(VelmorIn(folder) + "/orselclient");
    std::ofstream(VelmorIn(folder) + "/orselclient/config") << text;
}

[[noreturn]] void BecomeProgram(const std::string& folder, bool withConfiguration,
                                const std::string& libraries) {
    setenv("HOME", folder.c_str(), 1);
    setenv("LD_LIBRARY_PATH", libraries.c_str(), 1);
    const std::string obstacle = withConfiguration ? privateetc::EnterWith(VelmorIn(folder), folder) : "";
    if (obstacle.empty()) {
        if (const char* const tool = std::getenv("ORSEL_TOOL")) {
            const std::string command = "exec " + std::string(tool) + " '" ORSEL_PROGRAM "'";
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        }
        execl(ORSEL_PROGRAM, "orselcards", nullptr);
    }
    std::cerr << obstacle << std::endl;
    _exit(127);
}

} // namespace

Program::Program(const std::string& folder, const std::string& systemConfiguration,
                 const std::string& libraries)
    : m_OutputFile(folder + "/output.txt") {
    if (!systemConfiguration.empty()) {
        WriteConfiguration(folder, systemConfiguration);
    }
    m_Pid = fork();
    if (m_Pid < 0) {
        throw std::runtime_error("cannot start the program");
    }
    if (m_Pid == 0) {
        const int file = open(m_OutputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        BecomeProgram(folder, !systemConfiguration.empty(), libraries);
    }
}

Program::~Program() {
    if (!Runs()) {
        return;
    }
    Kill(SIGTERM);
    if (WaitForEnd(5) == -1) {
        Kill(SIGKILL);
        WaitForEnd(5);
    }
}

bool Program::Runs() {
    if (m_Pid > 0 && waitpid(m_Pid, &m_Status, WNOHANG) == m_Pid) {
        m_Pid = -1;
    }
    return m_Pid > 0;
}

int Program::WaitForEnd(int seconds) {
    if (!desktop::WaitFor([this] { return !Runs(); }, seconds)) {
        return -1;
    }
    return WIFEXITED(m_Status) ? WEXITSTATUS(m_Status) : 1000 + WTERMSIG(m_Status);
}

void Program::Kill(int signal) {
    ::kill(m_Pid, signal);
}

std::string Program::Output() const {
    std::ifstream file(m_OutputFile);
    return std::string(std::istreambuf_iterator<char>(file), {});
}
