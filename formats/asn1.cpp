// SPDX-License-Identifier: MIT
#include "formats/asn1.h"

#include <algorithm>
#include <vector>

namespace Velmor {

namespace {

constexpr unsigned char ONE_BYTE_LENGTH = 0x81;
constexpr unsigned char TWO_BYTE_LENGTH = 0x82;

struct TypeOfTag {
    unsigned char m_Tag;
    eASN1Type m_Type;
};

constexpr TypeOfTag TYPES_OF_TAGS[] = {
    {0x04, ASN1_OCTET_STRING}, {0x12, ASN1_NUMERIC_STRING}, {0x18, ASN1_GENERALIZED_TIME},
    {0x0C, ASN1_UTF8_STRING},  {0x02, ASN1_INTEGER},        {0x13, ASN1_PRINTABLE_STRING},
};

int SizeOfLength(unsigned char first) {
    if (first == TWO_BYTE_LENGTH) {
        return 3;
    }
    return first == ONE_BYTE_LENGTH ? 2 : 1;
}

/// Multiplies a number by 16 and adds `nibble`. `digits` has the lowest digit first.
void AppendNibble(std::vector<unsigned char>& digits, int nibble) {
    int carry = nibble;
    for (unsigned char& digit : digits) {
        const int value = digit * 16 + carry;
        digit = static_cast<unsigned char>(value % 10);
        carry = value / 10;
    }
    for (; carry > 0; carry /= 10) {
        digits.push_back(static_cast<unsigned char>(carry % 10));
    }
}

} // namespace

bool HasWholeLength(const unsigned char* buf, int pos, int size) {
    return pos >= 0 && pos < size && SizeOfLength(buf[pos]) <= size - pos;
}

bool HasWholeValue(unsigned char* buf, int pos, int size) {
    if (!HasWholeLength(buf, pos, size)) {
        return false;
    }
    const int length = getLen(buf, pos);
    return length <= size - pos;
}

int getLen(unsigned char* buf, int& pos) {
    const unsigned char* length = buf + pos;
    pos += SizeOfLength(length[0]);
    switch (length[0]) {
    case TWO_BYTE_LENGTH:
        return length[1] << 8 | length[2];
    case ONE_BYTE_LENGTH:
        return length[1];
    default:
        return length[0];
    }
}

void RemoveLeadingNulls(unsigned char* buf, int& len) {
    if (len < 1) {
        return;
    }
    unsigned char* end = buf + len;
    const unsigned char* first = std::find_if(buf, end, [](unsigned char byte) { return byte != 0; });
    std::copy<const unsigned char*>(first, end, buf);
    len = static_cast<int>(end - first);
}

int bin2decStr(unsigned char* in, int len, unsigned char* out) {
    if (in == nullptr || len < 1) {
        return -1;
    }
    std::vector<unsigned char> digits(1); // lowest first
    digits.reserve(static_cast<std::size_t>(len) * 5 / 2 + 2);
    for (int i = 0; i < len; ++i) {
        AppendNibble(digits, in[i] >> 4);
        AppendNibble(digits, in[i] & 0x0F);
    }
    out = std::transform(digits.rbegin(), digits.rend(), out,
                         [](unsigned char digit) { return static_cast<unsigned char>('0' + digit); });
    std::fill_n(out, 2, static_cast<unsigned char>(0));
    return static_cast<int>(digits.size());
}

bool ReadBitString(unsigned char* buf, int& pos, unsigned char* out, int& size) {
    const int length = getLen(buf, pos);
    const unsigned char* value = buf + pos;
    pos += length;
    if (length > size) {
        return false;
    }
    // With zero bytes behind it, since the count of unused bits is read like a length.
    std::vector<unsigned char> content(value, value + length);
    content.resize(static_cast<std::size_t>(length) + 3);
    int contentPos = 0;
    const int unusedBits = getLen(content.data(), contentPos);
    size = std::max(length - contentPos, 0);
    if (unusedBits != 0 || contentPos > length) {
        return false;
    }
    std::copy_n(content.begin() + 1, size, out);
    return true;
}

std::string ReadUtf8String(unsigned char* buf, int& pos) {
    const int length = getLen(buf, pos);
    const unsigned char* value = buf + pos;
    pos += length;
    return std::string(value, std::find(value, value + length, 0));
}

std::string OID2Str(unsigned char* oid, int len, char separator) {
    if (oid == nullptr) {
        return {};
    }
    const int first = oid[0] / 40;
    std::string text = std::to_string(first) + separator + std::to_string(oid[0] - 40 * first);
    for (int i = 1; i < len; ++i) {
        text += separator + std::to_string(oid[i]);
    }
    return text;
}

bool parseValue(unsigned char* buf, int& pos, eASN1Type& type, unsigned char* out, int& len) {
    const auto* found = std::find_if(std::begin(TYPES_OF_TAGS), std::end(TYPES_OF_TAGS),
                                     [&](const TypeOfTag& row) { return row.m_Tag == buf[pos]; });
    if (found == std::end(TYPES_OF_TAGS)) {
        return false;
    }
    ++pos;
    type = found->m_Type;
    len = getLen(buf, pos);
    std::copy_n(buf + pos, len, out);
    pos += len;
    return true;
}

} // namespace Velmor
