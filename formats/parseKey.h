// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_PARSEKEY_H
#define ORSEL_FORMATS_PARSEKEY_H

#include <string>
#include <vector>

#include "formats/KeyTypes.h"

namespace Velmor {

/// A public key taken apart. The RSA fields belong to RSA keys, the coordinates and the curve to EC keys.
struct PublicKeyData {
    SignKey m_KeyType = KEY_RSA;
    unsigned char m_Modulus[512] = {}; ///< big-endian, leading zero bytes removed
    int m_ModulusLength = 0;
    unsigned char m_Exponent[256] = {}; ///< as m_Modulus
    int m_ExponentLength = 0;
    int m_CoordinateLength = 0;  ///< bytes of one coordinate
    unsigned char m_X[256] = {}; ///< decimal digits, zero-terminated
    unsigned char m_Y[256] = {}; ///< as m_X
    std::string m_CurveOid;      ///< dotted form, empty for RSA
};

// A key that is cut off, or too large for the record, leaves the rest of the record at zero: these functions
// have no other way to fail.

/// An RSA key if a SEQUENCE begins at `offset`, else an EC point.
PublicKeyData ParseKey(std::vector<unsigned char> data, int offset);
/// DER: SEQUENCE { INTEGER modulus, INTEGER exponent }.
PublicKeyData ParseRsaKey(std::vector<unsigned char> data, int offset);
/// A format byte, which is not looked at, and the two coordinates. The curve is told by the size of the whole
/// of `data`: P-192 for 49 bytes, P-256 for all other sizes.
PublicKeyData ParseEccKey(std::vector<unsigned char> data, int offset);

/// The same for `length` bytes.
PublicKeyData ParseKey(unsigned char* data, int offset, int length);
PublicKeyData ParseRsaKey(unsigned char* data, int offset, int length);
PublicKeyData ParseEccKey(unsigned char* data, int offset, int length);

} // namespace Velmor

#endif
