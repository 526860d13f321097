// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_LOGGERFIXTURE_H
#define ORSEL_TESTS_FOUNDATION_LOGGERFIXTURE_H

#include <algorithm>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Logging.h"
#include "tests/support/TempDir.h"

/// A registered logger without file, disabled as it comes, and a directory for its files.
class ALogger : public testing::Test {
protected:
    ALogger() : m_Id(Velmor::LibLogging::Register()), m_Logger(*Velmor::LibLogging::GetHandle(m_Id)) {}
    ~ALogger() override { Velmor::LibLogging::GetHandle(m_Id)->Destroy(); }

    std::string LogPath() const { return m_Dir.Path("client.log"); }
    std::string FileContent() const { return ContentOf(LogPath()); }

    /// The lines of the live file without their time.
    std::vector<std::string> Lines() const { return LinesOf("client.log"); }
    std::vector<std::string> LinesOf(const std::string& name) const {
        std::vector<std::string> lines;
        std::istringstream content(ContentOf(m_Dir.Path(name)));
        for (std::string line; std::getline(content, line);) {
            std::tm ignored = {};
            const char* const behindTime = strptime(line.c_str(), "%Y-%m-%d %H:%M:%S", &ignored);
            lines.push_back(behindTime != nullptr ? behindTime : line);
        }
        return lines;
    }

    /// The names of all files in the directory, sorted.
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_Dir.Path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    /// Makes the logger ready: a new file, no split, everything passes.
    void Start() {
        m_Logger.Init(LogPath(), 10000, false);
        m_Logger.Enabled(true);
    }

    TempDir m_Dir;
    unsigned int m_Id;
    Velmor::LibLogging& m_Logger;
};

using Texts = std::vector<std::string>;

#endif
