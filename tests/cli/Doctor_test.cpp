// SPDX-License-Identifier: MIT
// What the doctor finds: each check in each state that a test can bring about.
#include <nlohmann/json.hpp>

#include <filesystem>

#include "tests/cli/CliTest.h"
#include "tests/support/ScopedVariable.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

namespace {

class TheDoctor : public CliTest {
protected:
    TheDoctor() { fs::create_directories(PathOf("home/.velmor/orselclient")); }

    /// The first finding of a check: its state, and its text in words.
    static std::pair<std::string, std::string> Finding(const std::string& check) {
        const json report = json::parse(RunCli({"doctor", "--json"}).m_Out);
        for (const json& each : report["checks"]) {
            if (each["check"] == check) {
                return {each["state"], each["text"]};
            }
        }
        ADD_FAILURE() << "there is no " << check;
        return {};
    }
    static void Expect(const std::string& check, const std::string& state, const std::string& text) {
        const auto [foundState, foundText] = Finding(check);
        EXPECT_EQ(state, foundState) << check;
        EXPECT_EQ(text, foundText);
    }
    void AddProgram(const std::string& name) {
        fs::create_directories(PathOf("bin"));
        fs::permissions(FileOf("bin/" + name, "#!/bin/sh\n"), fs::perms::owner_all);
    }
    std::string ConfigurationFile() const { return PathOf("home/.velmor/orselclient/config"); }

    const ScopedVariable m_Home{"HOME", PathOf("home")};
};

} // namespace

TEST_F(TheDoctor, FindsNoReaderAndNoCard) {
    Expect("readers", "failure", "There is no card reader.");
    EXPECT_EQ("warning", Finding("cards").first);
    const CliResult result = RunCli({"doctor"});
    EXPECT_NE(0, result.m_Code);
    EXPECT_THAT(result.m_Out, HasSubstr("There is no card reader.\n    Plug a reader in and see that the "
                                        "reader service (pcscd) runs.\n"));
}

TEST_F(TheDoctor, FindsEachCard) {
    m_Deck.Add("acos-a04", orseltest::CardOptions().Serial("0512380917624502"));
    Expect("readers", "good", "There is 1 card reader.");
    Expect("entry-points", "good", "The token library has every entry point.");
    Expect("card", "good", "Card @1 0512380917624502: Orsel Carta ACOS 04.");
}

TEST_F(TheDoctor, SaysWhatIsWrongAloneWhenQuiet) {
    m_Deck.Add("acos-a04");
    const ScopedVariable path("PATH", PathOf("bin"));
    const CliResult result = RunCli({"doctor", "-q"});
    EXPECT_THAT(result.m_Out, HasSubstr("There is no pinentry"));
    EXPECT_THAT(result.m_Out, Not(HasSubstr("There is 1 card reader.")));
}

TEST_F(TheDoctor, LooksForProgramsOnTheSearchPath) {
    {
        const ScopedVariable path("PATH", PathOf("bin"));
        Expect("pinentry", "warning",
               "There is no pinentry: a token library that asks with it cannot ask for PINs.");
        EXPECT_EQ("warning", Finding("viewer").first);
        fs::create_directories(PathOf("bin/pinentry"));
        EXPECT_EQ("warning", Finding("pinentry").first) << "a directory is no program";
        fs::remove(PathOf("bin/pinentry"));
        AddProgram("pinentry-real");
        fs::create_symlink("pinentry-real", PathOf("bin/pinentry"));
        AddProgram("certViewerApp");
        Expect("pinentry", "good",
               "PINs can be asked for with " + fs::canonical(PathOf("bin/pinentry-real")).string() + ".");
        Expect("viewer", "good", "Certificates are shown by " + PathOf("bin/certViewerApp") + ".");
    }
    const ScopedVariable emptyPart("PATH", ":" + PathOf("nowhere"));
    EXPECT_EQ("warning", Finding("viewer").first);
    const ScopedVariable none("PATH", nullptr);
    EXPECT_EQ("warning", Finding("viewer").first);
}

TEST_F(TheDoctor, ReadsTheConfiguration) {
    Expect("configuration-user", "good",
           "There is no " + ConfigurationFile() + ", which is as good as an empty one.");
    FileOf("home/.velmor/orselclient/config", "no XML");
    Expect("configuration-user", "warning", ConfigurationFile() + " is no XML that can be parsed.");
    FileOf("home/.velmor/orselclient/config", "<orselclient/>");
    Expect("configuration-user", "good", ConfigurationFile() + " is read.");
    const ScopedVariable nowhere("HOME", nullptr);
    Expect("configuration-user", "warning", "HOME is not set, so you have no configuration.");
}

TEST_F(TheDoctor, TellsTheLocale) {
    const ScopedVariable all("LC_ALL", nullptr);
    const ScopedVariable messages("LC_MESSAGES", nullptr);
    {
        const ScopedVariable language("LANG", nullptr);
        Expect("locale", "good", "The locale is C.");
        Expect("catalogue", "good", "Words are English, which needs no catalogue.");
    }
    const ScopedVariable language("LANG", "de_XX.UTF-8");
    Expect("locale", "warning", "The locale de_XX.UTF-8 is not installed.");
    EXPECT_EQ("warning", Finding("catalogue").first);
}

TEST_F(TheDoctor, LooksForAPlaceForTemporaryFiles) {
    EXPECT_EQ("good", Finding("temporary-directory").first);
    const ScopedVariable nowhere("TMPDIR", PathOf("nowhere"));
    const auto [state, text] = Finding("temporary-directory");
    EXPECT_EQ("warning", state);
    EXPECT_THAT(text, testing::EndsWith(" cannot be written to: No such file or directory."));
}
