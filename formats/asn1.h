// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_ASN1_H
#define ORSEL_FORMATS_ASN1_H

#include <string>

/// The little ASN.1 that cards hold outside certificates. No general decoder: lengths of up to two bytes,
/// tags of one byte.
///
/// The functions move a position over raw bytes and trust them: whoever reads foreign bytes asks
/// HasWholeLength or HasWholeValue before. They keep no state.
namespace Velmor {

/// Kind of a primitive value.
enum eASN1Type : int {
    ASN1_OCTET_STRING = 1,
    ASN1_NUMERIC_STRING = 2,
    ASN1_GENERALIZED_TIME = 3,
    ASN1_UTF8_STRING = 4,
    ASN1_INTEGER = 5,
    ASN1_PRINTABLE_STRING = 6,
};

/// Whether a length that begins at `pos` lies within the `size` bytes of the buffer.
bool HasWholeLength(const unsigned char* buf, int pos, int size);
/// Whether that length and the value behind it do.
bool HasWholeValue(unsigned char* buf, int pos, int size);

/// Reads a length and moves `pos` behind it: three bytes from 82, two from 81. Any other first byte is the
/// length itself, 80 and 83 to FF too.
int getLen(unsigned char* buf, int& pos);

/// Moves the bytes from the first non-zero one on to the front and shortens `len`. What lies behind the new
/// end is not touched.
void RemoveLeadingNulls(unsigned char* buf, int& len);

/// Writes a big-endian number of `len` bytes as decimal digits with two zero bytes behind them. Returns the
/// number of digits, or -1 with `out` untouched for no bytes. `out` has room for len * 5 / 2 + 3 bytes.
int bin2decStr(unsigned char* in, int len, unsigned char* out);

// The following begin at the length, behind the tag, and move `pos` behind the value.

/// Reads a BIT STRING of whole bytes. `size` is the capacity of `out` and becomes the number of bytes. Copies
/// nothing and fails if the value is longer than the capacity, with `size` unchanged, or if there are unused
/// bits or no content, with `size` set all the same.
bool ReadBitString(unsigned char* buf, int& pos, unsigned char* out, int& size);

/// The value's bytes up to the first zero byte.
std::string ReadUtf8String(unsigned char* buf, int& pos);

/// Numbers joined with `separator`. Each byte behind the first is one number, also where several make one
/// part of the identifier: 2A 86 48 is 1.2.134.72. The first byte is always read and gives two numbers, also
/// with a `len` of 0. Empty for a null pointer.
std::string OID2Str(unsigned char* oid, int len, char separator);

/// Begins at the tag. Copies the value to `out`, which must be large enough, and moves `pos` behind it. Fails
/// and changes nothing for a tag that is not a kind of eASN1Type.
bool parseValue(unsigned char* buf, int& pos, eASN1Type& type, unsigned char* out, int& len);

} // namespace Velmor

#endif
