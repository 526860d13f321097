// SPDX-License-Identifier: MIT
// Several threads in one library at a time; ThreadSanitizer watches them too.
#include <atomic>
#include <chrono>
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

long millisecondsSince(std::chrono::steady_clock::time_point start) {
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
    std::atomic<long> spent{0};
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
