// SPDX-License-Identifier: MIT
// Has none of the entry points; nothing is passed on.
#include "tests/zoo/Sound.h"

extern "C" int OrselIsNotHere() {
    return 0;
}
