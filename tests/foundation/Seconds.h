// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_SECONDS_H
#define ORSEL_TESTS_FOUNDATION_SECONDS_H

#include <chrono>
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

#endif
