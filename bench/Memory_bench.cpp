// SPDX-License-Identifier: MIT
// Memory of the card manager that has read the ten demo cards, beside the least program of the toolkit and
// one that shows the same: the peak of what is resident, and what of the end's is whose. Needs a display with
// a window manager.
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "bench/Comparison.h"
#include "bench/WindowClock.h"
#include "foundation/StringUtils.h"
#include "tests/support/SimDeck.h"

namespace {

constexpr int RUNS = 5;
constexpr double LIMIT = 1.12;
constexpr auto STILL = std::chrono::seconds(2);
constexpr std::size_t SHOWN_MAPPINGS = 8;

/// In kilobytes.
struct Usage {
    double m_Peak = 0;
    double m_Anonymous = 0;                 ///< of no file: heap, stacks, relocated pages
    std::map<std::string, double> m_ByFile; ///< resident, by the file's name; "" is of no file
};

std::string FileText(pid_t process, const char* name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

double StatusValue(const std::string& status, const std::string& key) {
    const std::size_t found = status.find(key + ":");
    return found != std::string::npos ? std::stod(status.substr(found + key.size() + 1)) : 0;
}

/// Ticks of processor time of all threads.
std::string ProcessorTime(pid_t process) {
    std::istringstream stat(FileText(process, "stat"));
    std::string word;
    std::string times;
    for (int field = 1; stat >> word; ++field) {
        times += field == 14 || field == 15 ? word + " " : ""; // utime and stime
    }
    return times;
}

/// Waits until the process has had nothing to do for a while.
void WaitUntilStill(pid_t process) {
    auto since = std::chrono::steady_clock::now();
    std::string before;
    while (std::chrono::steady_clock::now() - since < STILL) {
        const std::string now = ProcessorTime(process) + FileText(process, "schedstat");
        if (now != before) {
            since = std::chrono::steady_clock::now();
            before = now;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

std::map<std::string, double> ResidentByFile(pid_t process) {
    std::istringstream lines(FileText(process, "smaps"));
    std::map<std::string, double> resident;
    std::string file;
    for (std::string line; std::getline(lines, line);) {
        const std::string first = line.substr(0, line.find(' '));
        if (first.back() != ':') { // "7f12-7f34 r-xp offset device inode   /path"
            const std::size_t path = line.find('/');
            file = path != std::string::npos ? line.substr(line.rfind('/') + 1) : "";
        } else if (first == "Rss:") {
            resident[file] += std::stod(line.substr(first.size()));
        }
    }
    return resident;
}

Usage UsageOf(Desktop& desktop, const char* program) {
    const Process process(program, "");
    desktop.WaitForWindowOf(process.Id());
    WaitUntilStill(process.Id());
    const std::string status = FileText(process.Id(), "status");
    return {StatusValue(status, "VmHWM"), StatusValue(status, "RssAnon"), ResidentByFile(process.Id())};
}

/// The run with the median peak.
class Candidate {
public:
    Candidate(const char* name, const char* program, const char* libraries = "")
        : m_Name(name), m_Program(program), m_Libraries(libraries) {}
    void Run(Desktop& desktop) {
        setenv("LD_LIBRARY_PATH", m_Libraries, 1);
        m_Runs.push_back(UsageOf(desktop, m_Program));
    }
    Usage MedianRun() const {
        std::vector<Usage> runs = m_Runs;
        std::sort(runs.begin(), runs.end(),
                  [](const Usage& a, const Usage& b) { return a.m_Peak < b.m_Peak; });
        return runs[runs.size() / 2];
    }
    const std::string& Name() const { return m_Name; }

private:
    std::string m_Name;
    const char* m_Program;
    const char* m_Libraries;
    std::vector<Usage> m_Runs;
};

std::string Kilobytes(double value) {
    return Number(value, 0) + " kB";
}

using Sizes = std::map<std::string, double>; ///< kilobytes by file or by owner

std::string NameOf(const std::string& file) {
    return file.empty() ? "of no file" : file;
}

std::string OwnerOf(const std::string& file) {
    if (file.empty()) {
        return NameOf(file);
    }
    for (const char* own : {"orselcards", "OrselClient", "libOrselP11", "SameWindow", "MinimalFrame"}) {
        if (Velmor::StartsWith(file, own)) {
            return "the program itself, its words, the token library";
        }
    }
    return Velmor::StartsWith(file, "libcrypto") ? "libcrypto" : "the toolkit and the other libraries";
}

/// How much more each file, or each owner, takes in the first of two programs.
Sizes Difference(const Usage& ours, const Usage& floor, std::string (*group)(const std::string&)) {
    Sizes differences;
    for (const auto& [file, size] : ours.m_ByFile) {
        differences[group(file)] += size;
    }
    for (const auto& [file, size] : floor.m_ByFile) {
        differences[group(file)] -= size;
    }
    return differences;
}

/// The largest first.
void PrintSizes(const std::string& title, const Sizes& sizes) {
    std::vector<std::pair<double, std::string>> rows;
    for (const auto& [name, size] : sizes) {
        rows.emplace_back(size, name);
    }
    std::sort(rows.rbegin(), rows.rend());
    rows.resize(std::min(rows.size(), SHOWN_MAPPINGS));
    PrintHead({title, "Resident at the end"});
    for (const auto& [size, name] : rows) {
        PrintRow({name, Kilobytes(size)});
    }
    std::printf("\n");
}

void Measure(Desktop& desktop, bool isFirst) {
    Candidate empty("empty frame", MINIMAL_FRAME);
    Candidate same("same window", SAME_WINDOW);
    Candidate alone("ours, without a token library", ORSELCARDS);
    Candidate ours("ours, ten cards read", ORSELCARDS, SIMULATOR_DIRECTORY);
    for (int run = 0; run < RUNS; ++run) {
        for (Candidate* candidate : {&empty, &same, &alone, &ours}) {
            if (isFirst) {
                desktop.ForgetVisuals();
            }
            candidate->Run(desktop);
        }
    }
    PrintHead({isFirst ? "First program of the toolkit on the display" : "Program on a display in use",
               "Peak", "Of no file", "Beside the empty frame", "Limit"});
    const double floor = empty.MedianRun().m_Peak;
    for (const Candidate* candidate : {&empty, &same, &alone, &ours}) {
        const Usage usage = candidate->MedianRun();
        PrintRow({candidate->Name(), Kilobytes(usage.m_Peak), Kilobytes(usage.m_Anonymous),
                  Number(usage.m_Peak / floor, 2), candidate == &ours ? Number(LIMIT, 2) : ""});
    }
    std::printf("\n");
    if (!isFirst) {
        const Usage read = ours.MedianRun();
        const Usage shown = same.MedianRun();
        PrintSizes("The same window above the empty frame", Difference(shown, empty.MedianRun(), NameOf));
        PrintSizes("Ours, ten cards read, above the same window", Difference(read, shown, NameOf));
        PrintSizes("The same by owner", Difference(read, shown, OwnerOf));
    }
}

} // namespace

int main() {
    orseltest::SimDeck deck;
    deck.AddDemoCards();
    unsetenv("ORSELSIM_TRACE");
    setenv("HOME", deck.Folder().c_str(), 1); // an instance that the user has open is not in the way
    try {
        Desktop desktop;
        Measure(desktop, true);
        Measure(desktop, false);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Memory_bench: %s\n", error.what());
        return 1;
    }
}
