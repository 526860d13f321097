// SPDX-License-Identifier: MIT
// The keys of the main window, beside those that the toolkit has: every command is one stroke away.
#include "app/MainFrame.h"

#include <wx/listctrl.h>
#include <wx/utils.h>

#include <algorithm>

#include "app/ControlIds.h"
#include "app/wxHelper.h"

namespace {

struct Key {
    int m_Code;
    int m_Modifiers;
    int m_Id; ///< of the button that the key presses
};

// F6 to F9 stand for the rows of buttons; alone for the signature's box, with Ctrl for the encryption's, with
// Shift for the infobox'.
constexpr Key KEYS[] = {
    {WXK_F5, wxMOD_NONE, ID_RELOAD},      {WXK_F6, wxMOD_NONE, ID_SIG_CHANGE_PIN},
    {WXK_F7, wxMOD_NONE, ID_SIG_PUK},     {WXK_F8, wxMOD_NONE, ID_SIG_SHOW_CERT},
    {WXK_F9, wxMOD_NONE, ID_SIG_TEST},    {WXK_F6, wxMOD_CONTROL, ID_ENC_CHANGE_PIN},
    {WXK_F7, wxMOD_CONTROL, ID_ENC_PUK},  {WXK_F8, wxMOD_CONTROL, ID_ENC_SHOW},
    {WXK_F9, wxMOD_CONTROL, ID_ENC_TEST}, {WXK_F6, wxMOD_SHIFT, ID_PERS_CHANGE},
    {WXK_F7, wxMOD_SHIFT, ID_PERS_PUK},   {WXK_F8, wxMOD_SHIFT, ID_PERS_SHOW},
};

} // namespace

void MainFrame::BindKeys() {
    Bind(wxEVT_CHAR_HOOK, &MainFrame::evt_CharHook, this);
    // By hand, since the list takes the event that its own child sends for the keyboard.
    list_cards->Bind(wxEVT_CONTEXT_MENU, &MainFrame::evt_ContextMenu, this);
}

/// A button that is disabled for the selected card is so for its key too.
void MainFrame::evt_CharHook(wxKeyEvent& event) {
    const auto key = std::find_if(std::begin(KEYS), std::end(KEYS), [&event](const Key& candidate) {
        return candidate.m_Code == event.GetKeyCode() && candidate.m_Modifiers == event.GetModifiers();
    });
    wxWindow* const button = key != std::end(KEYS) ? FindWindow(key->m_Id) : nullptr;
    if (button == nullptr) {
        event.Skip();
    } else {
        Velmor::PressButton(*button);
    }
}

/// The pointer's way to the menu is the list's own event.
void MainFrame::evt_ContextMenu(wxContextMenuEvent& event) {
    if (event.GetPosition() != wxDefaultPosition) {
        event.Skip();
        return;
    }
    const long row = list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    wxRect place(wxPoint(0, 0), wxSize(1, 1));
    if (row != -1) {
        list_cards->EnsureVisible(row);
        list_cards->GetItemRect(row, place, wxLIST_RECT_LABEL);
    }
    ShowCardMenu(ScreenToClient(list_cards->ClientToScreen(place.GetBottomLeft())));
}

/// Disabling the window for a refresh takes the focus from whatever had it.
void MainFrame::GiveFocusBack() {
    const wxWindow* const focus = FindFocus();
    if (focus == nullptr || focus == this || focus == panel_main) {
        list_cards->SetFocus();
    }
}
