// SPDX-License-Identifier: MIT
#include "tokenlib/Search.h"

#include <algorithm>
#include <utility>

#include "tokenlib/Output.h"

namespace tokenlib {

Search::Search(std::vector<CK_OBJECT_HANDLE> found) : m_Found(std::move(found)) {}

void Search::HandOut(CK_OBJECT_HANDLE* objects, CK_ULONG capacity, CK_ULONG* count) {
    Require(objects);
    Require(count);
    *count = std::min<CK_ULONG>(capacity, m_Found.size() - m_HandedOut);
    std::copy_n(m_Found.data() + m_HandedOut, *count, objects);
    m_HandedOut += *count;
}

Search& ActiveSearch(std::optional<Search>& search) {
    if (!search) {
        throw Refusal{CKR_OPERATION_NOT_INITIALIZED};
    }
    return *search;
}

} // namespace tokenlib
