// SPDX-License-Identifier: MIT
#ifndef ORSEL_BENCH_COMPARISON_H
#define ORSEL_BENCH_COMPARISON_H

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <initializer_list>
#include <iomanip>
#include <locale>
#include <sstream>
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

/// The value below which this share of all lies; the nearest one that was measured.
inline double Quantile(std::vector<double> values, double share) {
    const auto last = static_cast<double>(values.size() - 1);
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * last + 0.5);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

inline double Median(std::vector<double> values) {
    return Quantile(std::move(values), 0.5);
}

// --- Tables, in the form that docs/performance.md takes over -----------------------------------------------

inline void PrintRow(std::initializer_list<std::string> cells) {
    std::printf("|");
    for (const std::string& cell : cells) {
        std::printf(" %s |", cell.c_str());
    }
    std::printf("\n");
    std::fflush(stdout);
}

inline void PrintHead(std::initializer_list<std::string> cells) {
    PrintRow(cells);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        std::printf("|---");
    }
    std::printf("|\n");
}

/// With a point, whatever the locale of the program that is measured.
inline std::string Number(double value, int digits) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

/// Microseconds as a person reads them.
inline std::string Duration(double microseconds) {
    return microseconds < 1000 ? Number(microseconds, 2) + " us" : Number(microseconds / 1000, 1) + " ms";
}

inline void PrintComparisonHead() {
    PrintHead({"What", "Ours", "Theirs", "Ratio"});
}

/// Runs both by turns, so that a busy moment of the machine meets both, and prints a row with the medians and
/// how many times as fast ours is.
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
    PrintRow({what, Duration(our), Duration(their), Number(their / our, 2)});
}

#endif
