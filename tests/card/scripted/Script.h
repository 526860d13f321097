// SPDX-License-Identifier: MIT
// What a test tells the scripted token library, and what it has seen.
#ifndef ORSEL_TESTS_CARD_SCRIPTED_SCRIPT_H
#define ORSEL_TESTS_CARD_SCRIPTED_SCRIPT_H

#include <p11-kit/pkcs11.h>

struct Script {
    CK_RV initializeAnswer;
    CK_RV getInfoAnswer;
    CK_INFO info;

    int initializeCalls;
    int finalizeCalls;
    void* initializeArgument;
    void* finalizeArgument;
};

#endif
