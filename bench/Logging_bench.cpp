// SPDX-License-Identifier: MIT
// 100,000 lines, each flushed to its file, beside spdlog's basic_file_sink that flushes each line too.
// A ratio above 1 means that ours is faster.
#include "foundation/Logging.h"

#include <climits>
#include <filesystem>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "bench/Comparison.h"

namespace {

constexpr int Lines = 100000;
constexpr int Runs = 11;
const std::string Text = "slot 2: card found, reading the certificate of the holder";

Velmor::LibLogging& OurLogger(const std::string& path) {
    Velmor::LibLogging* const logger = Velmor::LibLogging::GetHandle(0);
    logger->Init(path, UINT_MAX, false); // counts its lines, but never splits
    logger->LogThreadId(true);
    logger->Enabled(true);
    return *logger;
}

/// Writes what ours writes: second, level, thread, text.
std::shared_ptr<spdlog::logger> TheirLogger(const std::string& path) {
    auto logger = spdlog::basic_logger_mt("bench", path, true);
    logger->set_pattern("%Y-%m-%d %H:%M:%S %8l (%t) %v");
    logger->flush_on(spdlog::level::trace);
    return logger;
}

} // namespace

int main() {
    const std::filesystem::path directory = std::filesystem::temp_directory_path() / "orsel_logging_bench";
    std::filesystem::create_directories(directory);
    Velmor::LibLogging& ours = OurLogger((directory / "ours.log").string());
    const auto theirs = TheirLogger((directory / "theirs.log").string());
    PrintComparisonHead();
    Compare(
        "100,000 flushed lines", Runs,
        [&ours] {
            for (int line = 0; line < Lines; ++line) {
                ours.LogMessage(Text);
            }
        },
        [&theirs] {
            for (int line = 0; line < Lines; ++line) {
                theirs->info(Text);
            }
        });
    ours.Destroy();
    spdlog::shutdown();
    std::filesystem::remove_all(directory);
    return 0;
}
