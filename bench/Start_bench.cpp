// SPDX-License-Identifier: MIT
// From the start of the process until the window manager has the shown window: the card manager beside the
// least program of the toolkit. Needs a display with a window manager. The limit is 1.5 times the peer.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "bench/Comparison.h"
#include "bench/WindowClock.h"

namespace {

constexpr int Runs = 15;
constexpr double Limit = 1.5;

void Measure(Desktop& desktop) {
    std::vector<double> ours;
    std::vector<double> theirs;
    MillisecondsToTheWindow(desktop, ORSELCARDS); // both warm
    MillisecondsToTheWindow(desktop, MINIMAL_FRAME);
    for (int run = 0; run < Runs; ++run) {
        ours.push_back(MillisecondsToTheWindow(desktop, ORSELCARDS));
        theirs.push_back(MillisecondsToTheWindow(desktop, MINIMAL_FRAME));
    }
    const double our = Median(ours);
    const double their = Median(theirs);
    std::printf("start to shown window: ours %.1f ms, minimal program %.1f ms, ratio %.2f (limit %.1f)\n",
                our, their, our / their, Limit);
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
        Measure(desktop);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Start_bench: %s\n", error.what());
        result = 1;
    }
    std::filesystem::remove_all(home);
    return result;
}
