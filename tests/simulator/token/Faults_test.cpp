// SPDX-License-Identifier: MIT
#include "simulator/token/Faults.h"

#include <chrono>

#include <gmock/gmock.h>

#include "tests/simulator/token/SleepingThread.h"
#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::SleepingThread;
using orseltest::SLOW_MS;
using orseltest::TokenLibrary;
using testing::ElementsAre;

namespace {

Rv tokenInfo(const TokenLibrary& library, CK_SLOT_ID slot) {
    CK_TOKEN_INFO info = {};
    return library->C_GetTokenInfo(slot, &info);
}

long long millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
        .count();
}

} // namespace

class PlannedFaults : public testing::Test {
protected:
    PlannedFaults() {
        deck.add("ecard-g2", CardOptions().directory("1"));
        deck.add("empty", CardOptions().directory("2"));
    }

    void plan(const std::vector<std::string>& faults) {
        deck.planFaults(faults);
        library.emplace();
    }
    /// One argument of all calls of a function, in the order in which the calls ended.
    std::vector<std::string> valuesOf(const std::string& function, const std::string& argument) const {
        std::vector<std::string> values;
        for (const auto& record : deck.trace(function))
            values.push_back(record.value(argument));
        return values;
    }

    SimDeck deck;
    std::optional<TokenLibrary> library;
};

TEST_F(PlannedFaults, HitEveryCallOfTheirFunction) {
    plan({"C_GetTokenInfo rv=CKR_DEVICE_ERROR"});
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), tokenInfo(*library, 1));
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), tokenInfo(*library, 2));
    EXPECT_EQ(2U, library->slots().size()) << "other functions are not touched";
}

TEST_F(PlannedFaults, HitOneSlotWhenTheyNameIt) {
    plan({"C_GetTokenInfo slot=2 rv=0x30", "C_FindObjectsInit slot=1 rv=CKR_GENERAL_ERROR call=every"});
    EXPECT_EQ(Rv(CKR_OK), tokenInfo(*library, 1));
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), tokenInfo(*library, 2));
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), (*library)->C_FindObjectsInit(library->open(1), nullptr, 0))
        << "a call by session counts for the session's slot";
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_FindObjectsInit(library->open(2), nullptr, 0));
}

TEST_F(PlannedFaults, HitTheCallThatTheyCount) {
    plan({"C_GetTokenInfo slot=1 call=2 rv=CKR_TOKEN_NOT_RECOGNIZED"});
    EXPECT_EQ(Rv(CKR_OK), tokenInfo(*library, 1));
    EXPECT_EQ(Rv(CKR_OK), tokenInfo(*library, 2));
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_RECOGNIZED), tokenInfo(*library, 1));
    EXPECT_EQ(Rv(CKR_OK), tokenInfo(*library, 1));
}

TEST_F(PlannedFaults, LeaveTheOutputsAlone) {
    plan({"C_GetSlotList rv=CKR_GENERAL_ERROR"});
    CK_ULONG count = 77;
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), (*library)->C_GetSlotList(CK_TRUE, nullptr, &count));
    EXPECT_EQ(77U, count);
}

TEST_F(PlannedFaults, KeepTheLibraryFromStartingAsOftenAsTheyCount) {
    deck.planFaults({"C_Initialize call=1 rv=CKR_GENERAL_ERROR"});
    library.emplace(false);
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), (*library)->C_Initialize(nullptr));
    CK_INFO info = {};
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), (*library)->C_GetInfo(&info));
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_Initialize(nullptr));
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_GetInfo(&info));
}

TEST_F(PlannedFaults, HitFunctionsThatAreNotSupported) {
    plan({"C_DigestInit rv=CKR_OK", "C_Finalize call=1 rv=CKR_FUNCTION_FAILED"});
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_DigestInit(1, nullptr));
    EXPECT_EQ(Rv(CKR_FUNCTION_FAILED), (*library)->C_Finalize(nullptr));
}

TEST_F(PlannedFaults, DelayACallAndLetItRun) {
    plan({"C_GetTokenInfo slot=1 delay=" + std::to_string(SLOW_MS)});
    {
        const SleepingThread slow([this] {
            EXPECT_GE(millisecondsOf([this] { EXPECT_EQ(Rv(CKR_OK), tokenInfo(*library, 1)); }), SLOW_MS);
        });
        EXPECT_EQ(Rv(CKR_OK), tokenInfo(*library, 2));
    }
    EXPECT_THAT(valuesOf("C_GetTokenInfo", "slot"), ElementsAre("2", "1")) << "the other slot has no delay";
}

TEST_F(PlannedFaults, ReportAnAbsurdLength) {
    plan({"C_GetAttributeValue attribute=CKA_VALUE length=1000000",
          "C_CardAttribute name=ATR length=0xFFFFFFFF", "C_FindObjects call=2 length=5000",
          "C_CardTransmit length=4097"});
    const CK_SESSION_HANDLE session = library->open(1);
    const CK_OBJECT_HANDLE object = library->findOne(session, CKO_DATA, "RFU1");
    Bytes label(64);
    Bytes value(64);
    CK_ATTRIBUTE asked[] = {orseltest::attributeOver(CKA_LABEL, label),
                            orseltest::attributeOver(CKA_VALUE, value)};
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_GetAttributeValue(session, object, asked, 2));
    EXPECT_EQ(4U, asked[0].ulValueLen) << "the fault names the other attribute";
    EXPECT_EQ(1000000U, asked[1].ulValueLen);

    using CardAttribute = CK_RV (*)(CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*);
    const auto call = reinterpret_cast<CardAttribute>(library->symbol("C_CardAttribute"));
    unsigned long size = value.size();
    EXPECT_EQ(Rv(CKR_OK), call(session, "ATR", value.data(), &size));
    EXPECT_EQ(0xFFFFFFFFU, size);
    size = value.size();
    EXPECT_EQ(Rv(CKR_OK), call(session, "SicSig/PIN-Status", value.data(), &size));
    EXPECT_EQ(1U, size) << "the fault names another property";

    CK_OBJECT_HANDLE found[8] = {};
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_FindObjectsInit(session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), (*library)->C_FindObjects(session, found, 8, &count));
    EXPECT_EQ(5000U, count);
}

TEST_F(PlannedFaults, AddUp) {
    plan({"C_GetTokenInfo delay=20", "C_GetTokenInfo delay=20 rv=CKR_DEVICE_ERROR",
          "C_GetTokenInfo rv=CKR_OK"});
    EXPECT_GE(millisecondsOf([&] { EXPECT_EQ(Rv(CKR_DEVICE_ERROR), tokenInfo(*library, 1)); }), 40);
}

TEST_F(PlannedFaults, ThatMakeNoSenseAreReportedAndPassedOver) {
    testing::internal::CaptureStderr();
    plan({
        "# a comment",
        "",
        "   ",
        "C_GetTokenInfo",
        "C_GetTokenInfo rv=CKR_NO_SUCH_CODE",
        "C_GetTokenInfo call=0 rv=CKR_OK",
        "C_GetTokenInfo call=x rv=CKR_OK",
        "C_GetTokenInfo unknown=1 rv=CKR_OK",
        "C_GetTokenInfo attribute=CKA_NOTHING rv=CKR_OK",
        "C_GetTokenInfo word rv=CKR_OK",
        "GetTokenInfo rv=CKR_DEVICE_ERROR",
    });
    EXPECT_EQ("OrselP11: not a fault: C_GetTokenInfo\n"
              "OrselP11: not a fault: C_GetTokenInfo rv=CKR_NO_SUCH_CODE\n"
              "OrselP11: not a fault: C_GetTokenInfo call=0 rv=CKR_OK\n"
              "OrselP11: not a fault: C_GetTokenInfo call=x rv=CKR_OK\n"
              "OrselP11: not a fault: C_GetTokenInfo unknown=1 rv=CKR_OK\n"
              "OrselP11: not a fault: C_GetTokenInfo attribute=CKA_NOTHING rv=CKR_OK\n"
              "OrselP11: not a fault: C_GetTokenInfo word rv=CKR_OK\n"
              "OrselP11: not a fault: GetTokenInfo rv=CKR_DEVICE_ERROR\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(Rv(CKR_OK), tokenInfo(*library, 1));
}

TEST_F(PlannedFaults, InAFileThatIsNotThereAreReported) {
    setenv("ORSELSIM_FAULTS", "/no/such/file", 1);
    testing::internal::CaptureStderr();
    library.emplace();
    EXPECT_EQ("OrselP11: no faults: /no/such/file: No such file or directory\n",
              testing::internal::GetCapturedStderr());
    unsetenv("ORSELSIM_FAULTS");
}

// What has no delay comes to its end while the slow call is still asleep.
TEST_F(PlannedFaults, MeetACardsOwnDelay) {
    deck.change("1", [](orselsim::Card& card) { card.record.delayMs = SLOW_MS; });
    plan({});
    CK_SESSION_HANDLE session = 0;
    {
        const SleepingThread slow(
            [&] { EXPECT_GE(millisecondsOf([&] { session = library->open(1); }), SLOW_MS); });
        library->open(2);
    }
    EXPECT_THAT(valuesOf("C_OpenSession", "slot"), ElementsAre("2", "1"));

    const CK_OBJECT_HANDLE object = library->findOne(session, CKO_DATA, "RFU1");
    Bytes value(64);
    CK_ATTRIBUTE asked = orseltest::attributeOver(CKA_VALUE, value);
    Bytes text(64);
    CK_ATTRIBUTE label = orseltest::attributeOver(CKA_LABEL, text);
    {
        const SleepingThread slow([&] {
            const auto read = [&] { (*library)->C_GetAttributeValue(session, object, &asked, 1); };
            EXPECT_GE(millisecondsOf(read), SLOW_MS);
        });
        EXPECT_EQ(Rv(CKR_OK), (*library)->C_GetAttributeValue(session, object, &label, 1));
    }
    EXPECT_THAT(valuesOf("C_GetAttributeValue", "attributes"), ElementsAre("CKA_LABEL", "CKA_VALUE"));
}
