// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_COMMANDOUTPUT_H
#define ORSEL_TESTS_SUPPORT_COMMANDOUTPUT_H

#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

/// Standard output of a shell command, which is run to its end.
inline std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run: " + command);
    }
    std::string output;
    std::array<char, 4096> block;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe.get())) {
        output.append(block.data(), count);
    }
    return output;
}

#endif
