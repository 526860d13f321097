// SPDX-License-Identifier: MIT
#include "tokenlib/Call.h"

#include <new>
#include <stdexcept>

#include <gmock/gmock.h>

#include "tests/support/TempDir.h"
#include "tests/tokenlib/SmallRuntime.h"
#include "tokenlib/Files.h"
#include "tokenlib/Refusal.h"

using orseltest::SmallRuntime;
using orseltest::StartedRuntime;
using testing::HasSubstr;
using testing::MatchesRegex;
using tokenlib::Call;
using tokenlib::Refusal;

namespace {

template <class Thrown>
CK_RV RunThatThrows(const Thrown& thrown) {
    return Call("C_Sign").Run([&](SmallRuntime&) { throw thrown; });
}

} // namespace

TEST(ACall, BeforeTheLibraryIsStartedDoesNotRun) {
    bool hasRun = false;
    EXPECT_EQ(CKR_CRYPTOKI_NOT_INITIALIZED, Call("C_GetInfo").Run([&](SmallRuntime&) { hasRun = true; }));
    EXPECT_FALSE(hasRun);
}

TEST(ACall, TurnsWhatItsBodyThrowsIntoACode) {
    const StartedRuntime runtime;
    EXPECT_EQ(CKR_PIN_LOCKED, RunThatThrows(Refusal{CKR_PIN_LOCKED}));
    EXPECT_EQ(CKR_HOST_MEMORY, RunThatThrows(std::bad_alloc()));
    EXPECT_EQ(CKR_DEVICE_ERROR, RunThatThrows(tokenlib::FileError("a file")));
    EXPECT_EQ(CKR_GENERAL_ERROR, RunThatThrows(std::runtime_error("anything")));
    EXPECT_EQ(CKR_GENERAL_ERROR, RunThatThrows(1));
    EXPECT_EQ(CKR_OK, Call("C_Sign").Run([](SmallRuntime&) {}));
}

TEST(ACall, FindsTheLibraryClosedWhenItComesBackToTheLock) {
    const StartedRuntime runtime;
    Call call("C_Sign");
    bool wentOn = false;
    EXPECT_EQ(CKR_CRYPTOKI_NOT_INITIALIZED, call.Run([&](SmallRuntime&) {
        call.WithoutLock([] { tokenlib::StopRuntime(); });
        wentOn = true;
    }));
    EXPECT_FALSE(wentOn);
}

TEST(ACall, IsALineOfTheTraceWithTheSlotOfItsSession) {
    const TempDir folder;
    {
        const StartedRuntime runtime({folder.Path("trace"), "", ""});
        Call("C_Sign").Session(SmallRuntime::SESSION).Number("size", 2).Run([](SmallRuntime&) {});
    }
    EXPECT_THAT(ContentOf(folder.Path("trace")),
                MatchesRegex("tid=[0-9]+ C_Sign session=7 size=2 slot=3 rv=CKR_OK us=[0-9]+\n"));
}

TEST(ACall, ShowsOfACommandToTheCardNoMoreThanItsHeader) {
    const TempDir folder;
    const unsigned char verify[] = {0x00, 0x20, 0x00, 0x01, 0x04, 0x31, 0x32, 0x33, 0x34};
    const unsigned char select[] = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00};
    {
        const StartedRuntime runtime({folder.Path("trace"), "", ""});
        Call("C_CardTransmit").Command(verify, sizeof verify).Run([](SmallRuntime&) {});
        Call("C_CardTransmit").Command(select, sizeof select).Run([](SmallRuntime&) {});
        Call("C_CardTransmit").Command(nullptr, 4).Run([](SmallRuntime&) {});
    }
    const std::string trace = ContentOf(folder.Path("trace"));
    EXPECT_THAT(trace, HasSubstr("apdu=00200001[5] "));
    EXPECT_THAT(trace, HasSubstr("apdu=00A4000C023F00 "));
    EXPECT_THAT(trace, HasSubstr("apdu= rv"));
}

TEST(ACall, ThatIsPlannedToFailDoesNotRunItsBody) {
    const TempDir folder;
    const StartedRuntime runtime({"", folder.File("faults", "C_Sign slot=3 rv=CKR_DEVICE_ERROR\n"), ""});
    bool hasRun = false;
    EXPECT_EQ(CKR_DEVICE_ERROR,
              Call("C_Sign").Session(SmallRuntime::SESSION).Run([&](SmallRuntime&) { hasRun = true; }));
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(CKR_OK, Call("C_Sign").Run([&](SmallRuntime&) { hasRun = true; })) << "in no slot";
    EXPECT_TRUE(hasRun);
}

TEST(ACall, ThatAsksForAPinGetsTheNextAnswer) {
    const TempDir folder;
    const StartedRuntime runtime({"", "", folder.File("answers", "1234\ncancel\n")});
    Call call("C_Login");
    EXPECT_EQ(CKR_FUNCTION_CANCELED, call.Run([&](SmallRuntime&) {
        EXPECT_EQ("1234", call.Ask({"card", "PIN:", false}).Text());
        call.Ask({"card", "PIN:", false});
    }));
}

TEST(ALibrary, IsStartedOnceAndStoppedOnce) {
    {
        const StartedRuntime runtime;
        EXPECT_EQ(CKR_CRYPTOKI_ALREADY_INITIALIZED,
                  Call("C_Initialize").RunFirst([]() -> std::shared_ptr<tokenlib::Runtime> {
                      return tokenlib::StartRuntime([] { return nullptr; });
                  }));
        EXPECT_EQ(CKR_OK, Call("C_Finalize").RunLast(tokenlib::StopRuntime));
        EXPECT_EQ(CKR_CRYPTOKI_NOT_INITIALIZED, Call("C_Finalize").RunLast(tokenlib::StopRuntime));
    }
}

TEST(ALibrary, ThatIsNotStartedCannotBeStopped) {
    try {
        tokenlib::StopRuntime();
        FAIL() << "no refusal";
    } catch (const Refusal& refusal) {
        EXPECT_EQ(CKR_CRYPTOKI_NOT_INITIALIZED, refusal.m_Code);
    }
}

TEST(ALibrary, CanBeAskedForWhileItIsMade) {
    EXPECT_EQ(CKR_OK, Call("C_Initialize").RunFirst([] {
        return tokenlib::StartRuntime([] {
            EXPECT_EQ(CKR_CRYPTOKI_NOT_INITIALIZED, Call("C_GetInfo").Run([](SmallRuntime&) {}));
            return std::make_shared<SmallRuntime>(tokenlib::Environment{});
        });
    }));
    tokenlib::StopRuntime();
}

TEST(ALibrary, DelaysNoSlotUnlessItSaysSo) {
    const StartedRuntime runtime;
    EXPECT_EQ(0U, tokenlib::CurrentRuntime()->DelayOf(SmallRuntime::SLOT));
    EXPECT_EQ(CKR_OK, Call("C_Sign").Session(SmallRuntime::SESSION).Slow().Run([](SmallRuntime&) {}));
}
