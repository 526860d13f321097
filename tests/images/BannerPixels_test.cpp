// SPDX-License-Identifier: MIT
#include "images/Banner.h"

#include <wx/image.h>
#include <wx/xpmdecod.h>

#include <algorithm>
#include <iterator>

#include <gtest/gtest.h>

#include "images/Images.h"

TEST(TheBannersPixels, AreThoseThatTheToolkitReadsFromItsXpmRows) {
    const wxImage expected = wxXPMDecoder().ReadData(VelmorBanner);
    ASSERT_EQ(expected.GetSize(), wxSize(BANNER_WIDTH, BANNER_HEIGHT));
    EXPECT_FALSE(expected.HasMask());
    EXPECT_TRUE(std::equal(std::begin(BANNER_PIXELS), std::end(BANNER_PIXELS), expected.GetData()));
}
