// SPDX-License-Identifier: MIT
// The status line and its fade.
#include "app/MainFrame.h"

#include <wx/app.h>
#include <wx/bitmap.h>
#include <wx/button.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/utils.h>

#include "app/I18N.h"
#include "images/Images.h"

static constexpr int FADE_STEPS = 50;
static constexpr int FADE_HOLD_MS = 1500; ///< the message stands nearly unchanged
static constexpr int FADE_STEP_MS = 100;

void MainFrame::SetStatus(wxString text, bool error) {
    if (text.empty()) {
        label_status->Show(false);
        bitmap_status->Show(false);
        return; // the fade timer stays as it is
    }
    const wxBitmap icon(error ? ButtonCancel : ButtonOk);
    label_status->Show(true);
    bitmap_status->Show(true);
    label_status->SetLabel(text);
    bitmap_status->ClearBackground();
    bitmap_status->SetBitmap(icon);
    bitmap_status->Refresh();
    bitmap_status->Update();
    RenewLayout();

    if (icon.IsOk()) {
        m_fade.Init(button_pers_show->GetForegroundColour(), button_pers_show->GetBackgroundColour(),
                    icon.ConvertToImage(), FADE_STEPS);
        wxTimerEvent event(m_fadeTimer);
        evt_OnFadeOut(event);
        m_fadeTimer.Start(FADE_HOLD_MS, wxTIMER_CONTINUOUS);
    }
}

/// Makes the frame lay itself out again with its size unchanged. The pixel more and less, in this order, is
/// what moves the toolkit to do it.
void MainFrame::RenewLayout() {
    int width = 0;
    int height = 0;
    GetSize(&width, &height);
    SetSize(-1, -1, width, height + 1);
    SetSize(-1, -1, width, height);
    SendSizeEvent();
    wxSafeYield(nullptr, false);
}

void MainFrame::evt_OnFadeOut(wxTimerEvent& /*event*/) {
    if (bitmap_status == nullptr)
        return;
    m_fade.NextStep();
    if (m_fade.Finished()) {
        m_fadeTimer.Stop();
        bitmap_status->Show(false);
        label_status->Show(false);
        label_status->SetForegroundColour(button_pers_show->GetForegroundColour());
        return;
    }
    label_status->SetForegroundColour(m_fade.GetColour());
    label_status->Refresh();
    label_status->Update();
    bitmap_status->SetBitmap(wxBitmap(m_fade.GetImage()));
    if (m_fadeTimer.GetInterval() != FADE_STEP_MS)
        m_fadeTimer.Start(FADE_STEP_MS, wxTIMER_CONTINUOUS);
}

// The capitals of the nouns differ between the two families of error texts. Meant.

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
