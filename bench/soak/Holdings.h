// SPDX-License-Identifier: MIT
#ifndef ORSEL_BENCH_SOAK_HOLDINGS_H
#define ORSEL_BENCH_SOAK_HOLDINGS_H

#include <algorithm>
#include <string>

#include <sys/types.h>

/// What a process has at one moment and must not come to have more of, however long it works.
struct Holdings {
    double m_Resident = 0; ///< kilobytes of RAM
    double m_Heap = 0;     ///< kilobytes that were allocated and not freed; 0 for another process
    long m_Descriptors = 0;
    long m_Threads = 0;
};

/// Of this process; what the heap keeps in reserve goes back to the system first.
Holdings OwnHoldings();
Holdings HoldingsOf(pid_t process);

/// Rounds before the first look, in which caches fill.
inline long WarmUpOf(long rounds) {
    constexpr long ENOUGH_OF_FEW = 100;
    return std::max(rounds / 10, std::min(rounds, ENOUGH_OF_FEW));
}

/// Limit of what may have been added after the warm-up, in kilobytes.
constexpr double LIMIT_GROWTH = 1024;

/// Prints one row, `what` of so many rounds from `before` to `after`. True when nothing has grown beyond the
/// limit. The head of the table stands before the first one.
bool TellGrowth(const std::string& what, long rounds, const Holdings& before, const Holdings& after);

// --- Sessions ----------------------------------------------------------------------------------------------

/// Counts the sessions that the card class opens and closes, at the library's entry points. To be called
/// after each binding of the library.
void CountSessions();

/// Prints both numbers. True when there are as many of the one as of the other.
bool TellSessions();

#endif
