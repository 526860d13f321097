// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_GROWTOFIT_H
#define ORSEL_APP_GROWTOFIT_H

class wxListCtrl;
class wxSizerFlags;
class wxSizerItem;
class wxStaticText;
class wxTopLevelWindow;
class wxWindow;

// The sizes that windows and controls are made with were right for the font of their day. They are floors:
// where the theme's font would cut a text, the control and the window grow by what is missing. What fits
// stays as it is, and nothing ever shrinks.

/// Makes a window as large as its sizer needs, at most as large as the screen.
void GrowToFit(wxTopLevelWindow& window);

/// Makes a window wider by so many pixels, at most as wide as the screen; a maximised one stays.
void Widen(wxTopLevelWindow& window, int pixels);

/// Gives a label whose font was changed the room of its lines at least: before it is on the screen it would
/// still ask for that of its old font.
void AskForRoomOfText(wxStaticText& label);

/// Makes each column of a list in report mode as wide as its longest text.
void GrowColumns(wxListCtrl& list);

/// Pixels that a list in report mode lacks to show its columns side by side; 0 when it has room.
int MissingForColumns(const wxListCtrl& list);

/// A sizer's item whose window asks for the width that it likes best and the height of its text, and at least
/// for its minimum size. The sizer that it is added to owns it.
wxSizerItem* NewGrowingItem(wxWindow* window, const wxSizerFlags& flags);

#endif
