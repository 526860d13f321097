// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_SEARCH_H
#define ORSEL_TOKENLIB_SEARCH_H

#include <cstddef>
#include <optional>
#include <vector>

#include "tokenlib/Pkcs11.h"

namespace tokenlib {

/// An object search between C_FindObjectsInit and C_FindObjectsFinal.
class Search {
public:
    explicit Search(std::vector<CK_OBJECT_HANDLE> found);

    /// Writes the next ones, as many as there is room for, and their number. Throws Refusal without a place
    /// for either.
    void HandOut(CK_OBJECT_HANDLE* objects, CK_ULONG capacity, CK_ULONG* count);

private:
    std::vector<CK_OBJECT_HANDLE> m_Found;
    std::size_t m_HandedOut = 0;
};

/// Of a session; throws Refusal when none has been begun.
Search& ActiveSearch(std::optional<Search>& search);

} // namespace tokenlib

#endif
