// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_TEMPDIR_H
#define ORSEL_TESTS_SUPPORT_TEMPDIR_H

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <cstdlib>

#include <unistd.h>

/// A directory of its own for one test, gone with the object.
class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orsel_test_XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_Path = pattern;
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }

    std::string Path(const std::string& name) const { return m_Path + "/" + name; }
    const std::string& Path() const { return m_Path; }

    /// Lets everybody look, and nobody but root write.
    void MakeReadOnly() const {
        using std::filesystem::perms;
        const perms look = perms::owner_read | perms::owner_exec | perms::group_read | perms::group_exec |
                           perms::others_read | perms::others_exec;
        std::filesystem::permissions(m_Path, look);
    }

    /// Makes a file with this content and returns its path.
    std::string File(const std::string& name, const std::string& content) const {
        std::ofstream(Path(name), std::ios::binary) << content;
        return Path(name);
    }

private:
    std::string m_Path;
};

/// Takes the rights of root away for the life of the object, so that permissions count.
class Unprivileged {
public:
    Unprivileged() : m_WasRoot(geteuid() == 0) {
        if (m_WasRoot && seteuid(65534) != 0) {
            throw std::runtime_error("cannot give up the rights of root");
        }
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;
    ~Unprivileged() {
        if (m_WasRoot && seteuid(0) != 0) {
            std::abort();
        }
    }

private:
    bool m_WasRoot;
};

/// The bytes of a file; empty for one that cannot be read.
inline std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

#endif
