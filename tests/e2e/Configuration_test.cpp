// SPDX-License-Identifier: MIT
// The built program with the product family's configuration files in place, and in another language.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <ostream>

#include "images/Images.h"
#include "tests/e2e/Person.h"
#include "tests/support/PrivateEtc.h"
#include "tests/support/ScopedVariable.h"

namespace fs = std::filesystem;

namespace {

class AProgramWithACard : public APerson {
protected:
    void SetUp() override {
        APerson::SetUp();
        m_Card = m_Deck.Add("acos-a04");
    }
    std::string m_Card;
};

/// With a file of the system's configuration.
class AConfiguredProgram : public AProgramWithACard {
protected:
    void SetUp() override {
        AProgramWithACard::SetUp();
        const std::string obstacle = privateetc::Obstacle();
        if (!obstacle.empty()) {
            GTEST_SKIP() << obstacle;
        }
    }
    static std::string Content(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    /// Opens every dialog, reads the card, writes to it.
    void UseEverything() {
        for (const Column column : {SIGNATURE, ENCRYPTION}) {
            Press(column, SHOW);
            EXPECT_NE(WhatTheViewerShows(), "");
            Open(column, TEST, SIGNATURE_TEST);
            CloseWindow(SIGNATURE_TEST);
        }
        Open(IDENTITY_LINK, SHOW, INFOBOX);
        CloseWindow(INFOBOX);
        m_Deck.RemoveObject(m_Card, "INFOBOX");
        Open(IDENTITY_LINK, SHOW, NO_IDENTITY_LINK);
        CloseWindow(NO_IDENTITY_LINK);
        CloseWindow(INFOBOX);
        m_Deck.AnswerPins({"123456", "654321", "654321"});
        Press(SIGNATURE, CHANGE_PIN);
        EXPECT_TRUE(Shows(ButtonOk));
    }
};

/// Where the toolkit looks for the data directory: with the program's name, and before wxWidgets 3.2 without,
/// since the name is not set yet when the language is.
constexpr const char* DATA_DIR_VARIABLES[] = {"WX_ORSELCARDS_DATA_DIR", "WX__DATA_DIR"};

std::string WithVersion(const std::string& version) {
    return "<orselclient><orsel_Client><Version>" + version + "</Version></orsel_Client></orselclient>";
}

} // namespace

TEST_F(AConfiguredProgram, ShowsItsVersionInTheTitle) {
    Start(1, WithVersion("1.2.3"));
    EXPECT_EQ(TitleOf(MAIN_WINDOW), "Kartenverwaltung (1.2.3, x86)");
}

TEST_F(AConfiguredProgram, HasTheShortTitleWithAnEmptyVersion) {
    Start(1, WithVersion(""));
    EXPECT_EQ(TitleOf(MAIN_WINDOW), "Kartenverwaltung (x86)");
}

TEST_F(AConfiguredProgram, HasTheShortTitleWithADamagedFile) {
    Start(1, "<orselclient><orsel_Client><Version>1.2");
    EXPECT_EQ(TitleOf(MAIN_WINDOW), "Kartenverwaltung (x86)");
}

TEST_F(AConfiguredProgram, NeverWritesASetting) {
    const fs::path user = m_Deck.Folder() + "/.velmor/orselclient/config";
    fs::create_directories(user.parent_path());
    const std::string text = "<orselclient><orsel_Client><Version>9</Version></orsel_Client></orselclient>";
    std::ofstream(user) << text;
    const auto old = fs::last_write_time(user) - std::chrono::hours(1);
    fs::last_write_time(user, old);
    Start(1, WithVersion("1.2.3"));
    UseEverything();
    Close();
    EXPECT_EQ(fs::last_write_time(user), old);
    EXPECT_EQ(Content(user), text);
    EXPECT_EQ(std::distance(fs::directory_iterator(user.parent_path()), fs::directory_iterator()), 1);
    EXPECT_EQ(Content(m_Deck.Folder() + "/etc/velmor/orselclient/config"), WithVersion("1.2.3"));
}

TEST_F(AConfiguredProgram, TakesAnUnknownLanguageForTheSystems) {
    Start(1, "<orselclient><orsel_Client><Language>99999</Language></orsel_Client></orselclient>");
    EXPECT_EQ(TitleOf(MAIN_WINDOW), "Kartenverwaltung (x86)");
}

namespace {

struct SystemLanguage {
    const char* m_Name;
    const char* m_Definition; ///< of the locale
    std::vector<std::string> m_Titles;
};

void PrintTo(const SystemLanguage& language, std::ostream* out) {
    *out << language.m_Definition;
}

/// The title of the infobox dialog stands in no catalogue.
const std::vector<std::string> ENGLISH = {
    "Card manager (x86)", "Signature test with the signature key (6-digit PIN)",
    "Signature test with the encryption key (4-digit PIN)", "No identity link", "Infoboxbereich"};
const std::vector<std::string> GERMAN = {"Kartenverwaltung (x86)",
                                         "Unterschriftentest mit Signaturschlüssel (6-stellige PIN)",
                                         "Unterschriftentest mit Geheimhaltungsschlüssel (4-stellige PIN)",
                                         "Keine Personenbindung", "Infoboxbereich"};

/// With the catalogue where the program looks for it, on a system with one locale, made for the test.
class AProgramOnASystem : public AProgramWithACard, public testing::WithParamInterface<SystemLanguage> {
protected:
    void SetUp() override {
        AProgramWithACard::SetUp();
        const std::string locale = std::string(GetParam().m_Definition) + ".UTF-8";
        const std::string folder = m_Deck.Folder() + "/locales";
        fs::create_directory(folder);
        EXPECT_EQ(desktop::OutputOf("localedef -f UTF-8 -i " + std::string(GetParam().m_Definition) + " " +
                                    folder + "/" + locale + " 2>&1"),
                  "");
        m_Variables.emplace_back("LOCPATH", folder);
        m_Variables.emplace_back("LC_ALL", locale);
        for (const char* variable : DATA_DIR_VARIABLES) {
            m_Variables.emplace_back(variable, ORSEL_CATALOGUE_DIR);
        }
    }
    /// The titles of all windows that a person meets.
    std::vector<std::string> Titles() {
        std::vector<std::string> titles = {TitleOf(MAIN_WINDOW)};
        for (const Column column : {SIGNATURE, ENCRYPTION}) {
            Press(column, TEST);
            EXPECT_TRUE(WaitForWindow(SIGNATURE_TEST));
            titles.push_back(TitleOf(SIGNATURE_TEST));
            CloseWindow(SIGNATURE_TEST);
        }
        m_Deck.RemoveObject(m_Card, "INFOBOX");
        Press(IDENTITY_LINK, SHOW);
        EXPECT_TRUE(WaitForWindow(NO_IDENTITY_LINK));
        titles.push_back(TitleOf(NO_IDENTITY_LINK));
        CloseWindow(NO_IDENTITY_LINK);
        titles.push_back(TitleOf(INFOBOX));
        CloseWindow(INFOBOX);
        return titles;
    }

private:
    std::list<ScopedVariable> m_Variables;
};

INSTANTIATE_TEST_SUITE_P(Languages, AProgramOnASystem,
                         testing::Values(SystemLanguage{"English", "en_US", ENGLISH},
                                         SystemLanguage{"BritishEnglish", "en_GB", ENGLISH},
                                         SystemLanguage{"German", "de_AT", GERMAN}),
                         [](const auto& language) { return language.param.m_Name; });

} // namespace

TEST_P(AProgramOnASystem, SpeaksItsLanguageInEveryWindow) {
    Start(1);
    EXPECT_EQ(Titles(), GetParam().m_Titles);
}

TEST_F(AConfiguredProgram, SpeaksEnglishOnASystemWithoutALanguage) {
    std::list<ScopedVariable> catalogue;
    for (const char* variable : DATA_DIR_VARIABLES) {
        catalogue.emplace_back(variable, ORSEL_CATALOGUE_DIR);
    }
    Start(1, WithVersion("1.2.3"));
    catalogue.clear();
    EXPECT_EQ(TitleOf(MAIN_WINDOW), "Card manager (1.2.3, x86)");
}
