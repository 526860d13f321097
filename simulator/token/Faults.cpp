// SPDX-License-Identifier: MIT
#include "simulator/token/Faults.h"

#include <algorithm>
#include <iostream>
#include <sstream>

#include "simulator/store/Files.h"
#include "simulator/token/Names.h"

namespace orselsim {

Faults::Faults(const std::string& path) {
    if (path.empty())
        return;
    try {
        std::istringstream lines(textOf(readFile(path)));
        for (std::string line; std::getline(lines, line);) {
            const std::size_t start = line.find_first_not_of(" \t\r");
            if (start == std::string::npos || line[start] == '#')
                continue;
            if (auto fault = parse(line))
                m_faults.push_back(std::move(*fault));
            else
                std::cerr << "OrselP11: not a fault: " << line << '\n';
        }
    } catch (const FileError& error) {
        std::cerr << "OrselP11: no faults: " << error.what() << '\n';
    }
}

std::optional<Faults::Fault> Faults::parse(const std::string& line) {
    std::istringstream words(line);
    Fault fault;
    words >> fault.function;
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos ||
            !parseField(word.substr(0, equals), word.substr(equals + 1), fault))
            return std::nullopt;
    }
    const bool doesNothing = !fault.effect.result && !fault.effect.length && fault.effect.delayMs == 0;
    if (doesNothing || fault.function.compare(0, 2, "C_") != 0)
        return std::nullopt;
    fault.effect.only = fault.attribute;
    return fault;
}

bool Faults::parseField(const std::string& key, const std::string& value, Fault& fault) {
    if (key == "name") {
        fault.name = value;
        return true;
    }
    if (key == "call" && value == "every")
        return true;
    if (key == "rv")
        return (fault.effect.result = returnByName(value)).has_value();
    if (key == "attribute")
        return (fault.attribute = attributeByName(value)).has_value();
    const auto number = numberOf(value);
    if (!number)
        return false;
    if (key == "slot")
        fault.slot = number;
    else if (key == "call" && *number > 0)
        fault.call = number;
    else if (key == "delay")
        fault.effect.delayMs = *number;
    else if (key == "length")
        fault.effect.length = number;
    else
        return false;
    return true;
}

bool Faults::matches(const Fault& fault, const CallFacts& call) {
    const auto& types = call.attributes;
    return fault.function == call.function && (!fault.slot || fault.slot == call.slot) &&
           (!fault.attribute || std::find(types.begin(), types.end(), *fault.attribute) != types.end()) &&
           (!fault.name || *fault.name == call.name);
}

FaultEffect Faults::meet(const CallFacts& call) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    FaultEffect sum;
    for (Fault& fault : m_faults) {
        if (!matches(fault, call))
            continue;
        ++fault.callsMet;
        if (fault.call && *fault.call != fault.callsMet)
            continue;
        sum.delayMs += fault.effect.delayMs;
        if (!sum.result)
            sum.result = fault.effect.result;
        if (!sum.length && fault.effect.length) {
            sum.length = fault.effect.length;
            sum.only = fault.effect.only;
        }
    }
    return sum;
}

} // namespace orselsim
