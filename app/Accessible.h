// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_ACCESSIBLE_H
#define ORSEL_APP_ACCESSIBLE_H

class wxListCtrl;
class wxString;
class wxWindow;

// What people hear who cannot see the screen, and what a window leaves behind. On GTK the toolkit has no way
// to say it, so these reach through to the native widget and its object on the accessibility bus (ATK): here
// and nowhere else. Without a bus they cost next to nothing.

/// The name of a control; controls with a label of their own have that without this.
void SetAccessibleName(wxWindow& window, const wxString& name);

/// More than the name, for what changes: a reader that stands on the control is told of the change.
void SetAccessibleDescription(wxWindow& window, const wxString& text);

/// A picture or a gap that says nothing: readers pass it over, and so does the focus.
void MarkAsDecoration(wxWindow& window);

/// A line of text, or a dialog, that comes by itself and is to be read out then.
void MarkAsNotice(wxWindow& window);

/// Has a text read out now, wherever the reader stands.
void Announce(wxWindow& window, const wxString& text);

/// A dialog that is hidden to be shown again. What lists the windows for readers listens for a window's end
/// from each showing on, and never stops: without this each showing costs 0.2 kB until that end comes.
void ForgetShowings(wxWindow& dialog);

/// A control whose colours change at once where the theme would fade them. Of an arrow GTK keeps a picture in
/// each colour that it has drawn, 0.7 kB, until the program ends, and a fade has a dozen.
void LeaveOutFades(wxWindow& control);

/// The part of a list in report mode that has the focus.
wxWindow& FocusedPartOf(wxListCtrl& list);

#endif
