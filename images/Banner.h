// SPDX-License-Identifier: MIT
#ifndef ORSEL_IMAGES_BANNER_H
#define ORSEL_IMAGES_BANNER_H

constexpr int BANNER_WIDTH = 769;
constexpr int BANNER_HEIGHT = 170;

/// The pixels that VelmorBanner shows, row by row, a byte each of red, green and blue. The window takes the
/// picture from here: the array's 36,758 colours would have to be decoded at each start, and its rows are as
/// many pointers, each of which the loader has to relocate before the program begins.
extern const unsigned char BANNER_PIXELS[3 * BANNER_WIDTH * BANNER_HEIGHT];

#endif
