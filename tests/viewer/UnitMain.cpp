// SPDX-License-Identifier: MIT
// Runs the tests in a locale whose words may have umlauts, and without a display.
#include <clocale>

#include <gtest/gtest.h>
#include <wx/debug.h>

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "C.UTF-8");
    wxDisableAsserts();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
