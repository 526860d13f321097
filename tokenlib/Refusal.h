// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_REFUSAL_H
#define ORSEL_TOKENLIB_REFUSAL_H

#include "tokenlib/Pkcs11.h"

namespace tokenlib {

/// Thrown inside the library where a call ends early; the entry point returns the code.
struct Refusal {
    CK_RV m_Code;
};

} // namespace tokenlib

#endif
