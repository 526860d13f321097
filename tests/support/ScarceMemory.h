// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_SCARCEMEMORY_H
#define ORSEL_TESTS_SUPPORT_SCARCEMEMORY_H

#include <vector>

#include <gtest/gtest.h>

/// For a test program that stands between what it tests and its memory: refuses one request of many.
namespace scarcememory {

/// Requests that are still granted before one is refused; below 0 all are.
inline long g_GrantedYet = -1;

/// To be asked once for each request.
inline bool IsRefused() {
    return g_GrantedYet >= 0 && g_GrantedYet-- == 0;
}

/// Grants all that the operation asks for from here on, if it has not been refused anything yet.
inline void GrantTheRest() {
    constexpr long MORE_THAN_ANYBODY_ASKS_FOR = 1L << 30;
    g_GrantedYet = g_GrantedYet < 0 ? -1 : MORE_THAN_ANYBODY_ASKS_FOR;
}

/// Grants all that `make` asks for, which counts as nothing asked for.
template <typename Make>
auto Granted(const Make& make) -> decltype(make()) {
    const long before = g_GrantedYet;
    g_GrantedYet = -1;
    auto made = make();
    g_GrantedYet = before;
    return made;
}

/// What the operation says with each of its requests refused in turn, all others granted.
template <typename Operation>
auto ResultsOf(const Operation& operation) -> std::vector<decltype(operation())> {
    constexpr long MOST_REQUESTS = 100000;
    std::vector<decltype(operation())> results;
    for (long granted = 0; granted < MOST_REQUESTS; ++granted) {
        g_GrantedYet = granted;
        const auto result = operation();
        const bool isRefused = g_GrantedYet < 0;
        g_GrantedYet = -1;
        if (!isRefused) {
            return results;
        }
        results.push_back(result);
    }
    ADD_FAILURE() << "the operation asks for memory without an end";
    return results;
}

} // namespace scarcememory

#endif
