// SPDX-License-Identifier: MIT
// A token library of the right name that does as its script says. The functions that the script does not need
// stand in the other source.
#include "tests/card/scripted/Script.h"

extern "C" Script g_TestScript;
Script g_TestScript = {};

CK_RV C_Initialize(void* arguments) {
    ++g_TestScript.m_InitializeCalls;
    g_TestScript.m_InitializeArgument = arguments;
    return g_TestScript.m_InitializeAnswer;
}

CK_RV C_Finalize(void* reserved) {
    ++g_TestScript.m_FinalizeCalls;
    g_TestScript.m_FinalizeArgument = reserved;
    return CKR_OK;
}

CK_RV C_GetInfo(CK_INFO* info) {
    *info = g_TestScript.m_Info;
    return g_TestScript.m_GetInfoAnswer;
}
