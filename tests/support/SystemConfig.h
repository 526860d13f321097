// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_SYSTEMCONFIG_H
#define ORSEL_TESTS_SUPPORT_SYSTEMCONFIG_H

#include <string>

/// The place of the system's configuration, "/etc/velmor", empty for the life of the object.
///
/// The first object of a process gives the process an "/etc" of its own. Where a machine does not allow that,
/// the test has to be skipped, with Obstacle() as the reason: the machine's own "/etc" is never touched.
class SystemConfig {
public:
    SystemConfig();
    SystemConfig(const SystemConfig&) = delete;
    SystemConfig& operator=(const SystemConfig&) = delete;

    /// Why there is none; empty when there is one.
    static const std::string& Obstacle();

    // These are for a test that goes on.

    static std::string File() { return "/etc/velmor/orselclient/config"; }
    /// Makes the directory of the file, which the program itself never makes.
    static void MakeDirectory();
    static void Write(const std::string& content);
};

#endif
