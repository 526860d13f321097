// SPDX-License-Identifier: MIT
#include "tokenlib/Trace.h"

#include <cerrno>
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tokenlib/Hex.h"

namespace tokenlib {

Trace::Trace(const std::string& path) : m_Descriptor(-1) {
    if (path.empty()) {
        return;
    }
    m_Descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (m_Descriptor < 0) {
        std::cerr << "OrselP11: no trace: " << path << ": " << std::strerror(errno) << '\n';
    }
}

Trace::~Trace() {
    if (m_Descriptor >= 0) {
        close(m_Descriptor);
    }
}

void Trace::Write(const std::string& line) const {
    if (m_Descriptor < 0) {
        return;
    }
    const std::string text = "tid=" + std::to_string(syscall(SYS_gettid)) + " " + line + "\n";
    while (::write(m_Descriptor, text.data(), text.size()) < 0 && errno == EINTR) {
    }
}

std::string Trace::Encoded(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c > ' ' && c < '\x7F' && c != '%' && c != '"' && c != ',' && c != '=') {
            result += c;
        } else {
            result += "%" + ToHex({static_cast<unsigned char>(c)});
        }
    }
    return result;
}

} // namespace tokenlib
