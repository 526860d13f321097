// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_ICONS_H
#define ORSEL_VIEWER_ICONS_H

#include <wx/bitmap.h>
#include <wx/iconbndl.h>

#include "viewer/State.h"

namespace viewer {

/// A round sign, as large as this in pixels: a tick, a cross, a clock or a question mark. Each differs from
/// the others in its shape and not in its colour alone.
wxBitmap StateIcon(Validity validity, int size);

/// The window's icon: a sheet with a seal.
wxIconBundle WindowIcons();

} // namespace viewer

#endif
