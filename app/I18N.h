// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_I18N_H
#define ORSEL_APP_I18N_H

#include <wx/string.h>

class wxLocale;

/// The interface word in the active language; the German word itself without a catalogue or an entry in it.
/// Source words are UTF-8 and pass through the C library's conversion, so umlauts come out right only in a
/// process whose locale uses UTF-8.
wxString Translate(const char* word);

/// Owner of the process's locale and of its catalogue. One instance, main thread only.
class I18N {
public:
    /// The instance, created on first use, without a lock.
    static I18N* GetHandle();
    /// Deletes the instance, if any.
    static void Destroy();

    /// Makes a wxLanguage the active one and looks for its catalogue; may be repeated.
    /// 0: the language is active. 1: the locale could not be set and the system's default was tried instead.
    /// 2: the language is not available and the system's default is in use.
    int Initialize(long language);
    /// The system's language.
    int Initialize();

    void FreeLocale();

private:
    I18N() = default;
    ~I18N();
    I18N(const I18N&) = delete; // owns the locale through a raw pointer
    I18N& operator=(const I18N&) = delete;

    static I18N* m_Handle;
    wxLocale* m_locale = nullptr;
};

#endif
