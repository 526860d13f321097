// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_CALLWITNESS_H
#define ORSEL_CLI_CALLWITNESS_H

#include <p11-kit/pkcs11.h>

#include <string>

namespace orselcli {

/// Stands between the card class and the token library and remembers why a call failed, which the class's
/// results by bool leave out. Once a signal has come, calls that would begin something are not made any more
/// and answer CKR_FUNCTION_CANCELED; those that end something are.
class CallWitness {
public:
    /// Puts itself into the card class's function table. Comes after the class has bound the library, again
    /// after each binding.
    static void Take();

    /// Nothing has failed from now on.
    static void Forget();

    /// Whether a call has failed since then, and how the last one that failed did.
    static bool HasSeenFailure();
    static CK_RV LastCode();
    /// Name of the function that failed, such as "C_Sign".
    static std::string LastFunction();
    /// Whether the last failure is an answer that cannot be right: a length beyond the room that was offered.
    static bool WasBeyondReason();
};

} // namespace orselcli

#endif
