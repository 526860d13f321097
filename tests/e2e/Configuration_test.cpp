// SPDX-License-Identifier: MIT
// The built program with the product family's configuration files in place.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "images/Images.h"
#include "tests/e2e/Desktop.h"
#include "tests/e2e/Program.h"
#include "tests/support/SimDeck.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

class AConfiguredProgram : public testing::Test {
protected:
    void SetUp() override { m_deck.add("acos-a04"); }

    /// Starts it with this system configuration and waits for its list.
    void Start(const std::string& configuration) {
        m_program = std::make_unique<Program>(m_deck.folder(), configuration);
        ASSERT_TRUE(desktop::waitFor([] {
            return desktop::Screen::capture().find(chip_small_xpm).size() == 1;
        })) << m_program->output();
    }
    static std::string Title() {
        return desktop::outputOf(
            "xdotool search --onlyvisible --name '\\(.*x86\\)' getwindowname 2>/dev/null");
    }
    void Close() {
        desktop::close(desktop::windows("x86").front());
        EXPECT_EQ(m_program->waitForEnd(), 0);
        EXPECT_EQ(m_program->output(), "");
    }
    static std::string Content(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    orseltest::SimDeck m_deck;
    std::unique_ptr<Program> m_program;
};

/// Where the toolkit looks for the data directory: with the program's name, and before wxWidgets 3.2 without,
/// since the name is not set yet when the language is.
constexpr const char* DataDirVariables[] = {"WX_ORSELCARDS_DATA_DIR", "WX__DATA_DIR"};

std::string WithVersion(const std::string& version) {
    return "<orselclient><orsel_Client><Version>" + version + "</Version></orsel_Client></orselclient>";
}

} // namespace

TEST_F(AConfiguredProgram, ShowsItsVersionInTheTitle) {
    Start(WithVersion("1.2.3"));
    EXPECT_EQ(Title(), "Kartenverwaltung (1.2.3, x86)");
    Close();
}

TEST_F(AConfiguredProgram, HasTheShortTitleWithAnEmptyVersion) {
    Start(WithVersion(""));
    EXPECT_EQ(Title(), "Kartenverwaltung (x86)");
    Close();
}

TEST_F(AConfiguredProgram, HasTheShortTitleWithADamagedFile) {
    Start("<orselclient><orsel_Client><Version>1.2");
    EXPECT_EQ(Title(), "Kartenverwaltung (x86)");
    Close();
}

TEST_F(AConfiguredProgram, NeverWritesASetting) {
    const fs::path user = m_deck.folder() + "/.velmor/orselclient/config";
    fs::create_directories(user.parent_path());
    const std::string text = "<orselclient><orsel_Client><Version>9</Version></orsel_Client></orselclient>";
    std::ofstream(user) << text;
    const auto old = fs::last_write_time(user) - std::chrono::hours(1);
    fs::last_write_time(user, old);
    Start(WithVersion("1.2.3"));
    Close();
    EXPECT_EQ(fs::last_write_time(user), old);
    EXPECT_EQ(Content(user), text);
    EXPECT_EQ(Content(m_deck.folder() + "/etc/velmor/orselclient/config"), WithVersion("1.2.3"));
}

TEST_F(AConfiguredProgram, SpeaksEnglishWithTheCatalogue) {
    for (const char* variable : DataDirVariables)
        setenv(variable, ORSEL_CATALOGUE_DIR, 1);
    Start(WithVersion("1.2.3"));
    EXPECT_EQ(Title(), "Card manager (1.2.3, x86)");
    Close();
    for (const char* variable : DataDirVariables)
        unsetenv(variable);
}

TEST_F(AConfiguredProgram, TakesAnUnknownLanguageForTheSystems) {
    Start("<orselclient><orsel_Client><Language>99999</Language></orsel_Client></orselclient>");
    EXPECT_EQ(Title(), "Kartenverwaltung (x86)");
    Close();
}
