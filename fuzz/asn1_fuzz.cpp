// SPDX-License-Identifier: MIT
// The reader functions, on a buffer in which the longest length that they know stays inside.
#include <algorithm>

#include "formats/asn1.h"
#include "fuzz/FuzzInput.h"

namespace {

constexpr int LongestValue = 3 + 0xFFFF;

void ReadValues(Bytes& buffer, int pos) {
    static Bytes out(LongestValue);
    int length = 0;
    auto type = Velmor::ASN1_INTEGER;
    int moved = pos;
    Require(Velmor::parseValue(buffer.data(), moved, type, out.data(), length) || moved == pos);

    moved = pos;
    Require(Velmor::ReadUtf8String(buffer.data(), moved).size() <= LongestValue);
    Require(moved > pos);

    for (const int capacity : {0, 16, 1024}) {
        int size = capacity;
        moved = pos;
        Bytes exact(capacity);
        Velmor::ReadBitString(buffer.data(), moved, exact.data(), size);
        Require(size >= 0 && size <= capacity && moved > pos);
    }
}

void ReadNumbers(Bytes number) {
    Bytes digits(number.size() * 5 / 2 + 3);
    const int count = Velmor::bin2decStr(number.data(), static_cast<int>(number.size()), digits.data());
    Require(number.empty() ? count == -1 : count > 0 && digits[count] == 0 && digits[count + 1] == 0);
    Velmor::OID2Str(number.data(), static_cast<int>(number.size()), '.');
    int length = static_cast<int>(number.size());
    Velmor::RemoveLeadingNulls(number.data(), length);
    Require(length == 0 || number[0] != 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes exact(data, data + size);
    Bytes padded = exact;
    padded.resize(size + LongestValue);
    for (int pos = 0; pos <= std::min<int>(static_cast<int>(size), 8); ++pos) {
        const bool isWhole = Velmor::HasWholeValue(exact.data(), pos, static_cast<int>(size));
        int moved = pos;
        const int length = Velmor::getLen(padded.data(), moved);
        Require(isWhole == (pos < static_cast<int>(size) && moved + length <= static_cast<int>(size)));
        ReadValues(padded, pos);
    }
    exact.resize(std::min<std::size_t>(size, 300)); // the work grows with the square
    ReadNumbers(exact);
    return 0;
}
