// SPDX-License-Identifier: MIT
#include "tokenlib/Secret.h"

#include <gtest/gtest.h>

using tokenlib::Secret;

TEST(ASecret, GoesFromHandToHand) {
    Secret first("1234");
    Secret second(std::move(first));
    EXPECT_EQ("1234", second.Text());
    Secret third("a longer text than fits into the object itself");
    third = std::move(second);
    EXPECT_EQ("1234", third.Text());
}
