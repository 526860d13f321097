// SPDX-License-Identifier: MIT
// From the start of the process until the window manager has the shown window: the card manager beside the
// least program of the toolkit and beside one that shows the same. Needs a display with a window manager.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "bench/Comparison.h"
#include "bench/WindowClock.h"

namespace {

constexpr int RUNS = 21;
constexpr double LIMIT_BESIDE_SAME_WINDOW = 1.10;
constexpr double LIMIT_BESIDE_EMPTY_FRAME = 1.8;

/// Medians of what was measured by turns, so that a busy moment of the machine meets all three.
struct Starts {
    double m_Ours;
    double m_SameWindow;
    double m_EmptyFrame;
};

Starts Measure(Desktop& desktop) {
    std::vector<double> ours;
    std::vector<double> same;
    std::vector<double> empty;
    for (int run = 0; run <= RUNS; ++run) {
        if (run == 1) { // all three were cold
            ours.clear();
            same.clear();
            empty.clear();
        }
        ours.push_back(MillisecondsToTheWindow(desktop, ORSELCARDS));
        same.push_back(MillisecondsToTheWindow(desktop, SAME_WINDOW));
        empty.push_back(MillisecondsToTheWindow(desktop, MINIMAL_FRAME));
    }
    return {Median(ours), Median(same), Median(empty)};
}

void Print(const Starts& starts) {
    PrintHead({"Start to shown window", "First", "Second", "Ratio", "Limit"});
    const auto print = [](const char* what, double first, double second, const std::string& limit) {
        PrintRow({what, Duration(1000 * first), Duration(1000 * second), Number(first / second, 2), limit});
    };
    print("ours beside the same window", starts.m_Ours, starts.m_SameWindow,
          Number(LIMIT_BESIDE_SAME_WINDOW, 2));
    print("ours beside the empty frame", starts.m_Ours, starts.m_EmptyFrame,
          Number(LIMIT_BESIDE_EMPTY_FRAME, 2));
    print("same window beside the empty frame", starts.m_SameWindow, starts.m_EmptyFrame, "");
}

} // namespace

int main() {
    const auto home = std::filesystem::temp_directory_path() / "orsel_start_bench";
    std::filesystem::create_directories(home); // an instance that the user has open is not in the way
    setenv("HOME", home.c_str(), 1);
    setenv("LD_LIBRARY_PATH", SIMULATOR_DIRECTORY, 1); // its loading is part of our start
    int result = 0;
    try {
        Desktop desktop;
        Print(Measure(desktop));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Start_bench: %s\n", error.what());
        result = 1;
    }
    std::filesystem::remove_all(home);
    return result;
}
