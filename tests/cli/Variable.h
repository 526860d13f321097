// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_CLI_VARIABLE_H
#define ORSEL_TESTS_CLI_VARIABLE_H

#include <cstdlib>
#include <optional>
#include <string>

/// A variable of the environment for as long as a test runs.
class Variable {
public:
    Variable(const char* name, const std::string& value) : m_Name(name) {
        const char* before = std::getenv(name);
        m_Before = before != nullptr ? std::optional<std::string>(before) : std::nullopt;
        setenv(name, value.c_str(), 1);
    }
    ~Variable() { m_Before ? setenv(m_Name, m_Before->c_str(), 1) : unsetenv(m_Name); }
    Variable(const Variable&) = delete; // the environment has it once
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_Name;
    std::optional<std::string> m_Before;
};

#endif
