// SPDX-License-Identifier: MIT
// Several threads in one library at a time; ThreadSanitizer watches them too.
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>

#include "tests/simulator/token/SleepingThread.h"
#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SimDeck.h"

using orseltest::CardOptions;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::SleepingThread;
using orseltest::SLOW_MS;
using orseltest::TokenLibrary;
using orseltest::WaitUntil;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

std::vector<std::string> SlotsOf(const std::vector<orseltest::TraceRecord>& records) {
    std::vector<std::string> slots;
    for (const auto& record : records) {
        slots.push_back(record.Value("slot"));
    }
    return slots;
}

void InThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Puts a program in place of pinentry that notes in the folder that it is asked, and answers once it finds a
/// file there that lets it go.
class APersonWhoTakesTime {
public:
    explicit APersonWhoTakesTime(const std::string& folder) : m_Folder(folder), m_Path(folder + "/bin") {
        const std::string program = folder + "/bin/pinentry";
        fs::create_directory(folder + "/bin");
        std::ofstream(program) << "#!/bin/sh\n"
                                  "echo OK\n"
                                  "while read -r line; do\n"
                                  "    case $line in GETPIN)\n"
                                  "        : >'" +
                                      folder +
                                      "/asked'\n"
                                      "        for try in $(seq 6000); do\n"
                                      "            [ ! -e '" +
                                      folder +
                                      "/go' ] || break\n"
                                      "            sleep 0.01\n"
                                      "        done\n"
                                      "        echo 'D 1234'\n"
                                      "    esac\n"
                                      "    echo OK\n"
                                      "done\n";
        fs::permissions(program, fs::perms::owner_all);
    }

    void WaitUntilAsked() const {
        WaitUntil([this] { return fs::exists(m_Folder + "/asked"); });
    }
    void Answer() const { std::ofstream(m_Folder + "/go") << '\n'; }

private:
    const std::string m_Folder;
    const FolderOnPath m_Path;
    const ScopedVariable m_Script{"ORSELSIM_PIN_SCRIPT", nullptr};
};

} // namespace

TEST(ManyThreads, ReadTheCardsOfOneDeck) {
    SimDeck deck;
    deck.Add("ecard-g2");
    deck.Add("ecard-g2");
    const TokenLibrary library;
    InThreads(4, [&](int number) {
        for (int i = 0; i < 10; ++i) {
            const CK_SESSION_HANDLE session = library.Open(library.Slots().at(number % 2));
            const CK_OBJECT_HANDLE object = library.FindOne(session, CKO_CERTIFICATE, "C.CH.EKEY");
            EXPECT_FALSE(library.Attribute(session, object, CKA_VALUE).empty());
            EXPECT_EQ(Rv(CKR_OK), library->C_CloseSession(session));
        }
    });
    EXPECT_EQ(0U, library.TokenInfo(1).ulSessionCount);
}

TEST(ManyThreads, WriteWholeLinesOfTheTrace) {
    SimDeck deck;
    deck.Add("empty");
    const TokenLibrary library;
    InThreads(4, [&](int) {
        for (int i = 0; i < 50; ++i) {
            library.TokenInfo(1);
        }
    });
    EXPECT_EQ(200U, deck.GetTrace("C_GetTokenInfo").size());
    for (const orseltest::TraceRecord& record : deck.GetTrace()) {
        EXPECT_EQ("CKR_OK", record.m_Result);
    }
}

TEST(ManyThreads, OfWhichOneSpendsADelayDoNotWaitForIt) {
    SimDeck deck;
    deck.Add("empty", CardOptions().DelayMs(SLOW_MS));
    deck.Add("empty");
    const TokenLibrary library;
    library.Slots();
    {
        const SleepingThread slow([&] { library.Open(1); });
        library.Open(2);
    }
    EXPECT_THAT(SlotsOf(deck.GetTrace("C_OpenSession")), ElementsAre("2", "1"));
}

TEST(ManyThreads, SeeCardsComeAndGo) {
    SimDeck deck;
    const std::string card = deck.Add("empty");
    deck.Add("empty");
    const TokenLibrary library;
    library.Slots();
    testing::internal::CaptureStderr();
    InThreads(3, [&](int number) {
        for (int i = 0; i < 30; ++i) {
            if (number == 0) {
                deck.TakeOut(card);
                deck.PutBack(card);
                continue;
            }
            CK_SESSION_HANDLE session = 0;
            const CK_RV opened = library->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &session);
            EXPECT_TRUE(opened == CKR_OK || opened == CKR_TOKEN_NOT_PRESENT) << Rv(opened);
            if (opened == CKR_OK) {
                library->C_CloseSession(session);
            }
        }
    });
    EXPECT_EQ("", testing::internal::GetCapturedStderr()) << "a card that is taken out is not a damaged one";
}

TEST(ManyThreads, MayFindTheLibraryFinalisedWhenTheyWakeUp) {
    SimDeck deck;
    deck.Add("empty", CardOptions().DelayMs(SLOW_MS));
    const TokenLibrary library;
    library.Slots();
    {
        const SleepingThread sleeper([&] {
            CK_SESSION_HANDLE session = 0;
            EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED),
                      library->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &session));
        });
        EXPECT_EQ(Rv(CKR_OK), library->C_Finalize(nullptr));
    }
    // A call that begins in a finalised library is not in the trace.
    const auto trace = deck.GetTrace();
    ASSERT_GE(trace.size(), 2U);
    EXPECT_EQ("C_Finalize", trace[trace.size() - 2].m_Function);
    EXPECT_EQ("C_OpenSession", trace.back().m_Function);
    EXPECT_EQ("CKR_CRYPTOKI_NOT_INITIALIZED", trace.back().m_Result);
}

TEST(ManyThreads, DoNotWaitForAUserWhoIsAskedForAPin) {
    SimDeck deck;
    deck.Add("ecard-g2");
    deck.Add("empty");
    const APersonWhoTakesTime person(deck.Folder());
    const TokenLibrary library;
    const CK_SESSION_HANDLE session = library.OpenFirst();
    std::thread asked([&] { EXPECT_EQ(Rv(CKR_OK), library->C_Login(session, CKU_USER, nullptr, 0)); });
    person.WaitUntilAsked();
    library.Open(2);
    person.Answer();
    asked.join();
    EXPECT_EQ("C_Login", deck.GetTrace().back().m_Function);
}

TEST(ManyThreads, SignWithTheSameCard) {
    SimDeck deck;
    deck.Add("ecard-g2");
    const TokenLibrary library;
    const CK_SESSION_HANDLE first = library.OpenFirst();
    CK_BYTE pin[] = {'1', '2', '3', '4'};
    ASSERT_EQ(Rv(CKR_OK), library->C_Login(first, CKU_USER, pin, sizeof pin));
    InThreads(4, [&](int) {
        const CK_SESSION_HANDLE session = library.OpenFirst();
        const CK_OBJECT_HANDLE key = library.FindOne(session, CKO_PRIVATE_KEY, "SK.CH.EKEY");
        for (int i = 0; i < 10; ++i) {
            CK_MECHANISM mechanism = {CKM_ECDSA, nullptr, 0};
            EXPECT_EQ(Rv(CKR_OK), library->C_SignInit(session, &mechanism, key));
            CK_BYTE data[20] = {};
            CK_BYTE signature[48];
            CK_ULONG size = sizeof signature;
            EXPECT_EQ(Rv(CKR_OK), library->C_Sign(session, data, sizeof data, signature, &size));
        }
    });
}

TEST(ManyThreads, ThatTryAWrongPinAreAllCounted) {
    SimDeck deck;
    const std::string card = deck.Add("ecard-g2");
    deck.Change(card, [](orselsim::Card& changed) {
        changed.m_Record.m_Pins.at("encryption").m_Pin.m_MaxTries = 20;
        changed.m_Record.m_Pins.at("encryption").m_Pin.m_TriesLeft = 20;
    });
    const TokenLibrary library;
    library.Slots();
    InThreads(4, [&](int) {
        const CK_SESSION_HANDLE session = library.Open(1);
        CK_BYTE pin[] = {'0', '0', '0', '0'};
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(Rv(CKR_PIN_INCORRECT), library->C_Login(session, CKU_USER, pin, sizeof pin));
        }
    });
    EXPECT_EQ(8U, deck.TriesLeft(card, "encryption"));
}
