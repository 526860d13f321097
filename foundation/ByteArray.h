// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_BYTEARRAY_H
#define ORSEL_FOUNDATION_BYTEARRAY_H

#include <iosfwd>
#include <string>
#include <vector>

namespace Velmor {

/// A growable sequence of bytes: a vector with hex text, trim, pad and sub-array operations.
/// Adds no state to the vector and has no virtual destructor, so it is never deleted through its base.
class ByteArray : public std::vector<unsigned char> {
public:
    /// Flags of ToHexString(); without any the text is in lower case and a blank stands between bytes.
    static constexpr unsigned short UPPERCASE = 1;
    static constexpr unsigned short NOT_SPACED = 2;

    ByteArray() = default;
    /// `n` bytes of value 0.
    explicit ByteArray(unsigned int n);
    /// Every byte of `text`, embedded zero bytes included.
    ByteArray(const std::string& text);
    ByteArray(const std::vector<unsigned char> bytes);
    ByteArray(const unsigned char* data, unsigned long len);
    /// Two bytes for each character, low byte first. Bits 16 and above are dropped; surrogate pairs are not
    /// formed.
    ByteArray(const std::wstring& text);

    bool operator==(const ByteArray& other) const;
    bool operator!=(const ByteArray& other) const;
    /// Without these two a comparison with a plain vector would be ambiguous.
    bool operator==(const std::vector<unsigned char>& other) const;
    bool operator!=(const std::vector<unsigned char>& other) const;

    void Add(const std::vector<unsigned char>& bytes);
    void Add(const unsigned char* data, unsigned long len);

    /// At most `count` bytes from `start` on; empty when `start` is at or past the end.
    ByteArray SubArray(unsigned int start, unsigned int count) const;
    /// Everything from `start` on.
    ByteArray SubArray(unsigned int start) const;

    /// Appends one byte for each two characters. One blank before a pair is skipped; a second one becomes
    /// part of the pair. An unpaired last digit is a byte of its own. Bad digits never fail: a pair gives
    /// what strtol makes of it.
    void FromHexString(std::string text);
    /// Two digits a byte; `flags` combines UPPERCASE and NOT_SPACED.
    /// Throws std::out_of_range for an empty array.
    std::string ToHexString(unsigned short flags) const;
    /// Every byte unchanged.
    std::string ToString() const;

    /// Remove every byte equal to `c` at the end, at the front, at both.
    void RTrim(unsigned char c);
    void LTrim(unsigned char c);
    void Trim(unsigned char c);

    void Reverse();

    /// Append, respectively insert at the front, `c` until there are at least `n` bytes. Never shorten.
    void PadRight(unsigned int n, unsigned char c);
    void Padleft(unsigned int n, unsigned char c);
};

/// Writes the raw bytes; width and fill of the stream do not apply.
std::ostream& operator<<(std::ostream& out, const ByteArray& bytes);

/// Appends the characters of `in`, white space skipped as the stream says, until the stream fails: the size
/// of `bytes` is no limit. Does nothing at all for an empty array.
std::istream& operator>>(std::istream& in, ByteArray& bytes);

/// Appends the content of the file at `path` to `out`. Returns 1, or 0 with `out` untouched when the file
/// cannot be opened.
int LoadFromFile(std::string path, ByteArray& out);

} // namespace Velmor

#endif
