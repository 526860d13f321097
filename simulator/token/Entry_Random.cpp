// SPDX-License-Identifier: MIT
// Entry points of the random number generator.
#include <openssl/rand.h>

#include "simulator/token/Call.h"
#include "simulator/token/Output.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;

namespace {

constexpr CK_ULONG largestRequest = 65536; ///< libcrypto counts in int

} // namespace

CK_RV C_SeedRandom(CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG size) {
    return Call("C_SeedRandom").session(session).number("size", size).run([&](Runtime& runtime) {
        runtime.session(session);
        throw Refusal{CKR_RANDOM_SEED_NOT_SUPPORTED};
    });
}

CK_RV C_GenerateRandom(CK_SESSION_HANDLE session, CK_BYTE* out, CK_ULONG size) {
    return Call("C_GenerateRandom").session(session).number("size", size).run([&](Runtime& runtime) {
        runtime.session(session);
        orselsim::require(out);
        if (size > largestRequest || RAND_bytes(out, static_cast<int>(size)) != 1)
            throw Refusal{CKR_FUNCTION_FAILED};
    });
}
