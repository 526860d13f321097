// SPDX-License-Identifier: MIT
// The built program as people start it: with and without a display, on certificates and on what is none.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/TempDir.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

struct Result {
    int m_Code;
    std::string m_Output; ///< of standard output and standard error together
};

/// Runs a shell command to its end.
Result RunCommand(const std::string& command) {
    FILE* const pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
    Result result{};
    std::array<char, 4096> block;
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe)) {
        result.m_Output.append(block.data(), count);
    }
    const int status = pclose(pipe);
    result.m_Code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    return result;
}

const std::string VIEWER = "'" ORSEL_VIEWER "'";
const std::string WITHOUT_DISPLAY = "env -u DISPLAY -u WAYLAND_DISPLAY " + VIEWER;

/// Starts the viewer, waits for the window whose title begins like this, does something with its id in $w and
/// waits for the viewer's end; the code is the viewer's.
Result RunWindow(const std::string& arguments, const std::string& title, const std::string& action,
                 const std::string& environment = "") {
    return RunCommand(environment + " " + VIEWER + " " + arguments + " & p=$!\n" +
                      "for i in $(seq 200); do w=$(xdotool search --onlyvisible --name '^" + title +
                      "' 2>/dev/null | tail -n 1); [ -n \"$w\" ] && break; sleep 0.1; done\n"
                      "[ -n \"$w\" ] || { kill $p; echo no window; exit 99; }\n" +
                      action + "\nwait $p");
}

class TheViewer : public testing::Test {
protected:
    std::string Certificate(const CertificateBuilder& builder = CertificateBuilder()) {
        return m_Dir.File("certificate.pem", builder.Pem());
    }
    TempDir m_Dir;
};

} // namespace

TEST_F(TheViewer, WritesTheLongTextWithoutADisplay) {
    const Result result = RunCommand(WITHOUT_DISPLAY + " --text '" + Certificate() + "'");
    EXPECT_EQ(0, result.m_Code);
    EXPECT_THAT(result.m_Output, StartsWith("Inhaber\n    Land (C): AT\n"));
    EXPECT_THAT(result.m_Output, HasSubstr("Gültig bis: 01.01.2026, 12:00:00 UTC\n"));
}

TEST_F(TheViewer, WritesUmlautsWhateverTheLocale) {
    const Result result = RunCommand("env LC_ALL=C " + WITHOUT_DISPLAY + " --text '" + Certificate() + "'");
    EXPECT_THAT(result.m_Output, HasSubstr("Öffentlicher Schlüssel\n"));
}

TEST_F(TheViewer, TellsItsUsageAndVersion) {
    EXPECT_EQ(0, RunCommand(WITHOUT_DISPLAY + " --help").m_Code);
    EXPECT_THAT(RunCommand(WITHOUT_DISPLAY + " --help").m_Output,
                StartsWith("Aufruf: orselcards-certviewer"));
    EXPECT_THAT(RunCommand(WITHOUT_DISPLAY + " --version").m_Output, StartsWith("orselcards-certviewer "));
    EXPECT_EQ(2, RunCommand(WITHOUT_DISPLAY).m_Code);
    EXPECT_EQ(2, RunCommand(WITHOUT_DISPLAY + " --unknown x").m_Code);
}

TEST_F(TheViewer, WithTextTellsOfAnyBadFileOnStandardErrorWithExitCodeOne) {
    const std::string truncated = m_Dir.File("truncated", CertificateBuilder().Pem().substr(0, 200));
    const std::string empty = m_Dir.File("empty", "");
    for (const std::string& path :
         {m_Dir.Path("missing"), truncated, empty, m_Dir.Path(), std::string("/dev/zero")}) {
        const Result result = RunCommand(WITHOUT_DISPLAY + " --text '" + path + "' >/dev/null");
        EXPECT_EQ(1, result.m_Code) << path;
        EXPECT_THAT(result.m_Output, StartsWith("orselcards-certviewer: ")) << path;
        EXPECT_EQ(result.m_Output.size() - 1, result.m_Output.find('\n')) << result.m_Output; // one line
    }
}

TEST_F(TheViewer, FailsWhenItsTextCannotBeWritten) {
    EXPECT_EQ(1, RunCommand(WITHOUT_DISPLAY + " --text '" + Certificate() + "' >/dev/full").m_Code);
    EXPECT_EQ(1, RunCommand(WITHOUT_DISPLAY + " --help >/dev/full").m_Code);
    EXPECT_EQ(1, RunCommand(WITHOUT_DISPLAY + " --version >/dev/full").m_Code);
    // More than the standard stream keeps back.
    CertificateBuilder large;
    large.RawExtension("1.2.3", std::vector<unsigned char>(100000));
    EXPECT_EQ(1, RunCommand(WITHOUT_DISPLAY + " --text '" + Certificate(large) + "' >/dev/full").m_Code);
}

TEST_F(TheViewer, TellsThatItNeedsADisplay) {
    const Result result = RunCommand(WITHOUT_DISPLAY + " '" + Certificate() + "'");
    EXPECT_EQ(1, result.m_Code);
    EXPECT_EQ("orselcards-certviewer: no display; --text needs none\n", result.m_Output);
}

TEST_F(TheViewer, TellsOfABadFileInAWindow) {
    const std::string foreign = m_Dir.File("foreign", "Hallo");
    for (const std::string& path : {m_Dir.Path("missing"), foreign}) {
        const Result result =
            RunWindow("'" + path + "'", "Zertifikat anzeigen", "xdotool windowfocus --sync $w key Return");
        EXPECT_EQ(1, result.m_Code);
        EXPECT_EQ("", result.m_Output);
    }
}

TEST_F(TheViewer, EndsWellOnEscape) {
    const Result result =
        RunWindow("'" + Certificate() + "'", "Erika Muster", "xdotool windowfocus --sync $w key Escape");
    EXPECT_EQ(0, result.m_Code);
    EXPECT_EQ("", result.m_Output);
}

TEST_F(TheViewer, IsKnownToDocksUnderItsOwnNameAlsoBehindALink) {
    std::filesystem::create_symlink(ORSEL_VIEWER, m_Dir.Path("certViewerApp"));
    const Result result =
        RunCommand("'" + m_Dir.Path("certViewerApp") + "' '" + Certificate() +
                   "' & p=$!\nfor i in $(seq 200); do w=$(xdotool search --onlyvisible --name '^Erika' "
                   "2>/dev/null | tail -n 1); [ -n \"$w\" ] && break; sleep 0.1; done\n"
                   "xprop -id $w WM_CLASS; xdotool windowfocus --sync $w key Escape; wait $p");
    EXPECT_THAT(result.m_Output, StartsWith("WM_CLASS(STRING) = \"orselcards-certviewer\", "));
}

TEST_F(TheViewer, WritesNoFileOfItsOwn) {
    const std::string home = m_Dir.Path("home");
    std::filesystem::create_directory(home);
    RunWindow("'" + Certificate() + "'", "Erika Muster", "xdotool windowfocus --sync $w key Escape",
              "HOME='" + home + "' XDG_CACHE_HOME='" + m_Dir.Path() + "'");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home)) {
        EXPECT_TRUE(entry.is_directory()) << entry.path(); // the configuration makes its folder
    }
}

// A theme's words stand out from their background: some pixels of the window are far brighter than others,
// and most are as dark or as bright as the theme is.
TEST_F(TheViewer, CanBeReadOnLightAndDarkThemes) {
    for (const char* theme : {"Adwaita", "Adwaita:dark"}) {
        SCOPED_TRACE(theme);
        const std::string picture = m_Dir.Path("picture.png");
        RunWindow("'" + Certificate() + "'", "Erika Muster",
                  "sleep 0.5; import -window $w '" + picture + "'; xdotool windowfocus --sync $w key Escape",
                  std::string("GTK_THEME=") + theme);
        // The words' part of the head, without the icon, and the list.
        const std::string crop =
            " -crop 400x110+70+10 -colorspace gray -format '%[fx:mean] %[fx:maxima-minima]' info:";
        const Result levels = RunCommand("convert '" + picture + "'" + crop);
        const double mean = std::strtod(levels.m_Output.c_str(), nullptr);
        const double contrast =
            std::strtod(levels.m_Output.substr(levels.m_Output.find(' ')).c_str(), nullptr);
        EXPECT_EQ(std::string(theme) == "Adwaita", mean > 0.5) << levels.m_Output;
        EXPECT_GT(contrast, 0.6) << levels.m_Output;
    }
}
