// SPDX-License-Identifier: MIT
// The fonts, densities and languages in which every window is looked at.
#ifndef ORSEL_TESTS_SUPPORT_LOOKS_H
#define ORSEL_TESTS_SUPPORT_LOOKS_H

#include <gtest/gtest.h>
#include <wx/translation.h>

#include <ostream>
#include <string>
#include <tuple>

#include "tests/support/Widgets.h"

namespace looks {

struct Look {
    const char* m_Name;
    const char* m_Font;
    int m_DotsPerInch; ///< times the scale of texts
};

inline void PrintTo(const Look& look, std::ostream* out) {
    *out << look.m_Name;
}

constexpr Look ALL[] = {
    {"DejaVu96", "DejaVu Sans 10", 96},
    {"DejaVu192", "DejaVu Sans 10", 192},
    {"Liberation96", "Liberation Sans 10", 96},
    {"Liberation192", "Liberation Sans 10", 192},
    {"Cantarell96By1_5", "Cantarell 11", 96 * 3 / 2},
    {"Cantarell96By2", "Cantarell 11", 96 * 2},
    {"Cantarell192By1_5", "Cantarell 11", 192 * 3 / 2},
    {"Cantarell192By2", "Cantarell 11", 192 * 2},
};

struct Language {
    const char* m_Name;
    const char* m_Code;      ///< empty for the words as they stand in the program
    const char* m_Directory; ///< of catalogues
};

inline void PrintTo(const Language& language, std::ostream* out) {
    *out << language.m_Name;
}

constexpr Language GERMAN = {"German", "", ""};
constexpr Language ENGLISH = {"English", "en", ORSEL_CATALOGUES};
constexpr Language LONGER = {"Longer", "eo", ORSEL_LONGER_WORDS}; ///< every word 40 % longer

using Both = std::tuple<Language, Look>;

inline std::string NameOf(const testing::TestParamInfo<Both>& row) {
    return std::string(std::get<0>(row.param).m_Name) + std::get<1>(row.param).m_Name;
}

/// The language of all windows to come. False when its catalogue is not there.
inline bool UseLanguage(const Language& language) {
    wxTranslations::Set(nullptr);
    if (*language.m_Code == '\0') {
        return true;
    }
    wxFileTranslationsLoader::AddCatalogLookupPathPrefix(language.m_Directory);
    auto* words = new wxTranslations; // the toolkit owns it from the next but one line on
    words->SetLanguage(language.m_Code);
    wxTranslations::Set(words);
    return words->AddCatalog("OrselClient", wxLANGUAGE_GERMAN);
}

/// The look of all windows to come.
inline bool Use(const Both& both) {
    const auto& [language, look] = both;
    widgets::UseFont(look.m_Font, look.m_DotsPerInch);
    return UseLanguage(language);
}

} // namespace looks

#endif
