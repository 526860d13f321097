// SPDX-License-Identifier: MIT
// Entry points of the random number generator.
#include <openssl/rand.h>

#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Output.h"

using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;

namespace {

constexpr CK_ULONG LARGEST_REQUEST = 65536; ///< libcrypto counts in int

} // namespace

CK_RV C_SeedRandom(CK_SESSION_HANDLE session, CK_BYTE*, CK_ULONG size) {
    return Call("C_SeedRandom").Session(session).Number("size", size).Run([&](Runtime& runtime) {
        runtime.ViewOf(session);
        throw Refusal{CKR_RANDOM_SEED_NOT_SUPPORTED};
    });
}

CK_RV C_GenerateRandom(CK_SESSION_HANDLE session, CK_BYTE* out, CK_ULONG size) {
    return Call("C_GenerateRandom").Session(session).Number("size", size).Run([&](Runtime& runtime) {
        runtime.ViewOf(session);
        orselsim::Require(out);
        if (size > LARGEST_REQUEST || RAND_bytes(out, static_cast<int>(size)) != 1) {
            throw Refusal{CKR_FUNCTION_FAILED};
        }
    });
}
