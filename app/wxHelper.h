// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_WXHELPER_H
#define ORSEL_APP_WXHELPER_H

#include <wx/bitmap.h>
#include <wx/event.h>
#include <wx/icon.h>
#include <wx/string.h>
#include <wx/window.h>

#include <string>

namespace Velmor {

/// Posts a menu command event with this id and the integer field -1 for later. Safe from any thread.
void SendEvent(wxEvtHandler* target, int id);

/// Handles the same event at once, on the calling thread.
void ProcessEvent(wxEvtHandler* target, int id);

/// Has a button do what it does for the pointer: nothing while it is disabled.
void PressButton(wxWindow& button);

/// A picture that is transparent by an alpha plane. Of one without such a plane the toolkit never frees the
/// pixels that it has shown.
wxBitmap PictureOf(const char* const* xpm);
/// The same as a window's icon.
wxIcon IconOf(const char* const* xpm);

// Text that the encoding cannot represent gives an empty result.

/// In the local encoding, zero bytes included.
std::string WxStr2Locale(wxString text);
/// 7-bit text up to the first zero byte.
std::string WxStr2Ascii(wxString text);
/// In the C library's encoding, up to the first zero byte.
std::string WxStr2MB(wxString text);

} // namespace Velmor

#endif
