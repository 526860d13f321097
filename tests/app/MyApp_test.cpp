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
#include "tests/app/GuiTest.h"
#include "tests/app/ProbedFrame.h"
#include "tests/foundation/Seconds.h"
#include "tests/foundation/TempDir.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> g_calls;
std::string g_version;      ///< what the configuration holds; empty for nothing
long g_language = -1;       ///< likewise, -1 for nothing
wxString g_nameAtLanguage;  ///< the application's name when the language was set
bool g_loggerAtEnd = false; ///< whether the application's logger was still in its place when it was destroyed

/// Writes down every message that would reach the user.
class Messages : public wxLog {
public:
    Messages() : m_before(wxLog::SetActiveTarget(this)) {}
    ~Messages() override { wxLog::SetActiveTarget(m_before); }

    std::vector<wxString> texts;

protected:
    void DoLogRecord(wxLogLevel /*level*/, const wxString& text, const wxLogRecordInfo& /*info*/) override {
        texts.push_back(text);
    }

private:
    wxLog* const m_before;
};

} // namespace

// The linker sends the program's calls here.
extern "C" {
void __wrap__ZN6Velmor14GenerateConfigEv() {
    g_calls.emplace_back("configuration");
}
void __wrap__ZN6Velmor18GenerateFileSystemEv() {
    g_calls.emplace_back("paths");
}
bool __wrap__ZN6Velmor6Config10GetIntegerEjRl(Velmor::Config* /*self*/, unsigned int id, long& value) {
    EXPECT_EQ(id, Velmor::KEY_LANGUAGE);
    value = g_language != -1 ? g_language : value;
    return g_language != -1;
}
bool __wrap__ZN6Velmor6Config9GetStringEjRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    Velmor::Config* /*self*/, unsigned int id, std::string& value) {
    if (id == Velmor::KEY_VERSION) {
        value = g_version;
    }
    return id == Velmor::KEY_VERSION;
}
int __wrap__ZN4I18N10InitializeEl(I18N* /*self*/, long language) {
    g_calls.emplace_back("language " + std::to_string(language));
    g_nameAtLanguage = wxTheApp->GetAppName();
    return 0;
}
int __wrap__ZN4I18N10InitializeEv(I18N* /*self*/) {
    g_calls.emplace_back("language of the system");
    g_nameAtLanguage = wxTheApp->GetAppName();
    return 0;
}
void __wrap__ZN6Velmor6Config7DestroyEv(Velmor::Config* self) {
    g_calls.emplace_back(self == Velmor::Config::GetHandle(0) ? "end of configuration" : "another's end");
}
void __wrap__ZN6Velmor10FileSystem7DestroyEv() {
    g_calls.emplace_back("end of paths");
}
void __wrap__ZN6Velmor10LibLogging7DestroyEv(Velmor::LibLogging* self) {
    g_loggerAtEnd = self == OrselCardsLogger::GetHandle();
    g_calls.emplace_back("end of logger");
}
void __wrap__ZN4I18N7DestroyEv() {
    g_calls.emplace_back("end of language");
}
}

namespace {

/// An application object beside the one that runs the tests, which has its place back afterwards. Its home is
/// a folder of its own.
class TheApplication : public testing::Test {
protected:
    TheApplication() {
        g_calls.clear();
        g_version.clear();
        g_language = -1;
        g_nameAtLanguage.clear();
        wxImage::CleanUpHandlers(); // which the application adds
    }
    ~TheApplication() override {
        m_app.reset();
        wxApp::SetInstance(m_testsOwn);
    }
    void Make() { m_app = std::make_unique<MyApp>(); }
    static void End(std::unique_ptr<MyApp>& app, wxAppConsole* testsOwn) {
        app.reset();
        wxApp::SetInstance(testsOwn);
    }

    wxAppConsole* const m_testsOwn = wxApp::GetInstance();
    TempDir m_dir;
    ScopedVariable m_home{"HOME", m_dir.Path("").c_str()};
    std::unique_ptr<MyApp> m_app;
};

} // namespace

TEST_F(TheApplication, HasConfigurationAndPathsBeforeItsLanguage) {
    Make();
    EXPECT_THAT(g_calls, ElementsAre("configuration", "paths", "language of the system"));
}

TEST_F(TheApplication, TakesTheLanguageOfItsConfiguration) {
    g_language = 58;
    Make();
    EXPECT_THAT(g_calls, ElementsAre("configuration", "paths", "language 58"));
}

TEST_F(TheApplication, SwitchesItsLoggerOff) {
    OrselCardsLogger::GetHandle()->Enabled(true);
    Make();
    EXPECT_FALSE(OrselCardsLogger::GetHandle()->IsEnabled());
}

TEST_F(TheApplication, HasItsNamesOnlyAfterTheLanguageIsSet) {
    Make();
    EXPECT_NE(g_nameAtLanguage, "OrselClient");
    EXPECT_NE(m_app->GetAppName(), "OrselClient");
    EXPECT_TRUE(m_app->OnInit());
    EXPECT_EQ(m_app->GetAppName(), "OrselClient");
    EXPECT_EQ(m_app->GetVendorName(), "Velmor GmbH");
}

TEST_F(TheApplication, EndsWhatItBeganInAFixedOrder) {
    Make();
    g_calls.clear();
    g_loggerAtEnd = false;
    EXPECT_EQ(m_app->OnExit(), 0);
    EXPECT_THAT(g_calls, IsEmpty());
    End(m_app, m_testsOwn);
    EXPECT_THAT(g_calls,
                ElementsAre("end of configuration", "end of paths", "end of logger", "end of language"));
    EXPECT_TRUE(g_loggerAtEnd);
}

// --- One instance per user ---------------------------------------------------------------------------------

TEST_F(TheApplication, StartsAlsoWhereItCannotTellWhetherItRunsAlready) {
    const ScopedVariable home("HOME", m_dir.Path("no/such/home").c_str());
    const Messages messages;
    Make();
    EXPECT_TRUE(m_app->OnInit());
    EXPECT_THAT(messages.texts, IsEmpty());
}

// --- The title ---------------------------------------------------------------------------------------------

TEST_F(TheApplication, HasItsVersionInTheTitleOfItsWindow) {
    g_version = "1.2.3";
    EXPECT_EQ(FramePtr(new ProbedFrame)->GetTitle(), "Kartenverwaltung (1.2.3, x86)");
}

TEST_F(TheApplication, HasTheShortTitleWhenTheVersionIsNoText) {
    g_version = "\xFF\xFE";
    EXPECT_EQ(FramePtr(new ProbedFrame)->GetTitle(), "Kartenverwaltung (x86)");
}
