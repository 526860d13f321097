// SPDX-License-Identifier: MIT
// A library of the token library's name that is none: it lacks every entry point, or all but one.
#include <p11-kit/pkcs11.h>

#ifdef WITH_INITIALIZE
extern "C" CK_RV C_Initialize(void*) {
    return CKR_OK;
}
#else
extern "C" int Unrelated() {
    return 0;
}
#endif
