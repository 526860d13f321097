// SPDX-License-Identifier: MIT
#include "app/I18N.h"

#include <wx/intl.h>
#include <wx/log.h>
#include <wx/stdpaths.h>
#include <wx/translation.h>

#include <clocale>
#include <cstdlib>

#include "tests/support/GuiTest.h"
#include "tests/support/ScopedVariable.h"

namespace {

class Language : public testing::Test {
protected:
    void TearDown() override { I18N::GetHandle()->Initialize(); }
};

} // namespace

TEST_F(Language, TheInstanceIsOneAndMadeAgainAfterItsEnd) {
    I18N* first = I18N::GetHandle();
    EXPECT_EQ(I18N::GetHandle(), first);
    I18N::Destroy();
    I18N::Destroy();
    EXPECT_NE(I18N::GetHandle(), nullptr);
}

// A bare system has the C locale alone, which stands for no language that is available.
TEST_F(Language, TheSystemsOneIsTakenWithoutAWishAndForTwoNumbers) {
    const int expected = wxLocale::IsAvailable(wxLANGUAGE_DEFAULT) ? 0 : 2;
    EXPECT_EQ(I18N::GetHandle()->Initialize(), expected);
    EXPECT_EQ(I18N::GetHandle()->Initialize(0), expected);
    EXPECT_EQ(I18N::GetHandle()->Initialize(1),
              expected); // an unknown language's number stands for the system's
}

TEST_F(Language, ANumberThatIsNoLanguageGivesTheSystemsWithTwo) {
    for (const long language : {99999L, -5L, 2147483647L}) {
        EXPECT_EQ(I18N::GetHandle()->Initialize(language), 2) << language;
        EXPECT_EQ(Translate("Prüfen"), Utf8("Prüfen"));
    }
}

TEST_F(Language, ALocaleThatTheSystemLacksGivesTheSystemsWithTwo) {
    EXPECT_EQ(I18N::GetHandle()->Initialize(wxLANGUAGE_JAPANESE), 2);
}

TEST_F(Language, OfTheSystemGivesOneSilentlyWhereItsLocaleIsNotGenerated) {
    const ScopedVariable all("LC_ALL", "fr_CA.UTF-8");
    const ScopedVariable language("LANG", "fr_CA.UTF-8");
    ASSERT_EQ(std::setlocale(LC_ALL, ""), nullptr) << "this machine has the locale";
    wxLogBuffer messages;
    wxLog* const before = wxLog::SetActiveTarget(&messages);
    EXPECT_EQ(I18N::GetHandle()->Initialize(), 1); // the second attempt with the default is in place
    EXPECT_EQ(messages.GetBuffer(), "");           // looked at now: the change back empties it
    wxLog::SetActiveTarget(before);
    EXPECT_NE(wxGetLocale(), nullptr);
}

TEST_F(Language, MayBeSetAgainAndGivenUp) {
    I18N::GetHandle()->Initialize();
    I18N::GetHandle()->FreeLocale();
    EXPECT_EQ(wxGetLocale(), nullptr);
    I18N::GetHandle()->FreeLocale();
    I18N::GetHandle()->Initialize();
    EXPECT_NE(wxGetLocale(), nullptr);
}

TEST_F(Language, GermanWordsStandWithoutACatalogue) {
    for (const char* word : {"Prüfen", "Ausgestellt für", "kein Wort des Programms", ""}) {
        EXPECT_EQ(Translate(word), Utf8(word));
    }
}

TEST_F(Language, UmlautsNeedALocaleWithUtf8) {
    I18N::GetHandle()->FreeLocale();
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(Translate("Signatur testen"), "Signatur testen");
    EXPECT_NE(Translate("Prüfen"), Utf8("Prüfen"));
    std::setlocale(LC_ALL, "C.UTF-8");
}
