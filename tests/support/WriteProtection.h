// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_WRITEPROTECTION_H
#define ORSEL_TESTS_SUPPORT_WRITEPROTECTION_H

#include <string>

/// Takes the right to make, change or remove files below a directory of the root directory, such as "/etc",
/// from this process and its children for good, whoever the user is. The process can mount nothing any more.
/// False where the kernel has no Landlock (landlock(7)) of version 2, and then nothing has changed.
bool ForbidWritingBelow(const std::string& directory);

#endif
