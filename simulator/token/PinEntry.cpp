// SPDX-License-Identifier: MIT
#include "simulator/token/PinEntry.h"

#include <iostream>
#include <sstream>

#include "simulator/store/Files.h"
#include "simulator/token/PinentryProgram.h"
#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

void requireSame(const Secret& first, const Secret& second) {
    if (first.text() != second.text())
        throw Refusal{CKR_PIN_INVALID};
}

/// A pinentry that cannot repeat a question itself is asked a second time.
std::optional<Secret> askProgram(const PinQuestion& question) {
    PinentryAnswer answer = runPinentry(question);
    if (!answer.pin || !question.isNew || answer.isRepeated)
        return std::move(answer.pin);
    PinQuestion again = question;
    again.isNew = false;
    again.prompt = "Wiederholung:";
    PinentryAnswer second = runPinentry(again);
    if (!second.pin)
        return std::nullopt;
    requireSame(*answer.pin, *second.pin);
    return std::move(answer.pin);
}

} // namespace

std::optional<Secret> PinEntry::ask(const PinQuestion& question) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_scriptPath.empty())
        return askProgram(question);
    std::optional<Secret> first = nextAnswer();
    if (!first || !question.isNew)
        return first;
    std::optional<Secret> second = nextAnswer();
    if (!second)
        return std::nullopt;
    requireSame(*first, *second);
    return first;
}

// The file is read at each question, so that answers may be added while the library runs. Behind
// its end every question is cancelled.
std::optional<Secret> PinEntry::nextAnswer() {
    try {
        std::istringstream lines(textOf(readFile(m_scriptPath)));
        std::string line;
        for (std::size_t number = 0; number <= m_answersUsed; ++number)
            if (!std::getline(lines, line))
                return std::nullopt;
        ++m_answersUsed;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line == "cancel")
            return std::nullopt;
        return Secret(std::move(line));
    } catch (const FileError& error) {
        std::cerr << std::string("OrselP11: no PIN script: ") + error.what() + "\n";
        throw Refusal{CKR_DEVICE_ERROR};
    }
}

} // namespace orselsim
