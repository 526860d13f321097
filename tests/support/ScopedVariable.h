// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_SCOPEDVARIABLE_H
#define ORSEL_TESTS_SUPPORT_SCOPEDVARIABLE_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

/// An environment variable with another value, or none, for the life of the object; then as it was.
class ScopedVariable {
public:
    /// A null value is none. `name` outlives the object.
    ScopedVariable(const char* name, const char* value) : m_Name(name) {
        if (const char* const before = std::getenv(name); before != nullptr) {
            m_Before = before;
        }
        Set(value);
    }
    ScopedVariable(const char* name, const std::string& value) : ScopedVariable(name, value.c_str()) {}
    ScopedVariable(const ScopedVariable&) = delete; // the environment has it once
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { Set(m_Before ? m_Before->c_str() : nullptr); }

private:
    void Set(const char* value) const {
        if (value != nullptr) {
            setenv(m_Name, value, 1);
        } else {
            unsetenv(m_Name);
        }
        tzset(); // in case it is the time zone
    }

    const char* m_Name;
    std::optional<std::string> m_Before;
};

/// The search path with a folder before all others for the life of the object.
class FolderOnPath : public ScopedVariable {
public:
    explicit FolderOnPath(const std::string& folder)
        : ScopedVariable("PATH", folder + ":" + std::getenv("PATH")) {}
};

#endif
