// SPDX-License-Identifier: MIT
#include "formats/parseKey.h"

#include <algorithm>
#include <array>

#include "formats/asn1.h"

namespace Velmor {

namespace {

constexpr unsigned char SEQUENCE_TAG = 0x30;
constexpr unsigned char INTEGER_TAG = 0x02;
constexpr std::size_t P192_POINT_SIZE = 49;
constexpr char P192_OID[] = "1.2.840.10045.3.1.1";
constexpr char P256_OID[] = "1.2.840.10045.3.1.7";
constexpr int LONGEST_COORDINATE = 128; ///< bytes

bool HasTagAt(const std::vector<unsigned char>& data, int pos, unsigned char tag) {
    return pos >= 0 && static_cast<std::size_t>(pos) < data.size() && data[pos] == tag;
}

/// Reads the INTEGER at `pos` without its leading zero bytes and moves behind it. False, with `field`
/// untouched, if there is none, if it is cut off or if the field is too small.
template <std::size_t Size>
bool ReadInteger(std::vector<unsigned char>& data, int& pos, unsigned char (&field)[Size], int& fieldLength) {
    if (!HasTagAt(data, pos, INTEGER_TAG) ||
        !HasWholeValue(data.data(), pos + 1, static_cast<int>(data.size()))) {
        return false;
    }
    ++pos;
    int length = getLen(data.data(), pos);
    std::vector<unsigned char> value(data.begin() + pos, data.begin() + pos + length);
    pos += length;
    RemoveLeadingNulls(value.data(), length);
    if (length > static_cast<int>(Size)) {
        return false;
    }
    std::copy_n(value.begin(), length, field);
    fieldLength = length;
    return true;
}

/// Writes the coordinate of `length` bytes at `pos` in decimal digits. Leaves the field empty if the
/// coordinate is cut off or its digits are too many.
template <std::size_t Size>
void ReadCoordinate(std::vector<unsigned char>& data, std::size_t pos, int length,
                    unsigned char (&field)[Size]) {
    if (length > LONGEST_COORDINATE || pos > data.size() ||
        data.size() - pos < static_cast<std::size_t>(length)) {
        return;
    }
    std::array<unsigned char, LONGEST_COORDINATE * 3> digits{}; // less than two and a half for a byte
    const int count = bin2decStr(data.data() + pos, length, digits.data());
    if (count < static_cast<int>(Size)) {
        std::copy_n(digits.begin(), std::max(count, 0), field);
    }
}

std::vector<unsigned char> ToVector(const unsigned char* data, int length) {
    return data != nullptr && length > 0 ? std::vector<unsigned char>(data, data + length)
                                         : std::vector<unsigned char>();
}

} // namespace

PublicKeyData ParseKey(std::vector<unsigned char> data, int offset) {
    return HasTagAt(data, offset, SEQUENCE_TAG) ? ParseRsaKey(data, offset) : ParseEccKey(data, offset);
}

PublicKeyData ParseRsaKey(std::vector<unsigned char> data, int offset) {
    if (!HasTagAt(data, offset, SEQUENCE_TAG) ||
        !HasWholeLength(data.data(), offset + 1, static_cast<int>(data.size()))) {
        return {}; // an RSA key, of which nothing is known
    }
    PublicKeyData key;
    key.m_KeyType = KEY_RSA;
    int pos = offset + 1;
    getLen(data.data(), pos); // the integers tell their own lengths
    if (ReadInteger(data, pos, key.m_Modulus, key.m_ModulusLength)) {
        ReadInteger(data, pos, key.m_Exponent, key.m_ExponentLength);
    }
    return key;
}

PublicKeyData ParseEccKey(std::vector<unsigned char> data, int offset) {
    PublicKeyData key;
    key.m_KeyType = KEY_ECC;
    key.m_CurveOid = data.size() == P192_POINT_SIZE ? P192_OID : P256_OID;
    key.m_CoordinateLength = data.empty() ? 0 : static_cast<int>((data.size() - 1) / 2);
    if (offset < 0) {
        return key;
    }
    const std::size_t x = static_cast<std::size_t>(offset) + 1;
    ReadCoordinate(data, x, key.m_CoordinateLength, key.m_X);
    ReadCoordinate(data, x + key.m_CoordinateLength, key.m_CoordinateLength, key.m_Y);
    return key;
}

PublicKeyData ParseKey(unsigned char* data, int offset, int length) {
    return ParseKey(ToVector(data, length), offset);
}

PublicKeyData ParseRsaKey(unsigned char* data, int offset, int length) {
    return ParseRsaKey(ToVector(data, length), offset);
}

PublicKeyData ParseEccKey(unsigned char* data, int offset, int length) {
    return ParseEccKey(ToVector(data, length), offset);
}

} // namespace Velmor
