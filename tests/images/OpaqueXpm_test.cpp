// SPDX-License-Identifier: MIT
#include "images/OpaqueXpm.h"

#include <wx/xpmdecod.h>

#include <cstring>

#include <gtest/gtest.h>

#include "images/Images.h"

TEST(AnOpaqueXpm, ShowsTheColoursOfItsKeys) {
    const char* const rows[] = {"3 2 2 1", "a c #0180FF", "b c #000000", "aba", "bbb"};
    const wxImage image = ReadOpaqueXpm(rows);
    ASSERT_TRUE(image.IsOk());
    EXPECT_EQ(image.GetSize(), wxSize(3, 2));
    const unsigned char pixels[] = {0x01, 0x80, 0xFF, 0, 0, 0, 0x01, 0x80, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(image.GetData(), pixels, sizeof(pixels)), 0);
}

TEST(AnOpaqueXpm, IsTheBannerAsTheToolkitReadsIt) {
    const wxImage expected = wxXPMDecoder().ReadData(VelmorBanner);
    const wxImage image = ReadOpaqueXpm(VelmorBanner);
    ASSERT_EQ(image.GetSize(), expected.GetSize());
    EXPECT_FALSE(image.HasMask());
    EXPECT_EQ(std::memcmp(image.GetData(), expected.GetData(), size_t{769} * 170 * 3), 0);
}
