// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_SECONDS_H
#define ORSEL_TESTS_FOUNDATION_SECONDS_H

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

/// Waits for the next second to begin, so that what follows runs within one. Returns that second.
inline std::time_t BeginningOfASecond() {
    const std::time_t before = std::time(nullptr);
    while (std::time(nullptr) == before) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return std::time(nullptr);
}

inline std::string LocalText(std::time_t time, const char* format) {
    char text[64];
    return std::string(text, std::strftime(text, sizeof(text), format, std::localtime(&time)));
}

inline std::string UtcText(std::time_t time, const char* format) {
    char text[64];
    return std::string(text, std::strftime(text, sizeof(text), format, std::gmtime(&time)));
}

/// An environment variable with another value, or none, for the life of the object.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : m_Name(name) {
        const char* const old = std::getenv(name);
        m_WasSet = old != nullptr;
        m_Old = m_WasSet ? old : "";
        Set(value);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { Set(m_WasSet ? m_Old.c_str() : nullptr); }

private:
    void Set(const char* value) {
        if (value != nullptr) {
            setenv(m_Name, value, 1);
        } else {
            unsetenv(m_Name);
        }
        tzset();
    }

    const char* m_Name;
    bool m_WasSet;
    std::string m_Old;
};

#endif
