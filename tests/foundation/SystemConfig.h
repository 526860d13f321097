// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_SYSTEMCONFIG_H
#define ORSEL_TESTS_FOUNDATION_SYSTEMCONFIG_H

#include <string>

/// The place of the system's configuration, "/etc/velmor", empty for the life of the object.
///
/// The first object of a process gives the process an "/etc" of its own, in a mount namespace; without the
/// rights of root in a user namespace. Where a machine allows neither, root moves the real directory aside
/// and back, under a lock against other test programs, and for anybody else IsAvailable() is false.
class SystemConfig {
public:
    SystemConfig();
    SystemConfig(const SystemConfig&) = delete;
    SystemConfig& operator=(const SystemConfig&) = delete;
    ~SystemConfig();

    bool IsAvailable() const { return m_IsAvailable; }

    static std::string File() { return "/etc/velmor/orselclient/config"; }
    /// Makes the directory of the file, which the program itself never makes.
    static void MakeDirectory();
    static void Write(const std::string& content);

private:
    bool m_IsAvailable = true;
    int m_Lock = -1; ///< a descriptor of "/etc" while the real one is in use
};

#endif
