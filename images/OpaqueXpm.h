// SPDX-License-Identifier: MIT
#ifndef ORSEL_IMAGES_OPAQUEXPM_H
#define ORSEL_IMAGES_OPAQUEXPM_H

#include <wx/image.h>

/// The picture that the rows of one of our XPM arrays show. Every colour is "KEY c #RRGGBB"; a picture with
/// transparent pixels is for the toolkit's own decoder. That one gives the same pixels, but takes a third of
/// the program's start for the 36,758 colours of the banner.
wxImage ReadOpaqueXpm(const char* const* rows);

#endif
