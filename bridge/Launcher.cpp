// SPDX-License-Identifier: MIT
#include "bridge/Launcher.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <stdexcept>

#include <unistd.h>

#include "tokenlib/Environment.h"

namespace orselbridge {

namespace {

namespace fs = std::filesystem;

/// The first of these that is there; empty when none is.
std::string FirstOf(std::initializer_list<fs::path> paths) {
    std::error_code ignored;
    for (const fs::path& path : paths) {
        if (fs::exists(path, ignored)) {
            return fs::weakly_canonical(path, ignored).string();
        }
    }
    return "";
}

void Prepend(const char* variable, const std::string& folder) {
    const std::string before = tokenlib::Variable(variable);
    setenv(variable, (before.empty() ? folder : folder + ":" + before).c_str(), 1);
}

/// Behind all others: another certificate viewer wins.
void AppendViewer(const fs::path& prefix) {
    const std::string path = tokenlib::Variable("PATH");
    setenv("PATH", (path + ":" + (prefix / "lib/orselcards-certviewer").string()).c_str(), 1);
}

/// The window's words need a UTF-8 locale.
void RequireUtf8() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const std::string locale = tokenlib::Variable(name);
        if (!locale.empty()) {
            const bool isUtf8 =
                locale.find("UTF-8") != std::string::npos || locale.find("utf8") != std::string::npos ||
                locale.find("utf-8") != std::string::npos || locale.find("UTF8") != std::string::npos;
            if (isUtf8) {
                return;
            }
            break;
        }
    }
    setenv("LC_ALL", "C.UTF-8", 1);
}

} // namespace

Request ReadRequest(const std::vector<std::string>& arguments) {
    Request request;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--") {
            request.m_Kind = Request::Kind::COMMAND;
            request.m_Words.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            if (!request.m_Words.empty() && request.m_Words.front() == "orselcards-cli") {
                request.m_Words.erase(request.m_Words.begin());
            }
            return request;
        }
        if (word == "--module" && i + 1 < arguments.size()) {
            request.m_Module = arguments[++i];
        } else if (word.compare(0, 9, "--module=") == 0) {
            request.m_Module = word.substr(9);
        } else if (word == "--list") {
            request.m_Kind = Request::Kind::LIST;
        } else if (word == "--help" || word == "-h") {
            request.m_Kind = Request::Kind::HELP;
        } else if (word == "--version") {
            request.m_Kind = Request::Kind::VERSION;
        } else {
            throw std::runtime_error(word);
        }
    }
    return request;
}

std::string Become(const std::string& program, const std::vector<std::string>& words) {
    std::error_code ignored;
    const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    const fs::path prefix = folder.parent_path();
    // Installed, or where the build leaves them.
    const std::string library = FirstOf({prefix / "lib/orselbridge", folder});
    const std::string file = FirstOf({folder / program, prefix / "app" / program, prefix / "cli" / program});
    if (file.empty()) {
        return program + ": " + std::strerror(ENOENT);
    }
    Prepend("LD_LIBRARY_PATH", library);
    AppendViewer(prefix);
    RequireUtf8();
    std::vector<char*> arguments = {const_cast<char*>(file.c_str())}; // which execv leaves alone
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    execv(file.c_str(), arguments.data());
    return file + ": " + std::strerror(errno);
}

} // namespace orselbridge
