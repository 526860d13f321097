// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_VISIBLETEXT_H
#define ORSEL_VIEWER_VISIBLETEXT_H

#include <string>

#include <wx/string.h>

/// Whoever makes a certificate chooses its texts. Nothing in them may move, hide or turn round what stands
/// beside them on the screen.
namespace viewer {

/// UTF-8 in which every character that has no shape of its own, or that changes the direction of others,
/// stands as
/// "<U+202E>", and every byte that is no UTF-8 as "<0xE4>".
std::string VisibleText(const std::string& text);

/// At most this many bytes, cut between two characters, with "…" for the rest.
std::string CutText(const std::string& utf8, std::size_t limit);

// The toolkit's text from and to UTF-8; the first one never fails on what VisibleText gives.
wxString FromUtf8(const std::string& utf8);
std::string ToUtf8(const wxString& text);

} // namespace viewer

#endif
