// SPDX-License-Identifier: MIT
#include "tokenlib/Faults.h"

#include <algorithm>
#include <iostream>
#include <sstream>

#include "tokenlib/Files.h"
#include "tokenlib/Names.h"

namespace tokenlib {

Faults::Faults(const std::string& path) {
    if (path.empty()) {
        return;
    }
    try {
        std::istringstream lines(TextOf(ReadFile(path)));
        for (std::string line; std::getline(lines, line);) {
            const std::size_t start = line.find_first_not_of(" \t\r");
            if (start == std::string::npos || line[start] == '#') {
                continue;
            }
            if (auto fault = Parse(line)) {
                m_Faults.push_back(std::move(*fault));
            } else {
                std::cerr << "OrselP11: not a fault: " << line << '\n';
            }
        }
    } catch (const FileError& error) {
        std::cerr << "OrselP11: no faults: " << error.what() << '\n';
    }
}

std::optional<Faults::Fault> Faults::Parse(const std::string& line) {
    std::istringstream words(line);
    Fault fault;
    words >> fault.m_Function;
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos ||
            !ParseField(word.substr(0, equals), word.substr(equals + 1), fault)) {
            return std::nullopt;
        }
    }
    const bool doesNothing =
        !fault.m_Effect.m_Result && !fault.m_Effect.m_Length && fault.m_Effect.m_DelayMs == 0;
    if (doesNothing || fault.m_Function.compare(0, 2, "C_") != 0) {
        return std::nullopt;
    }
    fault.m_Effect.m_Only = fault.m_Attribute;
    return fault;
}

bool Faults::ParseField(const std::string& key, const std::string& value, Fault& fault) {
    if (key == "name") {
        fault.m_Name = value;
        return true;
    }
    if (key == "call" && value == "every") {
        return true;
    }
    if (key == "rv") {
        return (fault.m_Effect.m_Result = ReturnByName(value)).has_value();
    }
    if (key == "attribute") {
        return (fault.m_Attribute = AttributeByName(value)).has_value();
    }
    const auto number = NumberOf(value);
    if (!number) {
        return false;
    }
    if (key == "slot") {
        fault.m_Slot = number;
    } else if (key == "call" && *number > 0) {
        fault.m_Call = number;
    } else if (key == "delay") {
        fault.m_Effect.m_DelayMs = *number;
    } else if (key == "length") {
        fault.m_Effect.m_Length = number;
    } else {
        return false;
    }
    return true;
}

bool Faults::Matches(const Fault& fault, const CallFacts& call) {
    const auto& types = call.m_Attributes;
    return fault.m_Function == call.m_Function && (!fault.m_Slot || fault.m_Slot == call.m_Slot) &&
           (!fault.m_Attribute || std::find(types.begin(), types.end(), *fault.m_Attribute) != types.end()) &&
           (!fault.m_Name || *fault.m_Name == call.m_Name);
}

FaultEffect Faults::Meet(const CallFacts& call) {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    FaultEffect sum;
    for (Fault& fault : m_Faults) {
        if (!Matches(fault, call)) {
            continue;
        }
        ++fault.m_CallsMet;
        if (fault.m_Call && *fault.m_Call != fault.m_CallsMet) {
            continue;
        }
        sum.m_DelayMs += fault.m_Effect.m_DelayMs;
        if (!sum.m_Result) {
            sum.m_Result = fault.m_Effect.m_Result;
        }
        if (!sum.m_Length && fault.m_Effect.m_Length) {
            sum.m_Length = fault.m_Effect.m_Length;
            sum.m_Only = fault.m_Effect.m_Only;
        }
    }
    return sum;
}

} // namespace tokenlib
