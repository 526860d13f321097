// SPDX-License-Identifier: MIT
// A token library of the right name that does as its script says. The functions that the script does not need
// stand in the other source.
#include "tests/card/scripted/Script.h"

extern "C" Script TestScript;
Script TestScript = {};

CK_RV C_Initialize(void* arguments) {
    ++TestScript.initializeCalls;
    TestScript.initializeArgument = arguments;
    return TestScript.initializeAnswer;
}

CK_RV C_Finalize(void* reserved) {
    ++TestScript.finalizeCalls;
    TestScript.finalizeArgument = reserved;
    return CKR_OK;
}

CK_RV C_GetInfo(CK_INFO* info) {
    *info = TestScript.info;
    return TestScript.getInfoAnswer;
}
