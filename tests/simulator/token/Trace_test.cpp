// SPDX-License-Identifier: MIT
#include "tokenlib/Trace.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SimDeck.h"

using orselsim::Trace;
using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::SimDeck;
using orseltest::TokenLibrary;
using orseltest::TraceRecord;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

namespace {

std::vector<std::string> Functions(const std::vector<TraceRecord>& records) {
    std::vector<std::string> names;
    for (const TraceRecord& record : records) {
        names.push_back(record.m_Function);
    }
    return names;
}

long MicrosecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const auto spent = std::chrono::steady_clock::now() - start;
    return static_cast<long>(std::chrono::duration_cast<std::chrono::microseconds>(spent).count());
}

/// The one line of this function, without thread, code and time.
std::string Arguments(const SimDeck& deck, const std::string& function) {
    std::istringstream lines(deck.TraceText());
    std::string found;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t start = line.find(" " + function + " ");
        if (start != std::string::npos) {
            found = line.substr(start + 1, line.find(" rv=") - start - 1);
        }
    }
    return found;
}

} // namespace

TEST(TraceText, EncodesWhatWouldBreakALine) {
    EXPECT_EQ("PK.CH.SIG", Trace::Encoded("PK.CH.SIG"));
    EXPECT_EQ("a%20b%25%22%3D%2C%0A%C3%A4", Trace::Encoded("a b%\"=,\nä"));
    EXPECT_EQ("", Trace::Encoded(""));
}

TEST(TheTrace, HasALineForEachCall) {
    SimDeck deck;
    deck.Add("empty");
    {
        const TokenLibrary library;
        library->C_CloseSession(library.OpenFirst());
        CK_TOKEN_INFO info = {};
        library->C_GetTokenInfo(99, &info);
    }
    EXPECT_THAT(Functions(deck.GetTrace()),
                ElementsAre("C_Initialize", "C_GetSlotList", "C_GetSlotList", "C_OpenSession",
                            "C_CloseSession", "C_GetTokenInfo", "C_Finalize"));
    const TraceRecord open = deck.GetTrace("C_OpenSession").at(0);
    EXPECT_EQ(syscall(SYS_gettid), open.m_Thread);
    EXPECT_EQ("1", open.Value("slot"));
    EXPECT_EQ("4", open.Value("flags"));
    EXPECT_NE("", open.Value("session"));
    EXPECT_EQ("CKR_OK", open.m_Result);
    EXPECT_EQ(open.Value("session"), deck.GetTrace("C_CloseSession").at(0).Value("session"));
    EXPECT_EQ("1", deck.GetTrace("C_CloseSession").at(0).Value("slot"));
    EXPECT_EQ("CKR_SLOT_ID_INVALID", deck.GetTrace("C_GetTokenInfo").at(0).m_Result);
}

TEST(TheTrace, KeepsItsForm) {
    SimDeck deck;
    deck.Add("empty");
    {
        const TokenLibrary library;
        library.OpenFirst();
    }
    std::istringstream lines(deck.TraceText());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_THAT(line, MatchesRegex("tid=[0-9]+ C_[A-Za-z]+( [a-z]+=[^ ]*)* rv=CKR_[A-Z_]+ us=[0-9]+"));
    }
}

TEST(TheTrace, ShowsTheArgumentsThatMatter) {
    SimDeck deck;
    deck.Add("ecard-g2");
    const TokenLibrary library;
    const CK_SESSION_HANDLE session = library.OpenFirst();
    const std::string where = " session=" + std::to_string(session);
    const CK_OBJECT_HANDLE object = library.FindOne(session, CKO_CERTIFICATE, "C.CH.SIG");
    EXPECT_EQ("C_FindObjectsInit" + where + " attributes=CKA_CLASS:CKO_CERTIFICATE,CKA_LABEL:C.CH.SIG slot=1",
              Arguments(deck, "C_FindObjectsInit"));
    EXPECT_EQ("C_FindObjects" + where + " max=64 slot=1 count=1", Arguments(deck, "C_FindObjects"));
    library.Attribute(session, object, CKA_ID);
    EXPECT_EQ("C_GetAttributeValue" + where + " object=" + std::to_string(object) +
                  " attributes=CKA_ID slot=1",
              Arguments(deck, "C_GetAttributeValue"));
    Bytes value;
    library.CardAttribute(session, "SicSig/PIN-Status", value);
    EXPECT_EQ("C_CardAttribute" + where + " name=SicSig/PIN-Status slot=1 length=1",
              Arguments(deck, "C_CardAttribute"));
    library.Transmit(session, "00A4000C02DF71");
    EXPECT_EQ("C_CardTransmit" + where + " apdu=00A4000C02DF71 slot=1 sw=9000",
              Arguments(deck, "C_CardTransmit"));
}

TEST(TheTrace, DoesNotShowTheDataOfACommandThatMayHoldAPin) {
    SimDeck deck;
    deck.Add("empty");
    const TokenLibrary library;
    library.Transmit(library.OpenFirst(), "0020000004"
                                          "31323334");
    EXPECT_THAT(Arguments(deck, "C_CardTransmit"), HasSubstr("apdu=00200000[5]"));
    EXPECT_THAT(deck.TraceText(), Not(HasSubstr("31323334")));
}

TEST(TheTrace, IsWrittenWhileTheCallReturns) {
    SimDeck deck;
    const TokenLibrary library;
    EXPECT_THAT(deck.GetTrace(), SizeIs(1));
    library.Slots();
    EXPECT_THAT(deck.GetTrace(), SizeIs(3));
}

TEST(TheTrace, GoesOnWhereAnEarlierProcessStopped) {
    SimDeck deck;
    { const TokenLibrary first; }
    { const TokenLibrary second; }
    EXPECT_THAT(Functions(deck.GetTrace()),
                ElementsAre("C_Initialize", "C_Finalize", "C_Initialize", "C_Finalize"));
}

// A call takes no longer inside of the library than seen from outside.
TEST(TheTrace, MeasuresTheTime) {
    SimDeck deck;
    deck.Add("empty", CardOptions().DelayMs(200));
    const TokenLibrary library;
    CK_SESSION_HANDLE session = 0;
    const long opening = MicrosecondsOf([&] { session = library.OpenFirst(); });
    const long closing = MicrosecondsOf([&] { library->C_CloseSession(session); });
    EXPECT_GE(deck.GetTrace("C_OpenSession").at(0).m_Microseconds, 200000);
    EXPECT_LE(deck.GetTrace("C_OpenSession").at(0).m_Microseconds, opening);
    EXPECT_LE(deck.GetTrace("C_CloseSession").at(0).m_Microseconds, closing);
}

TEST(TheTrace, IsAskedForOrNotWritten) {
    SimDeck deck;
    const ScopedVariable trace("ORSELSIM_TRACE", nullptr);
    { const TokenLibrary library; }
    EXPECT_EQ("", deck.TraceText());
}

TEST(TheTrace, ThatCannotBeWrittenIsReported) {
    SimDeck deck;
    const ScopedVariable trace("ORSELSIM_TRACE", deck.Folder() + "/no/such/folder");
    testing::internal::CaptureStderr();
    { const TokenLibrary library; }
    EXPECT_EQ("OrselP11: no trace: " + deck.Folder() + "/no/such/folder: No such file or directory\n",
              testing::internal::GetCapturedStderr());
}
