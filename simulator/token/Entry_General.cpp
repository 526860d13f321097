// SPDX-License-Identifier: MIT
// Entry points of the library as a whole: start, end, what it is.
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/InitArguments.h"
#include "tokenlib/Output.h"

using orselsim::Call;
using orselsim::Runtime;

CK_RV C_Initialize(void* initArgs) {
    return Call("C_Initialize").RunFirst([&] {
        tokenlib::CheckInitArguments(initArgs);
        return orselsim::StartRuntime();
    });
}

CK_RV C_Finalize(void* reserved) {
    return Call("C_Finalize").RunLast([&] {
        tokenlib::CheckFinalArguments(reserved);
        tokenlib::StopRuntime();
    });
}

CK_RV C_GetInfo(CK_INFO* info) {
    return Call("C_GetInfo").Run([&](Runtime&) { tokenlib::FillInfo(info, "Simulated token library"); });
}
