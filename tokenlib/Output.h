// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_OUTPUT_H
#define ORSEL_TOKENLIB_OUTPUT_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "tokenlib/Pkcs11.h"
#include "tokenlib/Refusal.h"

namespace tokenlib {

/// A pointer that the caller has to give.
inline void Require(const void* pointer) {
    if (pointer == nullptr) {
        throw Refusal{CKR_ARGUMENTS_BAD};
    }
}

/// Puts text into a fixed field of the standard: blank-padded, no terminator, cut at the end.
template <std::size_t Size>
void FillField(unsigned char (&field)[Size], const std::string& text) {
    std::fill(std::begin(field), std::end(field), static_cast<unsigned char>(' '));
    std::copy_n(text.begin(), std::min(text.size(), Size), std::begin(field));
}

/// What C_GetInfo says of a library of this project.
inline void FillInfo(CK_INFO* info, const char* description) {
    Require(info);
    *info = {};
    info->cryptokiVersion = {2, 40};
    FillField(info->manufacturerID, "Orsel");
    FillField(info->libraryDescription, description);
    info->libraryVersion = {1, 0};
}

/// Hands out a row of bytes or numbers by the standard's protocol: `count` is the capacity of `out`
/// on entry and the number of elements on return; a null `out` asks for the number, and too small
/// a capacity is refused with the number set all the same.
template <class T>
void HandOut(const std::vector<T>& values, T* out, CK_ULONG* count) {
    Require(count);
    const CK_ULONG capacity = *count;
    *count = values.size();
    if (out == nullptr) {
        return;
    }
    if (capacity < values.size()) {
        throw Refusal{CKR_BUFFER_TOO_SMALL};
    }
    std::copy(values.begin(), values.end(), out);
}

} // namespace tokenlib

#endif
