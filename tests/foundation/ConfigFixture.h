// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_CONFIGFIXTURE_H
#define ORSEL_TESTS_FOUNDATION_CONFIGFIXTURE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Config.h"
#include "foundation/LibConfig.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SystemConfig.h"
#include "tests/support/TempDir.h"

inline const std::string DECLARATION = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

/// A home and a system directory without any configuration, and nobody registered.
class NoConfiguration : public testing::Test {
protected:
    NoConfiguration() : m_Home("HOME", m_Dir.Path("home").c_str()) {
        std::filesystem::create_directory(m_Dir.Path("home"));
        DestroyAll();
        LoggedErrors().clear();
        Velmor::LibConfig::SetErrorLoggingFunc([](const char* text) { LoggedErrors().push_back(text); });
    }
    ~NoConfiguration() override {
        Velmor::LibConfig::SetErrorLoggingFunc(nullptr);
        DestroyAll();
    }

    void SetUp() override {
        if (!SystemConfig::Obstacle().empty()) {
            GTEST_SKIP() << SystemConfig::Obstacle();
        }
    }

    std::string UserFile() const { return m_Dir.Path("home/.velmor/orselclient/config"); }
    void MakeUserDirectory() const {
        std::filesystem::create_directories(m_Dir.Path("home/.velmor/orselclient"));
    }
    void WriteUserFile(const std::string& content) const {
        MakeUserDirectory();
        m_Dir.File("home/.velmor/orselclient/config", content);
    }

    static std::vector<std::string>& LoggedErrors() {
        static std::vector<std::string> errors;
        return errors;
    }

    static void DestroyAll() {
        const Velmor::ConfigVector configs = Velmor::ConfigVector::vector(); // Destroy() changes the slots
        for (Velmor::Config* const config : configs) {
            if (config != nullptr) {
                config->Destroy();
            }
        }
        Velmor::ConfigVector::vector().clear();
    }

    TempDir m_Dir;
    ScopedVariable m_Home;
    SystemConfig m_System;
};

using Texts = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

#endif
