// SPDX-License-Identifier: MIT
#ifndef ORSEL_IMAGES_IMAGES_H
#define ORSEL_IMAGES_IMAGES_H

/// The program's pictures as XPM rows: the header row, the colour rows, the pixel rows,
/// which is what the bounds add up. wxBitmap, wxIcon and wxImage take them as they are.
/// scripts/make-images draws them. All but the banner have transparent pixels.

extern const char* const VelmorBanner[1 + 36758 + 170]; ///< 769 x 170, banner of the main window
extern const char* const chip_small_xpm[1 + 170 + 22];  ///< 31 x 22, image of a card list row
extern const char* const chip_xpm[1 + 204 + 32];        ///< 32 x 32, the same chip as a large icon
extern const char* const IconXpm[1 + 29 + 32];          ///< 32 x 32, window icon
extern const char* const ButtonReload[1 + 303 + 32];    ///< 32 x 32, reload button
extern const char* const ButtonCancel[1 + 358 + 32];    ///< 32 x 32, error icon of a status line
extern const char* const ButtonOk[1 + 265 + 32];        ///< 32 x 32, success icon of a status line

#endif
