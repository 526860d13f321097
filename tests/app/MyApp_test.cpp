// SPDX-License-Identifier: MIT
// The application object's beginning and end. What it calls to have its settings is written down and answered
// here, so that no configuration file of this machine is touched.
#include "app/MyApp.h"

#include <wx/image.h>
#include <wx/log.h>
#include <wx/utils.h>

#include <memory>

#include "app/I18N.h"
#include "app/MainFrame.h"
#include "app/OrselCardsLogger.h"
#include "foundation/Config.h"
#include "foundation/FileSystem.h"
#include "foundation/Logging.h"
#include "foundation/ProgramConfig.h"
#include "tests/app/ProbedFrame.h"
#include "tests/support/GuiTest.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> g_Calls;
std::string g_Version;      ///< what the configuration holds; empty for nothing
long g_Language = -1;       ///< likewise, -1 for nothing
wxString g_NameAtLanguage;  ///< the application's name when the language was set
bool g_LoggerAtEnd = false; ///< whether the application's logger was still in its place when it was destroyed

/// Writes down every message that would reach the user.
class Messages : public wxLog {
public:
    Messages() : m_Before(wxLog::SetActiveTarget(this)) {}
    ~Messages() override { wxLog::SetActiveTarget(m_Before); }

    std::vector<wxString> m_Texts;

protected:
    void DoLogRecord(wxLogLevel /*level*/, const wxString& text, const wxLogRecordInfo& /*info*/) override {
        m_Texts.push_back(text);
    }

private:
    wxLog* const m_Before;
};

} // namespace

// The linker sends the program's calls here.
extern "C" {
void __wrap__ZN6Velmor14GenerateConfigEv() {
    g_Calls.emplace_back("configuration");
}
void __wrap__ZN6Velmor18GenerateFileSystemEv() {
    g_Calls.emplace_back("paths");
}
bool __wrap__ZN6Velmor6Config10GetIntegerEjRl(Velmor::Config* /*self*/, unsigned int id, long& value) {
    EXPECT_EQ(id, Velmor::KEY_LANGUAGE);
    value = g_Language != -1 ? g_Language : value;
    return g_Language != -1;
}
bool __wrap__ZN6Velmor6Config9GetStringEjRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    Velmor::Config* /*self*/, unsigned int id, std::string& value) {
    if (id == Velmor::KEY_VERSION) {
        value = g_Version;
    }
    return id == Velmor::KEY_VERSION;
}
int __wrap__ZN4I18N10InitializeEl(I18N* /*self*/, long language) {
    g_Calls.emplace_back("language " + std::to_string(language));
    g_NameAtLanguage = wxTheApp->GetAppName();
    return 0;
}
int __wrap__ZN4I18N10InitializeEv(I18N* /*self*/) {
    g_Calls.emplace_back("language of the system");
    g_NameAtLanguage = wxTheApp->GetAppName();
    return 0;
}
void __wrap__ZN6Velmor6Config7DestroyEv(Velmor::Config* self) {
    g_Calls.emplace_back(self == Velmor::Config::GetHandle(0) ? "end of configuration" : "another's end");
}
void __wrap__ZN6Velmor10FileSystem7DestroyEv() {
    g_Calls.emplace_back("end of paths");
}
void __wrap__ZN6Velmor10LibLogging7DestroyEv(Velmor::LibLogging* self) {
    g_LoggerAtEnd = self == OrselCardsLogger::GetHandle();
    g_Calls.emplace_back("end of logger");
}
void __wrap__ZN4I18N7DestroyEv() {
    g_Calls.emplace_back("end of language");
}
}

namespace {

/// An application object beside the one that runs the tests, which has its place back afterwards. Its home is
/// a folder of its own.
class TheApplication : public testing::Test {
protected:
    TheApplication() {
        g_Calls.clear();
        g_Version.clear();
        g_Language = -1;
        g_NameAtLanguage.clear();
        wxImage::CleanUpHandlers(); // which the application adds
    }
    ~TheApplication() override {
        m_App.reset();
        wxApp::SetInstance(m_TestsOwn);
    }
    void Make() { m_App = std::make_unique<MyApp>(); }
    static void End(std::unique_ptr<MyApp>& app, wxAppConsole* testsOwn) {
        app.reset();
        wxApp::SetInstance(testsOwn);
    }

    wxAppConsole* const m_TestsOwn = wxApp::GetInstance();
    TempDir m_Dir;
    ScopedVariable m_Home{"HOME", m_Dir.Path("").c_str()};
    std::unique_ptr<MyApp> m_App;
};

} // namespace

TEST_F(TheApplication, HasConfigurationAndPathsBeforeItsLanguage) {
    Make();
    EXPECT_THAT(g_Calls, ElementsAre("configuration", "paths", "language of the system"));
}

TEST_F(TheApplication, TakesTheLanguageOfItsConfiguration) {
    g_Language = 58;
    Make();
    EXPECT_THAT(g_Calls, ElementsAre("configuration", "paths", "language 58"));
}

TEST_F(TheApplication, SwitchesItsLoggerOff) {
    OrselCardsLogger::GetHandle()->Enabled(true);
    Make();
    EXPECT_FALSE(OrselCardsLogger::GetHandle()->IsEnabled());
}

TEST_F(TheApplication, HasItsNamesOnlyAfterTheLanguageIsSet) {
    Make();
    EXPECT_NE(g_NameAtLanguage, "OrselClient");
    EXPECT_NE(m_App->GetAppName(), "OrselClient");
    EXPECT_TRUE(m_App->OnInit());
    EXPECT_EQ(m_App->GetAppName(), "OrselClient");
    EXPECT_EQ(m_App->GetVendorName(), "Velmor GmbH");
}

TEST_F(TheApplication, EndsWhatItBeganInAFixedOrder) {
    Make();
    g_Calls.clear();
    g_LoggerAtEnd = false;
    EXPECT_EQ(m_App->OnExit(), 0);
    EXPECT_THAT(g_Calls, IsEmpty());
    End(m_App, m_TestsOwn);
    EXPECT_THAT(g_Calls,
                ElementsAre("end of configuration", "end of paths", "end of logger", "end of language"));
    EXPECT_TRUE(g_LoggerAtEnd);
}

// --- One instance per user ---------------------------------------------------------------------------------

TEST_F(TheApplication, StartsAlsoWhereItCannotTellWhetherItRunsAlready) {
    const ScopedVariable home("HOME", m_Dir.Path("no/such/home").c_str());
    const Messages messages;
    Make();
    EXPECT_TRUE(m_App->OnInit());
    EXPECT_THAT(messages.m_Texts, IsEmpty());
}

// --- The title ---------------------------------------------------------------------------------------------

TEST_F(TheApplication, HasItsVersionInTheTitleOfItsWindow) {
    g_Version = "1.2.3";
    EXPECT_EQ(FramePtr(new ProbedFrame)->GetTitle(), "Kartenverwaltung (1.2.3, x86)");
}

TEST_F(TheApplication, HasTheShortTitleWhenTheVersionIsNoText) {
    g_Version = "\xFF\xFE";
    EXPECT_EQ(FramePtr(new ProbedFrame)->GetTitle(), "Kartenverwaltung (x86)");
}
