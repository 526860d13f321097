// SPDX-License-Identifier: MIT
// Entry points of the library as a whole: start, end, what it is.
#include "simulator/token/Call.h"
#include "simulator/token/Output.h"
#include "simulator/token/Runtime.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;

namespace {

void CheckLocking(const CK_C_INITIALIZE_ARGS& args) {
    if (args.pReserved != nullptr) {
        throw Refusal{CKR_ARGUMENTS_BAD};
    }
    const int given = (args.CreateMutex != nullptr ? 1 : 0) + (args.DestroyMutex != nullptr ? 1 : 0) +
                      (args.LockMutex != nullptr ? 1 : 0) + (args.UnlockMutex != nullptr ? 1 : 0);
    if (given != 0 && given != 4) {
        throw Refusal{CKR_ARGUMENTS_BAD};
    }
    if (given == 4 && (args.flags & CKF_OS_LOCKING_OK) == 0) {
        throw Refusal{CKR_CANT_LOCK}; // this library locks with the system's own means only
    }
}

} // namespace

CK_RV C_Initialize(void* initArgs) {
    return Call("C_Initialize").RunFirst([&] {
        if (initArgs != nullptr) {
            CheckLocking(*static_cast<const CK_C_INITIALIZE_ARGS*>(initArgs));
        }
        return orselsim::StartRuntime();
    });
}

CK_RV C_Finalize(void* reserved) {
    return Call("C_Finalize").RunLast([&] {
        if (reserved != nullptr) {
            throw Refusal{CKR_ARGUMENTS_BAD};
        }
        orselsim::StopRuntime();
    });
}

CK_RV C_GetInfo(CK_INFO* info) {
    return Call("C_GetInfo").Run([&](Runtime&) {
        orselsim::Require(info);
        *info = {};
        info->cryptokiVersion = {2, 40};
        orselsim::FillField(info->manufacturerID, "Orsel");
        orselsim::FillField(info->libraryDescription, "Simulated token library");
        info->libraryVersion = {1, 0};
    });
}
