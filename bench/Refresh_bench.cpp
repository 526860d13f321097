// SPDX-License-Identifier: MIT
// Refreshes of a list of ten cards, in the program's own window. What of the time from the command to the
// filled list is the program's own, and not spent inside the token library? Limit: 5 percent at 50 ms a card.
#include "app/MainFrame.h"
#include "app/MyApp.h"

#include <wx/listctrl.h>
#include <wx/stopwatch.h>
#include <wx/utils.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "app/ControlIds.h"
#include "bench/Comparison.h"
#include "simulator/deck/DeckMaker.h"

namespace {

namespace fs = std::filesystem;

constexpr int Cards = 10;
constexpr int Runs = 11;
constexpr int CardMilliseconds = 50;
constexpr double LimitPercent = 5;

/// Ten cards that each take their time when a session is opened, and a trace of all calls.
class Deck {
public:
    Deck() : m_folder(fs::temp_directory_path() / "orsel_refresh_bench") {
        fs::remove_all(m_folder);
        fs::create_directories(m_folder / "deck");
        orselsim::CreateDeck((m_folder / "deck").string(), false);
        for (int card = 0; card < Cards; ++card) {
            orselsim::CardWish wish;
            wish.m_Kind = "acos-a04";
            orselsim::InsertCard((m_folder / "deck").string(), wish);
        }
        std::ofstream(m_folder / "faults") << "C_OpenSession delay=" << CardMilliseconds << '\n';
        setenv("HOME", m_folder.c_str(), 1);
        setenv("ORSELSIM_DECK", (m_folder / "deck").c_str(), 1);
        setenv("ORSELSIM_FAULTS", (m_folder / "faults").c_str(), 1);
        setenv("ORSELSIM_TRACE", TraceFile().c_str(), 1);
    }
    ~Deck() { fs::remove_all(m_folder); }
    Deck(const Deck&) = delete;
    Deck& operator=(const Deck&) = delete;

    /// Everything that the library's calls have taken so far.
    double LibraryMilliseconds() const {
        std::ifstream trace(TraceFile());
        double microseconds = 0;
        for (std::string line; std::getline(trace, line);) {
            microseconds += std::stod(line.substr(line.rfind(" us=") + 4));
        }
        return microseconds / 1000;
    }

private:
    std::string TraceFile() const { return (m_folder / "trace").string(); }

    fs::path m_folder;
};

/// A main window that tells when its list stands.
class Window : public MainFrame {
public:
    Window() : MainFrame(nullptr) {}
    bool IsFilled() const { return m_refreshThread == nullptr && list_cards->GetItemCount() == Cards; }
    void Refresh() {
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        GetEventHandler()->ProcessEvent(click);
        WaitForTheList();
    }
    void WaitForTheList() {
        const wxStopWatch patience;
        while (!IsFilled()) {
            if (patience.Time() > 60000) {
                throw std::runtime_error("the list did not fill; is the simulated library found?");
            }
            wxTheApp->Yield(true);
            wxMilliSleep(1);
        }
    }
};

class BenchApp : public MyApp {
public:
    int OnRun() override {
        auto* window = new Window;
        window->Show(true);
        window->WaitForTheList();
        Measure(*window);
        window->Destroy();
        return 0;
    }

    const Deck* m_deck = nullptr;

private:
    void Measure(Window& window) const {
        std::vector<double> walls;
        std::vector<double> shares;
        for (int run = 0; run < Runs; ++run) {
            const double before = m_deck->LibraryMilliseconds();
            const double wall = MicrosecondsOf([&window] { window.Refresh(); }) / 1000;
            walls.push_back(wall);
            shares.push_back(wall - (m_deck->LibraryMilliseconds() - before));
        }
        const double wall = Median(walls);
        const double own = Median(shares);
        std::printf("refresh of %d cards, %d ms each: %.1f ms, of these %.1f ms the program's own: "
                    "%.2f percent (limit %.0f)\n",
                    Cards, CardMilliseconds, wall, own, 100 * own / wall, LimitPercent);
    }
};

} // namespace

wxIMPLEMENT_APP_NO_MAIN(BenchApp);

int main(int argc, char** argv) {
    try {
        const Deck deck;
        wxApp::SetInstance(new BenchApp);
        static_cast<BenchApp*>(wxTheApp)->m_deck = &deck;
        return wxEntry(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Refresh_bench: %s\n", error.what());
        return 1;
    }
}
