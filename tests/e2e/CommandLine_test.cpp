// SPDX-License-Identifier: MIT
// The built program with something on its command line, which takes nothing but the toolkit's own options.
#include <gmock/gmock.h>

#include "tests/e2e/Desktop.h"
#include "tests/support/TempDir.h"

using testing::HasSubstr;
using testing::Not;

namespace {

/// What the program writes with these arguments, and the code that it ends with. One that goes on running is
/// ended after a while, with the code 124.
std::string OutputWith(const std::string& arguments) {
    const TempDir home;
    return desktop::OutputOf("HOME='" + home.Path("") + "' LD_LIBRARY_PATH= timeout 60 '" ORSEL_PROGRAM "' " +
                             arguments + " 2>&1; echo code $?");
}

constexpr const char* USAGE = "Usage: orselcards [-h] [--verbose]\n";

} // namespace

TEST(TheCommandLine, MayAskForHelpWhichStartsNothing) {
    const std::string output = OutputWith("-h");
    EXPECT_THAT(output, HasSubstr(USAGE));
    EXPECT_THAT(output, Not(HasSubstr("Unexpected")));
    EXPECT_THAT(output, HasSubstr("code 255"));
}

TEST(TheCommandLine, TakesNoParameter) {
    const std::string output = OutputWith("card.cer");
    EXPECT_THAT(output, HasSubstr("Unexpected parameter 'card.cer'"));
    EXPECT_THAT(output, HasSubstr(USAGE));
    EXPECT_THAT(output, HasSubstr("code 255"));
}

TEST(TheCommandLine, TakesSwitchesWithADashAlone) {
    const std::string output = OutputWith("/h");
    EXPECT_THAT(output, HasSubstr("Unexpected parameter '/h'"));
    EXPECT_THAT(output, HasSubstr("code 255"));
}
