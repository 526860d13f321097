// SPDX-License-Identifier: MIT
#include "tokenlib/Faults.h"

#include <chrono>

#include <gmock/gmock.h>

#include "tests/simulator/token/SleepingThread.h"
#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
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

Rv TokenInfo(const TokenLibrary& library, CK_SLOT_ID slot) {
    CK_TOKEN_INFO info = {};
    return library->C_GetTokenInfo(slot, &info);
}

long long MillisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
        .count();
}

} // namespace

class PlannedFaults : public testing::Test {
protected:
    PlannedFaults() {
        m_Deck.Add("ecard-g2", CardOptions().Directory("1"));
        m_Deck.Add("empty", CardOptions().Directory("2"));
    }

    void Plan(const std::vector<std::string>& faults) {
        m_Deck.PlanFaults(faults);
        m_Library.emplace();
    }
    /// One argument of all calls of a function, in the order in which the calls ended.
    std::vector<std::string> ValuesOf(const std::string& function, const std::string& argument) const {
        std::vector<std::string> values;
        for (const auto& record : m_Deck.GetTrace(function)) {
            values.push_back(record.Value(argument));
        }
        return values;
    }

    SimDeck m_Deck;
    std::optional<TokenLibrary> m_Library;
};

TEST_F(PlannedFaults, HitEveryCallOfTheirFunction) {
    Plan({"C_GetTokenInfo rv=CKR_DEVICE_ERROR"});
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), TokenInfo(*m_Library, 1));
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), TokenInfo(*m_Library, 2));
    EXPECT_EQ(2U, m_Library->Slots().size()) << "other functions are not touched";
}

TEST_F(PlannedFaults, HitOneSlotWhenTheyNameIt) {
    Plan({"C_GetTokenInfo slot=2 rv=0x30", "C_FindObjectsInit slot=1 rv=CKR_GENERAL_ERROR call=every"});
    EXPECT_EQ(Rv(CKR_OK), TokenInfo(*m_Library, 1));
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), TokenInfo(*m_Library, 2));
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), (*m_Library)->C_FindObjectsInit(m_Library->Open(1), nullptr, 0))
        << "a call by session counts for the session's slot";
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_FindObjectsInit(m_Library->Open(2), nullptr, 0));
}

TEST_F(PlannedFaults, HitTheCallThatTheyCount) {
    Plan({"C_GetTokenInfo slot=1 call=2 rv=CKR_TOKEN_NOT_RECOGNIZED"});
    EXPECT_EQ(Rv(CKR_OK), TokenInfo(*m_Library, 1));
    EXPECT_EQ(Rv(CKR_OK), TokenInfo(*m_Library, 2));
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_RECOGNIZED), TokenInfo(*m_Library, 1));
    EXPECT_EQ(Rv(CKR_OK), TokenInfo(*m_Library, 1));
}

TEST_F(PlannedFaults, LeaveTheOutputsAlone) {
    Plan({"C_GetSlotList rv=CKR_GENERAL_ERROR"});
    CK_ULONG count = 77;
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), (*m_Library)->C_GetSlotList(CK_TRUE, nullptr, &count));
    EXPECT_EQ(77U, count);
}

TEST_F(PlannedFaults, KeepTheLibraryFromStartingAsOftenAsTheyCount) {
    m_Deck.PlanFaults({"C_Initialize call=1 rv=CKR_GENERAL_ERROR"});
    m_Library.emplace(false);
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), (*m_Library)->C_Initialize(nullptr));
    CK_INFO info = {};
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), (*m_Library)->C_GetInfo(&info));
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_Initialize(nullptr));
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_GetInfo(&info));
}

TEST_F(PlannedFaults, HitFunctionsThatAreNotSupported) {
    Plan({"C_DigestInit rv=CKR_OK", "C_Finalize call=1 rv=CKR_FUNCTION_FAILED"});
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_DigestInit(1, nullptr));
    EXPECT_EQ(Rv(CKR_FUNCTION_FAILED), (*m_Library)->C_Finalize(nullptr));
}

TEST_F(PlannedFaults, DelayACallAndLetItRun) {
    Plan({"C_GetTokenInfo slot=1 delay=" + std::to_string(SLOW_MS)});
    {
        const SleepingThread slow([this] {
            EXPECT_GE(MillisecondsOf([this] { EXPECT_EQ(Rv(CKR_OK), TokenInfo(*m_Library, 1)); }), SLOW_MS);
        });
        EXPECT_EQ(Rv(CKR_OK), TokenInfo(*m_Library, 2));
    }
    EXPECT_THAT(ValuesOf("C_GetTokenInfo", "slot"), ElementsAre("2", "1")) << "the other slot has no delay";
}

TEST_F(PlannedFaults, ReportAnAbsurdLength) {
    Plan({"C_GetAttributeValue attribute=CKA_VALUE length=1000000",
          "C_CardAttribute name=ATR length=0xFFFFFFFF", "C_FindObjects call=2 length=5000",
          "C_CardTransmit length=4097"});
    const CK_SESSION_HANDLE session = m_Library->Open(1);
    const CK_OBJECT_HANDLE object = m_Library->FindOne(session, CKO_DATA, "RFU1");
    Bytes label(64);
    Bytes value(64);
    CK_ATTRIBUTE asked[] = {orseltest::AttributeOver(CKA_LABEL, label),
                            orseltest::AttributeOver(CKA_VALUE, value)};
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_GetAttributeValue(session, object, asked, 2));
    EXPECT_EQ(4U, asked[0].ulValueLen) << "the fault names the other attribute";
    EXPECT_EQ(1000000U, asked[1].ulValueLen);

    using AttributeCall = CK_RV (*)(CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*);
    const auto call = reinterpret_cast<AttributeCall>(m_Library->Symbol("C_CardAttribute"));
    unsigned long size = value.size();
    EXPECT_EQ(Rv(CKR_OK), call(session, "ATR", value.data(), &size));
    EXPECT_EQ(0xFFFFFFFFU, size);
    size = value.size();
    EXPECT_EQ(Rv(CKR_OK), call(session, "SicSig/PIN-Status", value.data(), &size));
    EXPECT_EQ(1U, size) << "the fault names another property";

    CK_OBJECT_HANDLE found[8] = {};
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_FindObjectsInit(session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_FindObjects(session, found, 8, &count));
    EXPECT_EQ(5000U, count);
}

TEST_F(PlannedFaults, AddUp) {
    Plan({"C_GetTokenInfo delay=20", "C_GetTokenInfo delay=20 rv=CKR_DEVICE_ERROR",
          "C_GetTokenInfo rv=CKR_OK"});
    EXPECT_GE(MillisecondsOf([&] { EXPECT_EQ(Rv(CKR_DEVICE_ERROR), TokenInfo(*m_Library, 1)); }), 40);
}

TEST_F(PlannedFaults, ThatMakeNoSenseAreReportedAndPassedOver) {
    testing::internal::CaptureStderr();
    Plan({
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
    EXPECT_EQ(Rv(CKR_OK), TokenInfo(*m_Library, 1));
}

TEST_F(PlannedFaults, InAFileThatIsNotThereAreReported) {
    const ScopedVariable faults("ORSELSIM_FAULTS", "/no/such/file");
    testing::internal::CaptureStderr();
    m_Library.emplace();
    EXPECT_EQ("OrselP11: no faults: /no/such/file: No such file or directory\n",
              testing::internal::GetCapturedStderr());
}

// What has no delay comes to its end while the slow call is still asleep.
TEST_F(PlannedFaults, MeetACardsOwnDelay) {
    m_Deck.Change("1", [](orselsim::Card& card) { card.m_Record.m_DelayMs = SLOW_MS; });
    Plan({});
    CK_SESSION_HANDLE session = 0;
    {
        const SleepingThread slow(
            [&] { EXPECT_GE(MillisecondsOf([&] { session = m_Library->Open(1); }), SLOW_MS); });
        m_Library->Open(2);
    }
    EXPECT_THAT(ValuesOf("C_OpenSession", "slot"), ElementsAre("2", "1"));

    const CK_OBJECT_HANDLE object = m_Library->FindOne(session, CKO_DATA, "RFU1");
    Bytes value(64);
    CK_ATTRIBUTE asked = orseltest::AttributeOver(CKA_VALUE, value);
    Bytes text(64);
    CK_ATTRIBUTE label = orseltest::AttributeOver(CKA_LABEL, text);
    {
        const SleepingThread slow([&] {
            const auto read = [&] { (*m_Library)->C_GetAttributeValue(session, object, &asked, 1); };
            EXPECT_GE(MillisecondsOf(read), SLOW_MS);
        });
        EXPECT_EQ(Rv(CKR_OK), (*m_Library)->C_GetAttributeValue(session, object, &label, 1));
    }
    EXPECT_THAT(ValuesOf("C_GetAttributeValue", "attributes"), ElementsAre("CKA_LABEL", "CKA_VALUE"));
}
