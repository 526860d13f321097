// SPDX-License-Identifier: MIT
#include "app/I18N.h"

#include <wx/filename.h>
#include <wx/intl.h>
#include <wx/log.h>
#include <wx/stdpaths.h>
#include <wx/translation.h>

static const wxString CATALOG_NAME = "OrselClient";

wxString Translate(const char* word) {
    const wxString source(word, wxConvLibc);
    if (const wxTranslations* translations = wxTranslations::Get()) {
        if (const wxString* translated = translations->GetTranslatedString(source)) {
            return *translated;
        }
    }
    return wxTranslations::GetUntranslatedString(source);
}

I18N* I18N::m_Handle = nullptr;

I18N* I18N::GetHandle() {
    if (m_Handle == nullptr) {
        m_Handle = new I18N;
    }
    return m_Handle;
}

void I18N::Destroy() {
    delete m_Handle;
    m_Handle = nullptr;
}

I18N::~I18N() {
    FreeLocale();
}

void I18N::FreeLocale() {
    delete m_locale;
    m_locale = nullptr;
}

int I18N::Initialize() {
    return Initialize(wxLANGUAGE_UNKNOWN);
}

/// Where catalogues stand: orselclient/I18N under the data directory.
static wxString CatalogDirectory() {
    wxFileName directory;
    directory.AssignDir(wxStandardPaths::Get().GetDataDir());
    directory.AppendDir("orselclient");
    directory.AppendDir("I18N");
    return directory.GetPath(wxPATH_GET_VOLUME);
}

int I18N::Initialize(long language) {
    const bool systemLanguage = language == wxLANGUAGE_UNKNOWN;
    const int wanted = systemLanguage ? wxLANGUAGE_DEFAULT : static_cast<int>(language);
    const bool available = wxLocale::IsAvailable(wanted);
    int result = available ? 0 : 2;
    const wxLogNull silence; // a locale that this machine has not generated is no news for the user

    FreeLocale();
    m_locale = new wxLocale;
    m_locale->Init(available ? wanted : wxLANGUAGE_DEFAULT, wxLOCALE_LOAD_DEFAULT);
    wxFileTranslationsLoader::AddCatalogLookupPathPrefix(CatalogDirectory());
    m_locale->AddCatalog(CATALOG_NAME);

    if (!m_locale->IsOk()) {
        FreeLocale();
        m_locale = new wxLocale;
        m_locale->Init(wxLANGUAGE_DEFAULT, wxLOCALE_LOAD_DEFAULT);
        result = 1;
    }
    return result;
}
