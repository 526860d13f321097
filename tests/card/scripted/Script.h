// SPDX-License-Identifier: MIT
// What a test tells the scripted token library, and what it has seen.
#ifndef ORSEL_TESTS_CARD_SCRIPTED_SCRIPT_H
#define ORSEL_TESTS_CARD_SCRIPTED_SCRIPT_H

#include <p11-kit/pkcs11.h>

struct Script {
    CK_RV m_InitializeAnswer;
    CK_RV m_GetInfoAnswer;
    CK_INFO m_Info;

    int m_InitializeCalls;
    int m_FinalizeCalls;
    void* m_InitializeArgument;
    void* m_FinalizeArgument;
};

#endif
