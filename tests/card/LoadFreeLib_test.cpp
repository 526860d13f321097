// SPDX-License-Identifier: MIT
#include "card/LoadFreeLib.h"

#include <gmock/gmock.h>

using namespace Velmor;

TEST(LoadFreeLib, ALibraryIsOpenedByBareNameAskedAndClosed) {
    void* library = tk_dlopen("libm.so.6");
    ASSERT_NE(library, nullptr);
    EXPECT_NE(tk_dlsym(library, "cos"), nullptr);
    EXPECT_EQ(tk_dlsym(library, "no_such_name"), nullptr);
    EXPECT_EQ(tk_dlclose(library), 0);
}

TEST(LoadFreeLib, AMissingLibraryGivesNullAndAReasonThatNamesIt) {
    EXPECT_EQ(tk_dlopen("libNoSuchLibrary.so"), nullptr);
    const char* reason = tk_dlerror();
    ASSERT_NE(reason, nullptr);
    EXPECT_THAT(reason, testing::HasSubstr("libNoSuchLibrary.so"));
}
