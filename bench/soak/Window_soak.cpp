// SPDX-License-Identifier: MIT
// Every command of the program's own window, again and again over the simulated library, whose second card
// comes and goes. Needs a display.
//   Window_soak REFRESHES COMMANDS DIALOGS [NAME...]
// How often the list is read, and each command and each dialog, or those named, are run.
#include "app/MainFrame.h"
#include "app/MyApp.h"

#include <wx/debug.h>
#include <wx/evtloop.h>
#include <wx/listbox.h>
#include <wx/listctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include "app/ControlIds.h"
#include "bench/soak/Holdings.h"
#include "card/tkPKCS11.h"
#include "dialogs/InfoboxBereich.h"
#include "dialogs/TestDialog.h"
#include "tests/support/SimDeck.h"

namespace {

constexpr long ROUNDS_OF_A_BINDING =
    50;                              ///< the answers to questions for PINs are read from the start each time
constexpr long ROUNDS_OF_A_STAY = 7; ///< of the card that comes and goes
constexpr int PATIENCE_MS = 120000;
constexpr int GLANCE_MS = 1;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "Window_soak: %s\n", what.c_str());
    std::_Exit(1);
}

void PressIn(wxWindow& window, int id) {
    wxCommandEvent click(wxEVT_BUTTON, id);
    window.FindWindow(id)->GetEventHandler()->ProcessEvent(click);
}

template <typename Control>
std::vector<Control*> ChildrenOf(const wxWindow& window) {
    std::vector<Control*> found;
    for (wxWindow* child : window.GetChildren()) {
        if (auto* control = dynamic_cast<Control*>(child)) {
            found.push_back(control);
        }
    }
    return found;
}

template <typename Dialog>
Dialog* FindModal() {
    for (wxWindow* window : wxTopLevelWindows) {
        auto* dialog = dynamic_cast<Dialog*>(window);
        if (dialog != nullptr && dialog->IsModal()) {
            return dialog;
        }
    }
    return nullptr;
}

/// Works in the dialogs that come up, and closes them.
class DialogUser : public wxTimer {
public:
    DialogUser() { Start(GLANCE_MS); }
    void Notify() override {
        if (auto* test = FindModal<TestDialog>()) {
            Sign(*test);
        } else if (auto* infobox = FindModal<InfoboxBereich>()) {
            LookInto(*infobox);
        }
    }
    long Closed() const { return m_Closed; }

private:
    void Sign(TestDialog& dialog) {
        PressIn(dialog, ID_TEST_SIGN);
        const auto texts = ChildrenOf<wxTextCtrl>(dialog);
        if (std::any_of(texts.begin(), texts.end(), [](const auto* text) { return text->IsEmpty(); })) {
            Fail("nothing is signed");
        }
        PressIn(dialog, ID_TEST_VERIFY);
        Close(dialog, ID_TEST_CLOSE);
    }
    /// Its list is read a moment after it has come up.
    void LookInto(InfoboxBereich& dialog) {
        wxListBox* const list = ChildrenOf<wxListBox>(dialog).front();
        if (list->GetCount() == 0 || !list->IsThisEnabled()) {
            return;
        }
        for (unsigned row = 0; row < list->GetCount(); ++row) {
            list->SetSelection(static_cast<int>(row));
            wxCommandEvent click(wxEVT_LISTBOX, ID_INFOBOX_LIST);
            list->GetEventHandler()->ProcessEvent(click);
        }
        PressIn(dialog, ID_INFOBOX_ENCRYPT);
        Close(dialog, ID_INFOBOX_CLOSE);
    }
    void Close(wxDialog& dialog, int button) {
        ++m_Closed;
        PressIn(dialog, button);
    }

    long m_Closed = 0;
};

/// A main window that lets the event loop run until its list stands.
class Window : public MainFrame {
public:
    Window() : MainFrame(nullptr) {
        m_Patience.Bind(wxEVT_TIMER, [](wxTimerEvent&) { Fail("the list does not fill"); });
    }
    void Refresh(int cards) {
        PressIn(*this, ID_RELOAD);
        WaitForTheList();
        if (list_cards->GetItemCount() != cards) {
            Fail("not the cards of the deck in the list");
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
    void BindAnew() {
        m_p11->Destroy();
        m_p11->Init();
        CountSessions();
    }
    void Select(long row) {
        list_cards->SetItemState(row, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
        Settle();
    }
    static void Settle() {
        wxTheApp->Yield(true);
        wxTheApp->ProcessIdle();
        wxTheApp->ProcessPendingEvents();
    }
    std::string Status() const { return std::string(label_status->GetLabel().utf8_str()); }

private:
    wxEventLoop* m_Loop = nullptr;
    wxTimer m_Patience;
};

/// What a command leaves to be seen.
enum class Trace { STATUS, CERTIFICATE, DIALOG };

struct Command {
    const char* m_Name;
    int m_Button;
    long m_Row; ///< of the card
    Trace m_Trace;
    std::vector<std::string> m_Answers = {}; ///< to its questions for PINs
    const char* m_Status = "";
};

constexpr long ACOS_03 = 1; ///< the card that came first stands last
constexpr long ACOS_04 = 0;
constexpr const char* CHANGED = "PIN Änderung erfolgreich!";
constexpr const char* UNBLOCKED = "PIN Entsperren erfolgreich!";

const Command COMMANDS[] = {
    {"Change signature PIN",
     ID_SIG_CHANGE_PIN,
     ACOS_03,
     Trace::STATUS,
     {"123456", "123456", "123456"},
     CHANGED},
    {"Change encryption PIN", ID_ENC_CHANGE_PIN, ACOS_03, Trace::STATUS, {"1234", "1234", "1234"}, CHANGED},
    {"Change identity link PIN", ID_PERS_CHANGE, ACOS_03, Trace::STATUS, {"1234", "1234", "1234"}, CHANGED},
    {"Unblock signature PIN",
     ID_SIG_PUK,
     ACOS_03,
     Trace::STATUS,
     {"12345678", "123456", "123456"},
     UNBLOCKED},
    {"Unblock encryption PIN", ID_ENC_PUK, ACOS_03, Trace::STATUS, {"12345678", "1234", "1234"}, UNBLOCKED},
    {"Unblock identity link PIN",
     ID_PERS_PUK,
     ACOS_03,
     Trace::STATUS,
     {"12345678", "1234", "1234"},
     UNBLOCKED},
    {"Show signature certificate", ID_SIG_SHOW_CERT, ACOS_04, Trace::CERTIFICATE},
    {"Show encryption certificate", ID_ENC_SHOW, ACOS_04, Trace::CERTIFICATE},
    {"Test signature key", ID_SIG_TEST, ACOS_03, Trace::DIALOG, {"123456"}},
    {"Test encryption key", ID_ENC_TEST, ACOS_03, Trace::DIALOG, {"1234"}},
    {"Infobox", ID_PERS_SHOW, ACOS_04, Trace::DIALOG},
};

/// The reader with its two cards.
class Reader {
public:
    Reader() {
        unsetenv("ORSELSIM_TRACE"); // it would fill the memory that is measured
        setenv("HOME", m_Deck.Folder().c_str(), 1);
        setenv("TMPDIR", m_Deck.Folder().c_str(), 1);
        setenv("PATH", m_Deck.Folder().c_str(), 1);
        std::filesystem::create_symlink("/bin/true", m_Deck.Folder() + "/certViewerApp");
        m_Deck.Add("acos-a03");
        m_Guest = m_Deck.Add("acos-a04");
    }
    int Cards() const { return m_IsGuestIn ? 2 : 1; }
    void LetGuestComeOrGo() {
        m_IsGuestIn ? m_Deck.TakeOut(m_Guest) : m_Deck.PutBack(m_Guest);
        m_IsGuestIn = !m_IsGuestIn;
    }
    void LetGuestIn() {
        if (!m_IsGuestIn) {
            LetGuestComeOrGo();
        }
    }
    void Answer(const std::vector<std::string>& answers) const {
        std::ofstream file(m_Deck.Folder() + "/answers", std::ios::trunc);
        for (long round = 0; round < ROUNDS_OF_A_BINDING; ++round) {
            for (const std::string& answer : answers) {
                file << answer << '\n';
            }
        }
    }
    bool HasCertificate() const { return std::filesystem::remove(m_Deck.Folder() + "/orselcards_cert.cer"); }

private:
    orseltest::SimDeck m_Deck;
    std::string m_Guest;
    bool m_IsGuestIn = true;
};

class SoakApp : public MyApp {
public:
    SoakApp(Reader& reader, const std::vector<long>& rounds, std::vector<std::string> chosen)
        : m_Reader(reader),
          m_Refreshes(rounds[0]),
          m_Commands(rounds[1]),
          m_Dialogs(rounds[2]),
          m_Chosen(std::move(chosen)) {}

    int OnRun() override {
        m_Window = new Window;
        CountSessions();
        m_Window->Show(true);
        m_Window->WaitForTheList();
        Soak("Refresh", m_Refreshes, [this](long round) { Refresh(round); });
        m_Reader.LetGuestIn();
        m_Window->Refresh(m_Reader.Cards());
        for (const Command& command : COMMANDS) {
            if (!IsChosen(command)) {
                continue;
            }
            m_Reader.Answer(command.m_Answers);
            m_Window->Select(command.m_Row);
            Soak(command.m_Name, command.m_Trace == Trace::DIALOG ? m_Dialogs : m_Commands,
                 [&](long round) { Run(command, round); });
        }
        m_Window->Destroy();
        return TellSessions() && m_IsSound ? 0 : 1;
    }

private:
    bool IsChosen(const Command& command) const {
        return m_Chosen.empty() || std::count(m_Chosen.begin(), m_Chosen.end(), command.m_Name) > 0;
    }
    void Soak(const char* what, long rounds, const std::function<void(long)>& run) {
        if (rounds == 0) {
            return;
        }
        long round = 0;
        for (const long warm = WarmUpOf(rounds); round < warm; ++round) {
            run(round);
        }
        const Holdings before = OwnHoldings();
        for (const long end = round + rounds; round < end; ++round) {
            run(round);
        }
        m_IsSound = TellGrowth(what, rounds, before, OwnHoldings()) && m_IsSound;
    }

    void Refresh(long round) {
        if (round % ROUNDS_OF_A_STAY == 0) {
            m_Reader.LetGuestComeOrGo();
        }
        m_Window->Refresh(m_Reader.Cards());
    }

    void Run(const Command& command, long round) {
        if (round % ROUNDS_OF_A_BINDING == 0) {
            m_Window->BindAnew();
        }
        const long closed = m_User.Closed();
        m_Window->SetStatus("", false);
        PressIn(*m_Window, command.m_Button);
        const bool isDone = command.m_Trace == Trace::STATUS        ? m_Window->Status() == command.m_Status
                            : command.m_Trace == Trace::CERTIFICATE ? m_Reader.HasCertificate()
                                                                    : m_User.Closed() == closed + 1;
        if (!isDone) {
            Fail(std::string(command.m_Name) + " does not do it: " + m_Window->Status());
        }
        Window::Settle();
    }

    Reader& m_Reader;
    const long m_Refreshes;
    const long m_Commands;
    const long m_Dialogs;
    const std::vector<std::string> m_Chosen;
    Window* m_Window = nullptr; ///< the toolkit's
    DialogUser m_User;
    bool m_IsSound = true;
};

} // namespace

wxIMPLEMENT_APP_NO_MAIN(MyApp);

int main(int argc, char** argv) {
    if (argc < 4) {
        Fail("say how many refreshes, commands and dialogs");
    }
    wxDisableAsserts(); // as the program itself does
    try {
        Reader reader;
        const std::vector<long> rounds = {std::atol(argv[1]), std::atol(argv[2]), std::atol(argv[3])};
        wxApp::SetInstance(new SoakApp(reader, rounds, {argv + 4, argv + argc}));
        argc = 1;
        return wxEntry(argc, argv);
    } catch (const std::exception& error) {
        Fail(error.what());
    }
}
