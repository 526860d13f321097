// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_CONVERSION_H
#define ORSEL_FOUNDATION_CONVERSION_H

#include <string>
#include <vector>

/// Conversions between binary data, hex text, binary text and UTF-8.
///
/// The buffer forms of the hex conversions share one size protocol. They compute the whole result first, of n
/// bytes. A null `out` or an `outLen` of 0 asks for the size: n is returned, nothing changes. An `outLen`
/// below n gives -1 as unsigned and writes nothing. Otherwise the result is copied to `out` without a
/// terminating zero, `outLen` becomes n, and n is returned.
namespace Velmor {

/// Appends one byte for each two digits and returns the size of `out`. Bad digits do not fail (see hex2int).
/// An unpaired last digit throws std::out_of_range after the bytes before it were appended.
unsigned long HexStr2BinData(std::string hex, std::vector<unsigned char>& out);
unsigned long HexStr2BinData(char* hex, unsigned long len, unsigned char* out, unsigned long& outLen);
/// `hex` ends with a zero.
unsigned long HexStr2BinData(char* hex, unsigned char* out, unsigned long& outLen);

/// Replaces `hex` with two upper-case digits a byte and returns its length.
unsigned long BinData2HexStr(std::vector<unsigned char> data, std::string& hex);
unsigned long BinData2HexStr(unsigned char* data, int len, unsigned char* out, unsigned long& outLen);

/// strtol at base 16: leading blanks and a sign are accepted, the first bad digit ends the number.
long hex2int(char* text);

/// Binary digits, most significant first, without leading zeros; 0 gives the empty string.
std::string int2bin(unsigned int value);
/// Value of binary digits, modulo 2^32. Does not validate: a '2' counts twice a '1', a letter counts 0.
unsigned int bin2int(std::string digits);
/// Value of binary digits; -1 when a character is neither '0' nor '1'.
int bin2dec(char* digits);

/// UTF-8 text of one code point. Code 0 gives the empty string. Surrogates and codes above 0x10FFFF are not
/// refused; of a negative code the low 8 bits become one character.
std::string int2str(int code);

/// Reverses in place; does nothing for a length under 2.
void ReverseBytes(unsigned char* data, int len);

/// Swaps the four bytes of a 32-bit value.
unsigned long SwitchEndian(unsigned long value);

} // namespace Velmor

#endif
