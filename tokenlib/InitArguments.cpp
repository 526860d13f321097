// SPDX-License-Identifier: MIT
#include "tokenlib/InitArguments.h"

#include "tokenlib/Refusal.h"

namespace tokenlib {

void CheckInitArguments(const void* arguments) {
    if (arguments == nullptr) {
        return;
    }
    const auto& args = *static_cast<const CK_C_INITIALIZE_ARGS*>(arguments);
    if (args.pReserved != nullptr) {
        throw Refusal{CKR_ARGUMENTS_BAD};
    }
    const int given = (args.CreateMutex != nullptr ? 1 : 0) + (args.DestroyMutex != nullptr ? 1 : 0) +
                      (args.LockMutex != nullptr ? 1 : 0) + (args.UnlockMutex != nullptr ? 1 : 0);
    if (given != 0 && given != 4) {
        throw Refusal{CKR_ARGUMENTS_BAD};
    }
    if (given == 4 && (args.flags & CKF_OS_LOCKING_OK) == 0) {
        throw Refusal{CKR_CANT_LOCK};
    }
}

void CheckFinalArguments(const void* reserved) {
    if (reserved != nullptr) {
        throw Refusal{CKR_ARGUMENTS_BAD};
    }
}

} // namespace tokenlib
