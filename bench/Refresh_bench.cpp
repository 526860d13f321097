// SPDX-License-Identifier: MIT
// Refreshes of the card list in the program's own window, over the simulated library. What of the time from
// the command to the filled list is the program's own, and does it grow with the number of cards? And does
// the window live while the cards take their time?
#include "app/MainFrame.h"
#include "app/MyApp.h"

#include <wx/evtloop.h>
#include <wx/listctrl.h>
#include <wx/timer.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "app/ControlIds.h"
#include "bench/Comparison.h"
#include "card/tkPKCS11.h"
#include "simulator/deck/DeckMaker.h"

namespace {

namespace fs = std::filesystem;
using Velmor::tkPKCS11;

constexpr int RUNS = 11;
constexpr int CARD_COUNTS[] = {1, 10, 50, 128};
constexpr double LIMIT_PERCENT = 5;  ///< own share of a refresh of ten cards of 50 ms each
constexpr double LIMIT_GROWTH = 1.2; ///< own time a card: the most cards beside ten
constexpr int HEARTBEAT_CARDS = 10;  ///< each of which takes the two seconds of a real one
constexpr int HEARTBEAT_CARD_MS = 2000;
constexpr int HEARTBEAT_MS = 5;
constexpr double LIMIT_GAP_MS = 50;
constexpr int PATIENCE_MS = 120000;

// --- The token library, timed ------------------------------------------------------------------------------

std::atomic<long long> g_LibraryNanoseconds{0};
std::atomic<int> g_CardMilliseconds{0}; ///< what opening a session takes

/// Stands between the program and one entry point of the library. A trace of the library's own would cost
/// outside of the times that it tells.
template <auto* ENTRY_POINT, typename Function = std::remove_pointer_t<decltype(ENTRY_POINT)>>
struct Timed;

template <auto* ENTRY_POINT, typename... Parameters>
struct Timed<ENTRY_POINT, CK_RV (*)(Parameters...)> {
    static void Install() { m_Library = std::exchange(*ENTRY_POINT, &Call); }
    static CK_RV Call(Parameters... parameters) {
        const auto start = std::chrono::steady_clock::now();
        if constexpr (std::is_same_v<Function, CK_C_OpenSession>) {
            wxMilliSleep(static_cast<unsigned long>(g_CardMilliseconds));
        }
        const CK_RV result = m_Library(parameters...);
        g_LibraryNanoseconds += std::chrono::nanoseconds(std::chrono::steady_clock::now() - start).count();
        return result;
    }
    using Function = CK_RV (*)(Parameters...);
    static inline Function m_Library = nullptr;
};

template <auto*... ENTRY_POINTS>
void InstallTimed() {
    (Timed<ENTRY_POINTS>::Install(), ...);
}

/// All that a refresh calls.
void TimeTheLibrary() {
    InstallTimed<&tkPKCS11::Proc_C_GetSlotList, &tkPKCS11::Proc_C_GetTokenInfo, &tkPKCS11::Proc_C_GetSlotInfo,
                 &tkPKCS11::Proc_C_OpenSession, &tkPKCS11::Proc_C_CloseSession,
                 &tkPKCS11::Proc_C_FindObjectsInit, &tkPKCS11::Proc_C_FindObjects,
                 &tkPKCS11::Proc_C_FindObjectsFinal, &tkPKCS11::Proc_C_GetAttributeValue>();
}

/// A deck in a folder of its own. Its cards are of the kind whose keys are made at once.
class Deck {
public:
    Deck() : m_Folder(fs::temp_directory_path() / "orsel_refresh_bench") {
        fs::remove_all(m_Folder);
        fs::create_directories(m_Folder / "deck");
        orselsim::CreateDeck(Path(), false);
        setenv("HOME", m_Folder.c_str(), 1);
        setenv("ORSELSIM_DECK", Path().c_str(), 1);
    }
    ~Deck() { fs::remove_all(m_Folder); }
    Deck(const Deck&) = delete;
    Deck& operator=(const Deck&) = delete;

    void FillUpTo(int cards) {
        for (; m_Cards < cards; ++m_Cards) {
            orselsim::CardWish wish;
            wish.m_Kind = "ecard-g2";
            orselsim::InsertCard(Path(), wish);
        }
    }

private:
    std::string Path() const { return (m_Folder / "deck").string(); }

    fs::path m_Folder;
    int m_Cards = 0;
};

// --- The window --------------------------------------------------------------------------------------------

/// A main window that lets the event loop run until its list stands.
class Window : public MainFrame {
public:
    Window() : MainFrame(nullptr) {
        m_Patience.Bind(wxEVT_TIMER, [](wxTimerEvent&) {
            throw std::runtime_error("the list did not fill; is the simulated library found?");
        });
    }
    void Refresh(int cards) {
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        GetEventHandler()->ProcessEvent(click);
        WaitForTheList();
        if (list_cards->GetItemCount() != cards) {
            throw std::runtime_error("not the cards of the deck in the list");
        }
    }
    void WaitForTheList() {
        wxEventLoop loop;
        m_Loop = &loop;
        m_Patience.StartOnce(PATIENCE_MS);
        loop.Run();
        m_Patience.Stop();
        m_Loop = nullptr;
    }
    void evt_ThreadFinished(wxCommandEvent& event) override {
        MainFrame::evt_ThreadFinished(event);
        m_Loop->Exit();
    }

private:
    wxEventLoop* m_Loop = nullptr;
    wxTimer m_Patience;
};

/// Ticks in the event loop and notes the time from each tick to the next.
class Heartbeat : public wxTimer {
public:
    Heartbeat() : m_Last(std::chrono::steady_clock::now()) { Start(HEARTBEAT_MS); }
    void Notify() override {
        const auto now = std::chrono::steady_clock::now();
        m_Gaps.push_back(std::chrono::duration<double, std::milli>(now - m_Last).count());
        m_Last = now;
    }
    const std::vector<double>& Gaps() const { return m_Gaps; }

private:
    std::chrono::steady_clock::time_point m_Last;
    std::vector<double> m_Gaps;
};

// --- What is measured --------------------------------------------------------------------------------------

/// Medians of some refreshes, in milliseconds.
struct Cost {
    double m_Wall;
    double m_Own;
};

Cost Measure(Window& window, int cards, int cardMilliseconds) {
    g_CardMilliseconds = cardMilliseconds;
    window.Refresh(cards); // reads cards that are new
    std::vector<double> walls;
    std::vector<double> owns;
    for (int run = 0; run < RUNS; ++run) {
        const long long before = g_LibraryNanoseconds;
        const double wall = MicrosecondsOf([&] { window.Refresh(cards); }) / 1000;
        walls.push_back(wall);
        owns.push_back(wall - static_cast<double>(g_LibraryNanoseconds - before) / 1e6);
    }
    return {Median(walls), Median(owns)};
}

/// How long the window answers nothing, again and again, during one refresh of slow cards.
std::vector<double> Beats(Window& window) {
    g_CardMilliseconds = HEARTBEAT_CARD_MS;
    const Heartbeat heartbeat;
    window.Refresh(HEARTBEAT_CARDS);
    return heartbeat.Gaps();
}

void PrintBeats(const std::vector<double>& gaps) {
    PrintHead({"Gap between two beats of the event loop", "Measured", "Limit"});
    PrintRow({"median", Number(Median(gaps), 1) + " ms", ""});
    PrintRow({"99th percentile", Number(Quantile(gaps, 0.99), 1) + " ms", ""});
    PrintRow({"99.9th percentile of " + std::to_string(gaps.size()), Number(Quantile(gaps, 0.999), 1) + " ms",
              Number(LIMIT_GAP_MS, 0) + " ms"});
    PrintRow({"longest", Number(Quantile(gaps, 1), 1) + " ms", ""});
    std::printf("\n");
}

void MeasureGrowth(Window& window, Deck& deck) {
    PrintHead({"Cards", "Each takes", "Refresh", "The program's own", "Share", "Own time a card"});
    double ofTen = 0;
    double ofMost = 0;
    std::vector<double> gaps;
    for (const int cards : CARD_COUNTS) {
        deck.FillUpTo(cards);
        if (cards == HEARTBEAT_CARDS) {
            gaps = Beats(window);
        }
        for (const int delay : {0, 50}) {
            const Cost cost = Measure(window, cards, delay);
            PrintRow({std::to_string(cards), std::to_string(delay) + " ms", Number(cost.m_Wall, 1) + " ms",
                      Number(cost.m_Own, 2) + " ms", Number(100 * cost.m_Own / cost.m_Wall, 1) + " %",
                      Number(cost.m_Own / cards, 3) + " ms"});
            ofTen = cards == 10 ? cost.m_Own / cards : ofTen;
            ofMost = cost.m_Own / cards;
        }
    }
    std::printf(
        "\nOwn time a card, %d cards beside 10, 50 ms each: ratio %s (limit %s). Limit of the share, ten "
        "cards of 50 ms each: %s %%.\n\n",
        CARD_COUNTS[std::size(CARD_COUNTS) - 1], Number(ofMost / ofTen, 2).c_str(),
        Number(LIMIT_GROWTH, 1).c_str(), Number(LIMIT_PERCENT, 0).c_str());
    PrintBeats(gaps);
}

class BenchApp : public MyApp {
public:
    int OnRun() override {
        auto* window = new Window;
        TimeTheLibrary();
        window->Show(true);
        window->WaitForTheList();
        MeasureGrowth(*window, *m_Deck);
        window->Destroy();
        return 0;
    }

    Deck* m_Deck = nullptr;
};

} // namespace

wxIMPLEMENT_APP_NO_MAIN(BenchApp);

int main(int argc, char** argv) {
    try {
        Deck deck;
        wxApp::SetInstance(new BenchApp);
        static_cast<BenchApp*>(wxTheApp)->m_Deck = &deck;
        return wxEntry(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Refresh_bench: %s\n", error.what());
        return 1;
    }
}
