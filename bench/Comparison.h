// SPDX-License-Identifier: MIT
#ifndef ORSEL_BENCH_COMPARISON_H
#define ORSEL_BENCH_COMPARISON_H

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

/// Keeps the optimiser from dropping work whose result nobody reads.
template <typename T>
void KeepResult(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

template <typename Work>
double MicrosecondsOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

inline double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs both by turns, so that a busy moment of the machine meets both, and prints the medians in
/// microseconds and how many times as fast ours is.
template <typename Ours, typename Theirs>
void Compare(const std::string& what, int runs, const Ours& ours, const Theirs& theirs) {
    ours();
    theirs();
    std::vector<double> ourTimes;
    std::vector<double> theirTimes;
    for (int run = 0; run < runs; ++run) {
        ourTimes.push_back(MicrosecondsOf(ours));
        theirTimes.push_back(MicrosecondsOf(theirs));
    }
    const double our = Median(ourTimes);
    const double their = Median(theirTimes);
    std::printf("%-24s ours %12.2f us   theirs %12.2f us   ratio %.2f\n", what.c_str(), our, their,
                their / our);
}

#endif
