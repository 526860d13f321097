// SPDX-License-Identifier: MIT
// Several threads in one library at a time; ThreadSanitizer watches them too.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orseltest::CardOptions;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;

namespace {

void inThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

long long millisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
        .count();
}

} // namespace

TEST(ManyThreads, ReadTheCardsOfOneDeck) {
    SimDeck deck;
    deck.add("ecard-g2");
    deck.add("ecard-g2");
    const TokenLibrary library;
    inThreads(4, [&](int number) {
        for (int i = 0; i < 10; ++i) {
            const CK_SESSION_HANDLE session = library.open(library.slots().at(number % 2));
            const CK_OBJECT_HANDLE object = library.findOne(session, CKO_CERTIFICATE, "C.CH.EKEY");
            EXPECT_FALSE(library.attribute(session, object, CKA_VALUE).empty());
            EXPECT_EQ(Rv(CKR_OK), library->C_CloseSession(session));
        }
    });
    EXPECT_EQ(0U, library.tokenInfo(1).ulSessionCount);
}

TEST(ManyThreads, WriteWholeLinesOfTheTrace) {
    SimDeck deck;
    deck.add("empty");
    const TokenLibrary library;
    inThreads(4, [&](int) {
        for (int i = 0; i < 50; ++i)
            library.tokenInfo(1);
    });
    EXPECT_EQ(200U, deck.trace("C_GetTokenInfo").size());
    for (const orseltest::TraceRecord& record : deck.trace())
        EXPECT_EQ("CKR_OK", record.result);
}

TEST(ManyThreads, OfWhichOneSpendsADelayDoNotWaitForIt) {
    SimDeck deck;
    deck.add("empty", CardOptions().delayMs(400));
    deck.add("empty");
    const TokenLibrary library;
    library.slots();
    std::atomic<long long> spent{0};
    inThreads(2, [&](int number) {
        const auto start = std::chrono::steady_clock::now();
        library.open(number == 0 ? 1 : 2);
        if (number == 1)
            spent = millisecondsSince(start);
    });
    EXPECT_LT(spent, 300);
}

TEST(ManyThreads, SeeCardsComeAndGo) {
    SimDeck deck;
    const std::string card = deck.add("empty");
    deck.add("empty");
    const TokenLibrary library;
    library.slots();
    testing::internal::CaptureStderr();
    inThreads(3, [&](int number) {
        for (int i = 0; i < 30; ++i) {
            if (number == 0) {
                deck.takeOut(card);
                deck.putBack(card);
                continue;
            }
            CK_SESSION_HANDLE session = 0;
            const CK_RV opened = library->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &session);
            EXPECT_TRUE(opened == CKR_OK || opened == CKR_TOKEN_NOT_PRESENT) << Rv(opened);
            if (opened == CKR_OK)
                library->C_CloseSession(session);
        }
    });
    EXPECT_EQ("", testing::internal::GetCapturedStderr()) << "a card that is taken out is not a damaged one";
}

TEST(ManyThreads, MayFindTheLibraryFinalisedWhenTheyWakeUp) {
    SimDeck deck;
    deck.add("empty", CardOptions().delayMs(150));
    const TokenLibrary library;
    library.slots();
    std::thread sleeper([&] {
        CK_SESSION_HANDLE session = 0;
        EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED),
                  library->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &session));
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(Rv(CKR_OK), library->C_Finalize(nullptr));
    sleeper.join();
}

TEST(ManyThreads, DoNotWaitForAUserWhoIsAskedForAPin) {
    SimDeck deck;
    deck.add("ecard-g2");
    deck.add("empty");
    const std::string bin = deck.folder() + "/bin";
    std::filesystem::create_directory(bin);
    std::ofstream(bin + "/pinentry") << "#!/bin/sh\n"
                                        "echo OK\n"
                                        "while read -r line; do\n"
                                        "    case $line in GETPIN) sleep 0.5; echo 'D 1234'; esac\n"
                                        "    echo OK\n"
                                        "done\n";
    std::filesystem::permissions(bin + "/pinentry", std::filesystem::perms::owner_all);
    const std::string pathBefore = std::getenv("PATH");
    setenv("PATH", (bin + ":" + pathBefore).c_str(), 1);
    unsetenv("ORSELSIM_PIN_SCRIPT");
    const TokenLibrary library;
    const CK_SESSION_HANDLE session = library.openFirst();
    std::thread asked([&] { EXPECT_EQ(Rv(CKR_OK), library->C_Login(session, CKU_USER, nullptr, 0)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto start = std::chrono::steady_clock::now();
    library.open(2);
    EXPECT_LT(millisecondsSince(start), 300);
    asked.join();
    setenv("PATH", pathBefore.c_str(), 1);
}

TEST(ManyThreads, SignWithTheSameCard) {
    SimDeck deck;
    deck.add("ecard-g2");
    const TokenLibrary library;
    const CK_SESSION_HANDLE first = library.openFirst();
    CK_BYTE pin[] = {'1', '2', '3', '4'};
    ASSERT_EQ(Rv(CKR_OK), library->C_Login(first, CKU_USER, pin, sizeof pin));
    inThreads(4, [&](int) {
        const CK_SESSION_HANDLE session = library.openFirst();
        const CK_OBJECT_HANDLE key = library.findOne(session, CKO_PRIVATE_KEY, "SK.CH.EKEY");
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
    const std::string card = deck.add("ecard-g2");
    deck.change(card, [](orselsim::Card& changed) {
        changed.record.pins.at("encryption").pin.maxTries = 20;
        changed.record.pins.at("encryption").pin.triesLeft = 20;
    });
    const TokenLibrary library;
    library.slots();
    inThreads(4, [&](int) {
        const CK_SESSION_HANDLE session = library.open(1);
        CK_BYTE pin[] = {'0', '0', '0', '0'};
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(Rv(CKR_PIN_INCORRECT), library->C_Login(session, CKU_USER, pin, sizeof pin));
    });
    EXPECT_EQ(8U, deck.triesLeft(card, "encryption"));
}
