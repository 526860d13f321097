// SPDX-License-Identifier: MIT
#include "tests/support/SystemConfig.h"

#include <filesystem>
#include <fstream>

#include "tests/support/PrivateEtc.h"

namespace fs = std::filesystem;

SystemConfig::SystemConfig() {
    if (Obstacle().empty()) {
        fs::remove_all("/etc/velmor");
    }
}

const std::string& SystemConfig::Obstacle() {
    static const std::string obstacle = privateetc::EnterEmpty();
    return obstacle;
}

void SystemConfig::MakeDirectory() {
    fs::create_directories(fs::path(File()).parent_path());
}

void SystemConfig::Write(const std::string& content) {
    MakeDirectory();
    std::ofstream(File(), std::ios::binary) << content;
}
