// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_PKCS11_H
#define ORSEL_TOKENLIB_PKCS11_H

// Everything of this library is hidden except the entry points, which are what this header
// declares; so the header is always included from here.
#pragma GCC visibility push(default)
#include <p11-kit/pkcs11.h>

extern "C" {

/// Reads a property of the card by name. `outLen` is the capacity of `out` on entry and the length
/// of the value on return; a null `out` asks for the length.
CK_RV C_CardAttribute(CK_SESSION_HANDLE session, const char* name, unsigned char* out, unsigned long* outLen);

/// Sends one command APDU; the response ends in its two status bytes. `responseLen` as above.
CK_RV C_CardTransmit(CK_SESSION_HANDLE session, const unsigned char* apdu, unsigned long apduLen,
                     unsigned char* response, unsigned long* responseLen);
}
#pragma GCC visibility pop

namespace tokenlib {

/// Command attributes: written with C_SetAttributeValue on the object that a PIN protects. The
/// first two bear numbers of the standard with a meaning of this library's own.
constexpr CK_ATTRIBUTE_TYPE CHANGE_PIN_COMMAND = 0x200;
constexpr CK_ATTRIBUTE_TYPE UNBLOCK_PIN_COMMAND = 0x201;
constexpr CK_ATTRIBUTE_TYPE FORCE_SOFTWARE_PIN = 0x80000002;

} // namespace tokenlib

#endif
