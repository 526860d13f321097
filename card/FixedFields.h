// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_FIXEDFIELDS_H
#define ORSEL_CARD_FIXEDFIELDS_H

#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <string>

namespace Velmor {

/// A fixed field of a PKCS#11 record up to its first zero byte; the field need not be terminated.
template <size_t Width>
std::string UntilZero(const CK_UTF8CHAR (&field)[Width]) {
    return std::string(field, std::find(field, field + Width, 0));
}

/// A fixed field in its whole width.
template <size_t Width>
std::string WholeField(const CK_UTF8CHAR (&field)[Width]) {
    return std::string(field, field + Width);
}

} // namespace Velmor

#endif
