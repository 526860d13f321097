// SPDX-License-Identifier: MIT
// The status line and its fade.
#include "app/MainFrame.h"

#include <wx/app.h>
#include <wx/button.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/utils.h>

#include "app/I18N.h"
#include "app/StatusLine.h"

StatusLine MainFrame::TheStatusLine() {
    return {*label_status, *bitmap_status, *button_pers_show, m_fade, m_fadeTimer};
}

void MainFrame::SetStatus(wxString text, bool error) {
    StatusLine line = TheStatusLine();
    if (text.empty()) {
        line.Hide();
        return;
    }
    const wxBitmap icon = line.Show(text, error);
    RenewLayoutOf(*this);
    SendSizeEvent();
    YieldAndKeepFocus();
    line.BeginFade(icon, [this] {
        wxTimerEvent event(m_fadeTimer);
        evt_OnFadeOut(event);
    });
}

void MainFrame::evt_OnFadeOut(wxTimerEvent& /*event*/) {
    if (bitmap_status != nullptr) {
        TheStatusLine().NextStep();
    }
}

// The capitals of the nouns differ between the two families of error texts: users and catalogues know them
// so.

void MainFrame::SetStatusPinChange(Velmor::PKCS11Return result) {
    switch (result) {
    case Velmor::P11_NOT_SUPPORTED:
        return SetStatus(Translate("PIN Änderung nicht unterstützt!"), true);
    case Velmor::P11_OK:
        return SetStatus(Translate("PIN Änderung erfolgreich!"), false);
    case Velmor::P11_CANCELLED:
        return SetStatus(Translate("Abbruch durch Benutzer"), true);
    case Velmor::P11_PIN_INCORRECT:
        return SetStatus(Translate("Fehler beim PIN Ändern! PIN falsch!"), true);
    case Velmor::P11_PIN_LOCKED:
        return SetStatus(Translate("Fehler beim PIN Ändern! PIN Gesperrt"), true);
    case Velmor::P11_ERROR:
    default:
        return SetStatus(Translate("Fehler beim PIN Ändern!"), true);
    }
}

void MainFrame::SetStatusPinUnblock(Velmor::PKCS11Return result) {
    switch (result) {
    case Velmor::P11_NOT_SUPPORTED:
        return SetStatus(Translate("PIN Entsperren nicht unterstützt!"), true);
    case Velmor::P11_OK:
        return SetStatus(Translate("PIN Entsperren erfolgreich!"), false);
    case Velmor::P11_CANCELLED:
        return SetStatus(Translate("Abbruch durch Benutzer"), true);
    case Velmor::P11_PIN_INCORRECT:
        return SetStatus(Translate("Fehler beim PIN entsperren! PIN/PUK falsch!"), true);
    case Velmor::P11_PIN_LOCKED:
        return SetStatus(Translate("Fehler beim PIN entsperren! PUK Gesperrt"), true);
    case Velmor::P11_ERROR:
    default:
        return SetStatus(L"Fehler beim PIN entsperren!", true); // the one text that no catalogue replaces
    }
}
