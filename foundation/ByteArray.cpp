// SPDX-License-Identifier: MIT
#include "foundation/ByteArray.h"

#include "foundation/Conversion.h"
#include "foundation/FileHandle.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <istream>
#include <ostream>

namespace Velmor {

ByteArray::ByteArray(unsigned int n) : std::vector<unsigned char>(n) {}

ByteArray::ByteArray(const std::string& text) : std::vector<unsigned char>(text.begin(), text.end()) {}

ByteArray::ByteArray(const std::vector<unsigned char> bytes) : std::vector<unsigned char>(bytes) {}

ByteArray::ByteArray(const unsigned char* data, unsigned long len)
    : std::vector<unsigned char>(data, data + len) {}

ByteArray::ByteArray(const std::wstring& text) {
    reserve(2 * text.size());
    for (const wchar_t character : text) {
        push_back(static_cast<unsigned char>(character & 0xFF));
        push_back(static_cast<unsigned char>((character >> 8) & 0xFF));
    }
}

bool ByteArray::operator==(const ByteArray& other) const {
    return *this == static_cast<const std::vector<unsigned char>&>(other);
}

bool ByteArray::operator!=(const ByteArray& other) const {
    return !(*this == other);
}

bool ByteArray::operator==(const std::vector<unsigned char>& other) const {
    return this == &other || std::equal(begin(), end(), other.begin(), other.end());
}

bool ByteArray::operator!=(const std::vector<unsigned char>& other) const {
    return !(*this == other);
}

void ByteArray::Add(const std::vector<unsigned char>& bytes) {
    if (this == &bytes) { // a range insertion must not read the vector it grows
        const ByteArray copy(*this);
        insert(end(), copy.begin(), copy.end());
        return;
    }
    insert(end(), bytes.begin(), bytes.end());
}

void ByteArray::Add(const unsigned char* data, unsigned long len) {
    Add(std::vector<unsigned char>(data, data + len)); // `data` may point into this array
}

ByteArray ByteArray::SubArray(unsigned int start, unsigned int count) const {
    ByteArray part;
    if (start < size()) {
        const auto first = begin() + start;
        part.assign(first, first + static_cast<difference_type>(std::min<size_type>(count, size() - start)));
    }
    return part;
}

ByteArray ByteArray::SubArray(unsigned int start) const {
    return SubArray(start, static_cast<unsigned int>(size()) - start);
}

void ByteArray::FromHexString(std::string text) {
    for (std::size_t position = 0; position < text.size(); position += 2) {
        if (text[position] == ' ') {
            ++position;
        }
        if (position == text.size()) {
            return;
        }
        char pair[] = {text[position], text[position + 1], '\0'}; // the second may be the text's terminator
        push_back(static_cast<unsigned char>(hex2int(pair)));
    }
}

std::string ByteArray::ToHexString(unsigned short flags) const {
    const char* const digits = (flags & UPPERCASE) != 0 ? "0123456789ABCDEF" : "0123456789abcdef";
    const auto appendByte = [digits](std::string& text, unsigned char byte) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    };
    std::string text;
    appendByte(text, at(0)); // an empty array is a failure, not an empty text
    for (auto byte = begin() + 1; byte != end(); ++byte) {
        if ((flags & NOT_SPACED) == 0) {
            text += ' ';
        }
        appendByte(text, *byte);
    }
    return text;
}

std::string ByteArray::ToString() const {
    return std::string(begin(), end());
}

void ByteArray::RTrim(unsigned char c) {
    const auto last = std::find_if(rbegin(), rend(), [c](unsigned char byte) { return byte != c; });
    erase(last.base(), end());
}

void ByteArray::LTrim(unsigned char c) {
    erase(begin(), std::find_if(begin(), end(), [c](unsigned char byte) { return byte != c; }));
}

void ByteArray::Trim(unsigned char c) {
    RTrim(c);
    LTrim(c);
}

void ByteArray::Reverse() {
    std::reverse(begin(), end());
}

void ByteArray::PadRight(unsigned int n, unsigned char c) {
    if (size() < n) {
        resize(n, c);
    }
}

void ByteArray::Padleft(unsigned int n, unsigned char c) {
    if (size() < n) {
        insert(begin(), n - size(), c);
    }
}

std::ostream& operator<<(std::ostream& out, const ByteArray& bytes) {
    for (const unsigned char byte : bytes) {
        out.put(static_cast<char>(byte));
    }
    return out;
}

std::istream& operator>>(std::istream& in, ByteArray& bytes) {
    if (bytes.empty()) {
        return in;
    }
    char character = 0;
    while (in >> character) {
        bytes.push_back(static_cast<unsigned char>(character));
    }
    return in;
}

int LoadFromFile(std::string path, ByteArray& out) {
    const FileHandle file = OpenFile(path, "rb");
    if (file == nullptr) {
        return 0;
    }
    std::array<unsigned char, 1024> block;
    std::size_t read = 0;
    while ((read = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
        out.Add(block.data(), read);
    }
    return 1;
}

} // namespace Velmor
