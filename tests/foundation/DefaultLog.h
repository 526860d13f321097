// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_DEFAULTLOG_H
#define ORSEL_TESTS_FOUNDATION_DEFAULTLOG_H

#include <list>
#include <string>
#include <vector>

#include "foundation/Logging.h"
#include "tests/support/TempDir.h"

/// Listens to the default logger for the life of the object.
class DefaultLog {
public:
    DefaultLog() {
        Velmor::LibLogging& logger = *Velmor::LibLogging::GetHandle(0);
        logger.Init(m_Dir.Path("default.log"), 10000, false);
        logger.LogToBuffer(Velmor::LOG_BUFFER_ONLY, 1000);
        logger.Enabled(true);
    }
    DefaultLog(const DefaultLog&) = delete;
    DefaultLog& operator=(const DefaultLog&) = delete;
    ~DefaultLog() { Velmor::LibLogging::GetHandle(0)->Destroy(); }

    /// The texts of the errors so far, oldest first. Any other line shows with its word.
    std::vector<std::string> Errors() const {
        std::vector<std::string> texts;
        const std::list<Velmor::LogEntry> ring = Velmor::LibLogging::GetHandle(0)->GetLogBuffer();
        for (auto entry = ring.rbegin(); entry != ring.rend(); ++entry) {
            const bool isError = entry->m_Level == Velmor::DEBUG_LEVEL_ERROR;
            texts.push_back((isError ? "" : Velmor::LibLogging::LogTypeToString(entry->m_Level) + ": ") +
                            entry->m_Text);
        }
        return texts;
    }

private:
    TempDir m_Dir;
};

#endif
