// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_CALLP11_H
#define ORSEL_CARD_CALLP11_H

#include <p11-kit/pkcs11.h>

#include <type_traits>

namespace Velmor {

/// Keeps a parameter's type out of the deduction, so that arguments convert as in a plain call.
template <typename Type>
using AsDeclared = std::common_type_t<Type>;

/// Calls an entry point of the token library. One that was never resolved, because the library is missing
/// or lacks it, answers CKR_FUNCTION_NOT_SUPPORTED, so every caller meets it as an ordinary failure.
template <typename... Parameters>
CK_RV CallP11(CK_RV (*entryPoint)(Parameters...), AsDeclared<Parameters>... arguments) {
    return entryPoint != nullptr ? entryPoint(arguments...) : CKR_FUNCTION_NOT_SUPPORTED;
}

} // namespace Velmor

#endif
