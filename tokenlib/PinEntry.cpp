// SPDX-License-Identifier: MIT
#include "tokenlib/PinEntry.h"

#include <iostream>
#include <sstream>
#include <utility>

#include "tokenlib/Files.h"
#include "tokenlib/PinentryProgram.h"
#include "tokenlib/Refusal.h"

namespace tokenlib {

namespace {

void RequireSame(const Secret& first, const Secret& second) {
    if (first.Text() != second.Text()) {
        throw Refusal{CKR_PIN_INVALID};
    }
}

/// A pinentry that cannot repeat a question itself is asked a second time.
std::optional<Secret> AskProgram(const PinQuestion& question) {
    PinentryAnswer answer = RunPinentry(question);
    if (!answer.m_Pin || !question.m_IsNew || answer.m_IsRepeated) {
        return std::move(answer.m_Pin);
    }
    PinQuestion again = question;
    again.m_IsNew = false;
    again.m_Prompt = "Wiederholung:";
    PinentryAnswer second = RunPinentry(again);
    if (!second.m_Pin) {
        return std::nullopt;
    }
    RequireSame(*answer.m_Pin, *second.m_Pin);
    return std::move(answer.m_Pin);
}

} // namespace

std::optional<Secret> PinEntry::Ask(const PinQuestion& question) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    if (m_ScriptPath.empty()) {
        return AskProgram(question);
    }
    std::optional<Secret> first = NextAnswer();
    if (!first || !question.m_IsNew) {
        return first;
    }
    std::optional<Secret> second = NextAnswer();
    if (!second) {
        return std::nullopt;
    }
    RequireSame(*first, *second);
    return first;
}

// The file is read at each question, so that answers may be added while the library runs. Behind
// its end every question is cancelled.
std::optional<Secret> PinEntry::NextAnswer() {
    try {
        std::istringstream lines(TextOf(ReadFile(m_ScriptPath)));
        std::string line;
        for (std::size_t number = 0; number <= m_AnswersUsed; ++number) {
            if (!std::getline(lines, line)) {
                return std::nullopt;
            }
        }
        ++m_AnswersUsed;
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line == "cancel") {
            return std::nullopt;
        }
        return Secret(std::move(line));
    } catch (const FileError& error) {
        std::cerr << std::string("OrselP11: no PIN script: ") + error.what() + "\n";
        throw Refusal{CKR_DEVICE_ERROR};
    }
}

} // namespace tokenlib
