// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_PROCESSMEMORY_H
#define ORSEL_TESTS_SUPPORT_PROCESSMEMORY_H

#include <string>
#include <vector>

#include <sys/types.h>

/// What a core file of a process, a child of this one, would hold now: the places where one of the texts
/// stands in memory that it may write to, as "TEXT in MAPPING". Throws std::runtime_error when its memory
/// cannot be read.
std::vector<std::string> MemoryWith(pid_t process, const std::vector<std::string>& texts);

#endif
