// SPDX-License-Identifier: MIT
// The program that starts others on the bridge, beside programs that say how they were started.
#include "bridge/Launcher.h"

#include <filesystem>
#include <stdexcept>

#include <gmock/gmock.h>

#include "tests/support/CommandOutput.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using orselbridge::ReadRequest;
using orselbridge::Request;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace fs = std::filesystem;

TEST(ARequestToTheLauncher, IsToStartTheCardManagerUnlessItSaysMore) {
    EXPECT_EQ(Request::Kind::START, ReadRequest({}).m_Kind);
    EXPECT_EQ("", ReadRequest({}).m_Module);
    EXPECT_EQ(Request::Kind::LIST, ReadRequest({"--list"}).m_Kind);
    EXPECT_EQ(Request::Kind::HELP, ReadRequest({"--help"}).m_Kind);
    EXPECT_EQ(Request::Kind::HELP, ReadRequest({"-h"}).m_Kind);
    EXPECT_EQ(Request::Kind::VERSION, ReadRequest({"--version"}).m_Kind);
}

TEST(ARequestToTheLauncher, NamesTheModuleInEitherForm) {
    EXPECT_EQ("a.so", ReadRequest({"--module", "a.so"}).m_Module);
    EXPECT_EQ("a.so", ReadRequest({"--module=a.so", "--list"}).m_Module);
    EXPECT_THROW(ReadRequest({"--module"}), std::runtime_error);
}

TEST(ARequestToTheLauncher, PassesOnWhatFollowsTwoDashes) {
    const Request request = ReadRequest({"--module=a.so", "--", "pin", "--help"});
    EXPECT_EQ(Request::Kind::COMMAND, request.m_Kind);
    EXPECT_EQ("a.so", request.m_Module);
    EXPECT_THAT(request.m_Words, ElementsAre("pin", "--help"));
    EXPECT_THAT(ReadRequest({"--", "orselcards-cli", "list"}).m_Words, ElementsAre("list"));
    EXPECT_THAT(ReadRequest({"--"}).m_Words, IsEmpty());
}

TEST(ARequestToTheLauncher, ThatMakesNoSenseIsRefusedByItsWord) {
    try {
        ReadRequest({"--list", "more"});
        FAIL() << "no refusal";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("more", error.what());
    }
}

/// A copy of the program in a prefix of its own, and programs beside it that print what they were given.
class AnInstalledLauncher : public testing::Test {
protected:
    AnInstalledLauncher() {
        fs::create_directories(m_Prefix.Path("bin"));
        fs::copy_file(ORSEL_BRIDGE_PROGRAM, m_Prefix.Path("bin/orselcards-bridge"));
    }
    void AddProgram(const std::string& name) {
        const std::string script = "#!/bin/sh\n"
                                   "echo \"${0##*/}|$*|$ORSELBRIDGE_MODULE|$ORSELBRIDGE_MODEL|$LC_ALL\"\n"
                                   "echo \"$LD_LIBRARY_PATH\"\necho \"$PATH\"\n";
        fs::permissions(m_Prefix.File("bin/" + name, script), fs::perms::owner_all);
    }
    std::string Run(const std::string& arguments, const std::string& environment = "LC_ALL=C.UTF-8") const {
        return OutputOf("env -u LD_LIBRARY_PATH -u LC_ALL -u LC_CTYPE -u LC_MESSAGES -u LANG " + environment +
                        " " + m_Prefix.Path("bin/orselcards-bridge") + " " + arguments +
                        " 2>&1; echo \"=> $?\"");
    }

    const TempDir m_Prefix;
    const ScopedVariable m_NoModule{"ORSELBRIDGE_MODULE", nullptr};
    const ScopedVariable m_NoModel{"ORSELBRIDGE_MODEL", nullptr};
};

TEST_F(AnInstalledLauncher, StartsTheCardManagerOnTheBridgeBesideIt) {
    AddProgram("orselcards");
    fs::create_directories(m_Prefix.Path("lib/orselbridge"));
    const std::string folder = fs::canonical(m_Prefix.Path()).string();
    const std::string path = std::getenv("PATH");
    EXPECT_EQ("orselcards|||CardOS 5.3|C.UTF-8\n" + folder + "/lib/orselbridge\n" + path + ":" + folder +
                  "/lib/orselcards-certviewer\n=> 0\n",
              Run(""));
    EXPECT_THAT(Run("--module=a.so", "LC_ALL=C.UTF-8 ORSELBRIDGE_MODEL=M LD_LIBRARY_PATH=/before"),
                StartsWith("orselcards||a.so|M|C.UTF-8\n" + folder + "/lib/orselbridge:/before\n"));
}

TEST_F(AnInstalledLauncher, StartsTheCommandLineWithItsWordsAndNoModel) {
    AddProgram("orselcards-cli");
    EXPECT_THAT(Run("-- list --json"), StartsWith("orselcards-cli|list --json|||C.UTF-8\n"));
}

TEST_F(AnInstalledLauncher, GivesTheProgramAUtf8LocaleWhereThereIsNone) {
    AddProgram("orselcards-cli");
    for (const char* locale :
         {"LANG=de_AT.UTF-8", "LC_CTYPE=de_AT.utf8", "LC_CTYPE=de_AT.utf-8 LANG=C", "LANG=de_AT.UTF8"}) {
        EXPECT_THAT(Run("--", locale), StartsWith("orselcards-cli||||\n")) << locale;
    }
    for (const char* locale : {"", "LC_ALL=C", "LC_CTYPE=POSIX LANG=de_AT.UTF-8"}) {
        EXPECT_THAT(Run("--", locale), StartsWith("orselcards-cli||||C.UTF-8\n")) << locale;
    }
}

TEST_F(AnInstalledLauncher, SaysWhatItCannotStart) {
    EXPECT_EQ("orselcards-bridge: orselcards: No such file or directory\n=> 1\n", Run(""));
    const std::string file = m_Prefix.File("bin/orselcards-cli", "no program");
    EXPECT_EQ("orselcards-bridge: " + fs::canonical(file).string() + ": Permission denied\n=> 1\n",
              Run("--"));
}

TEST_F(AnInstalledLauncher, SpeaksTheLanguageOfTheLocale) {
    for (const char* locale : {"", "LC_ALL=C.UTF-8 LANG=de_AT.UTF-8", "LC_MESSAGES=en_GB.UTF-8"}) {
        EXPECT_THAT(Run("--help", locale), StartsWith("Usage: orselcards-bridge ")) << locale;
    }
    for (const char* locale : {"LANG=de_AT.UTF-8", "LC_MESSAGES=de_DE", "LC_ALL=de LANG=en_GB"}) {
        EXPECT_THAT(Run("--help", locale), StartsWith("Aufruf: orselcards-bridge ")) << locale;
    }
    EXPECT_THAT(Run("--lost", "LANG=de_AT.UTF-8"),
                testing::AllOf(StartsWith("orselcards-bridge: --lost?\nAufruf: "), HasSubstr("=> 2\n")));
}

TEST_F(AnInstalledLauncher, TellsItsVersion) {
    EXPECT_THAT(Run("--version"),
                testing::MatchesRegex("orselcards-bridge [0-9]+\\.[0-9]+\\.[0-9]+\n=> 0\n"));
}
