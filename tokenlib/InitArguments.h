// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_INITARGUMENTS_H
#define ORSEL_TOKENLIB_INITARGUMENTS_H

#include "tokenlib/Pkcs11.h"

namespace tokenlib {

/// Throws Refusal for arguments of C_Initialize that the standard forbids, and for a program that
/// wants its own mutexes used: these libraries lock with the system's own means only. Null is no
/// wish at all.
void CheckInitArguments(const void* arguments);

/// Throws Refusal for an argument of C_Finalize, which the standard keeps for later.
void CheckFinalArguments(const void* reserved);

} // namespace tokenlib

#endif
