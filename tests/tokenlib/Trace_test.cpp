// SPDX-License-Identifier: MIT
#include "tokenlib/Trace.h"

#include <gmock/gmock.h>

#include "tests/support/TempDir.h"

using testing::MatchesRegex;
using tokenlib::Trace;

TEST(ATraceFile, GetsTheThreadInFrontOfEachLine) {
    const TempDir folder;
    {
        const Trace trace(folder.Path("trace"));
        EXPECT_TRUE(trace.IsOn());
        trace.Write("C_GetInfo");
        trace.Write("C_Finalize");
    }
    EXPECT_THAT(ContentOf(folder.Path("trace")),
                MatchesRegex("tid=[0-9]+ C_GetInfo\ntid=[0-9]+ C_Finalize\n"));
}

TEST(ATraceFile, ThatCannotBeWrittenIsReported) {
    testing::internal::CaptureStderr();
    const Trace trace("/no/such/folder/trace");
    EXPECT_FALSE(trace.IsOn());
    EXPECT_EQ("OrselP11: no trace: /no/such/folder/trace: No such file or directory\n",
              testing::internal::GetCapturedStderr());
}

TEST(ATraceFile, ThatNobodyWantsGetsNothing) {
    const Trace trace("");
    EXPECT_FALSE(trace.IsOn());
    trace.Write("C_GetInfo");
    EXPECT_FALSE(trace.IsOn());
}

TEST(ATraceFile, FallsApartAtItsBlanks) {
    EXPECT_EQ("C.CH.SIG", Trace::Encoded("C.CH.SIG"));
    EXPECT_EQ("a%20b%3D%C3%BC%22%2C%25", Trace::Encoded("a b=\xC3\xBC\",%"));
    EXPECT_EQ("%7F%0A", Trace::Encoded("\x7F\n"));
}
