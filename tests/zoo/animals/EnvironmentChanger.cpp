// SPDX-License-Identifier: MIT
// Changes the environment of the process.
#include <cstdlib>

#include "tests/zoo/Sound.h"

extern "C" CK_RV C_Initialize(void* arguments) {
    const CK_RV code = ORSEL_SOUND(C_Initialize)(arguments);
    setenv("PATH", "/nowhere", 1);
    setenv("TMPDIR", "/nowhere", 1);
    setenv("LANG", "xx_XX", 1);
    unsetenv("HOME");
    return code;
}
