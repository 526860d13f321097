// SPDX-License-Identifier: MIT
#include "app/wxHelper.h"

#include <wx/image.h>

#include <wx/strconv.h>

namespace Velmor {

static wxCommandEvent MenuEvent(int id) {
    wxCommandEvent event(wxEVT_MENU, id);
    event.SetInt(-1);
    return event;
}

/// A buffer without data is that of a text which could not be converted.
static std::string UpToZero(const wxScopedCharBuffer& bytes) {
    return bytes.data() != nullptr ? std::string(bytes.data()) : std::string();
}

void SendEvent(wxEvtHandler* target, int id) {
    wxPostEvent(target, MenuEvent(id));
}

void ProcessEvent(wxEvtHandler* target, int id) {
    wxCommandEvent event = MenuEvent(id);
    target->ProcessEvent(event);
}

void PressButton(wxWindow& button) {
    if (!button.IsEnabled()) {
        return;
    }
    wxCommandEvent press(wxEVT_BUTTON, button.GetId());
    press.SetEventObject(&button);
    button.GetEventHandler()->ProcessEvent(press);
}

wxBitmap PictureOf(const char* const* xpm) {
    wxImage picture(xpm);
    picture.InitAlpha();
    return wxBitmap(picture);
}

wxIcon IconOf(const char* const* xpm) {
    wxIcon icon;
    icon.CopyFromBitmap(PictureOf(xpm));
    return icon;
}

std::string WxStr2Locale(wxString text) {
    const std::wstring& wide = text.ToStdWstring();
    size_t length = 0;
    const wxCharBuffer bytes = wxConvLocal.cWC2MB(wide.c_str(), wide.length(), &length);
    return bytes.data() != nullptr ? std::string(bytes.data(), length) : std::string();
}

std::string WxStr2Ascii(wxString text) {
    return UpToZero(text.ToAscii());
}

std::string WxStr2MB(wxString text) {
    return UpToZero(text.mb_str(wxConvLibc));
}

} // namespace Velmor
