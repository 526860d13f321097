// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_PARSEKEY_H
#define ORSEL_FORMATS_PARSEKEY_H

#include "formats/KeyTypes.h"

#include <string>

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

} // namespace Velmor

#endif
