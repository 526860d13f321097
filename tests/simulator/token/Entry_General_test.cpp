// SPDX-License-Identifier: MIT
#include <cstdio>
#include <cstring>
#include <memory>

#include <dlfcn.h>
#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orseltest::Field;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;

namespace {

CK_RV CreateMutex(void**) {
    return CKR_OK;
}
CK_RV UseMutex(void*) {
    return CKR_OK;
}

} // namespace

TEST(TokenLibraryStart, WorksOnceUntilItIsFinalised) {
    const SimDeck deck;
    const TokenLibrary library(false);
    EXPECT_EQ(Rv(CKR_OK), library->C_Initialize(nullptr));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_ALREADY_INITIALIZED), library->C_Initialize(nullptr));
    EXPECT_EQ(Rv(CKR_OK), library->C_Finalize(nullptr));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), library->C_Finalize(nullptr));
    EXPECT_EQ(Rv(CKR_OK), library->C_Initialize(nullptr));
}

TEST(TokenLibraryStart, NothingWorksBeforeIt) {
    const SimDeck deck;
    const TokenLibrary library(false);
    CK_INFO info = {};
    CK_ULONG count = 0;
    CK_SESSION_HANDLE session = 0;
    orseltest::Bytes value;
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), library->C_GetInfo(&info));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), library->C_GetSlotList(CK_TRUE, nullptr, &count));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED),
              library->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &session));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), library->C_CloseSession(1));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), library->C_DigestInit(1, nullptr));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), library.CardAttribute(1, "ATR", value));
}

TEST(TokenLibraryStart, TakesTheLockingArgumentsOfTheStandard) {
    struct Case {
        const char* m_Name;
        CK_C_INITIALIZE_ARGS m_Args;
        CK_RV m_Expected;
    };
    int something = 0;
    const Case cases[] = {
        {"system locking", {nullptr, nullptr, nullptr, nullptr, CKF_OS_LOCKING_OK, nullptr}, CKR_OK},
        {"no threads", {nullptr, nullptr, nullptr, nullptr, 0, nullptr}, CKR_OK},
        {"either", {CreateMutex, UseMutex, UseMutex, UseMutex, CKF_OS_LOCKING_OK, nullptr}, CKR_OK},
        {"own mutexes only", {CreateMutex, UseMutex, UseMutex, UseMutex, 0, nullptr}, CKR_CANT_LOCK},
        {"half of the mutexes",
         {CreateMutex, UseMutex, nullptr, nullptr, CKF_OS_LOCKING_OK, nullptr},
         CKR_ARGUMENTS_BAD},
        {"reserved set", {nullptr, nullptr, nullptr, nullptr, 0, &something}, CKR_ARGUMENTS_BAD},
    };
    const SimDeck deck;
    const TokenLibrary library(false);
    for (const Case& c : cases) {
        CK_C_INITIALIZE_ARGS args = c.m_Args;
        EXPECT_EQ(Rv(c.m_Expected), library->C_Initialize(&args)) << c.m_Name;
        EXPECT_EQ(Rv(c.m_Expected == CKR_OK ? CKR_OK : CKR_CRYPTOKI_NOT_INITIALIZED),
                  library->C_Finalize(nullptr))
            << c.m_Name;
    }
}

TEST(TokenLibraryStart, FinaliseRefusesAReservedArgumentAndGoesOn) {
    const SimDeck deck;
    const TokenLibrary library;
    int something = 0;
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_Finalize(&something));
    EXPECT_EQ(Rv(CKR_CRYPTOKI_ALREADY_INITIALIZED), library->C_Initialize(nullptr));
}

TEST(TokenLibraryInfo, NamesTheStandardAndItself) {
    const SimDeck deck;
    const TokenLibrary library;
    CK_INFO info = {};
    ASSERT_EQ(Rv(CKR_OK), library->C_GetInfo(&info));
    EXPECT_EQ(2, info.cryptokiVersion.major);
    EXPECT_EQ(40, info.cryptokiVersion.minor);
    EXPECT_EQ("Orsel                           ", Field(info.manufacturerID));
    EXPECT_EQ("Simulated token library         ", Field(info.libraryDescription));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_GetInfo(nullptr));
}

TEST(TokenLibraryEntryPoints, FunctionListIsCompleteAndEqualsTheExports) {
    const SimDeck deck;
    const TokenLibrary library(false);
    const char* const some[] = {"C_Initialize", "C_SetPIN", "C_WrapKey", "C_DigestFinal",
                                "C_WaitForSlotEvent"};
    for (const char* name : some) {
        EXPECT_NE(nullptr, library.Symbol(name)) << name;
    }
    EXPECT_NE(nullptr, library.Symbol("C_CardAttribute"));
    EXPECT_NE(nullptr, library.Symbol("C_CardTransmit"));

    // The table is a version and then nothing but function pointers.
    const CK_FUNCTION_LIST* list = library.operator->();
    const auto* bytes = reinterpret_cast<const unsigned char*>(list);
    for (std::size_t at = sizeof(void*); at < sizeof *list; at += sizeof(void*)) {
        void* entry = nullptr;
        std::memcpy(&entry, bytes + at, sizeof entry);
        EXPECT_NE(nullptr, entry) << "entry " << at / sizeof(void*);
    }
    EXPECT_EQ(library.Symbol("C_WaitForSlotEvent"), reinterpret_cast<void*>(list->C_WaitForSlotEvent));
    EXPECT_EQ(library.Symbol("C_Finalize"), reinterpret_cast<void*>(list->C_Finalize));
}

TEST(TokenLibraryEntryPoints, AreAllThatIsVisible) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(
        popen("nm --dynamic --defined-only --format=posix " ORSELSIM_LIBRARY, "r"), pclose);
    ASSERT_TRUE(pipe);
    int count = 0;
    char name[512];
    while (fscanf(pipe.get(), "%511s%*[^\n]", name) == 1) {
        EXPECT_THAT(name, testing::StartsWith("C_"));
        ++count;
    }
    EXPECT_EQ(70, count) << "68 of the standard and two of the vendor";
}

TEST(TokenLibraryEntryPoints, WhatCardsHaveNoUseForIsNotSupported) {
    const SimDeck deck;
    const TokenLibrary library;
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), library->C_InitToken(1, nullptr, 0, nullptr));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), library->C_SetPIN(1, nullptr, 0, nullptr, 0));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), library->C_CreateObject(1, nullptr, 0, nullptr));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), library->C_DecryptInit(1, nullptr, 0));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED),
              library->C_GenerateKeyPair(1, nullptr, nullptr, 0, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_PARALLEL), library->C_GetFunctionStatus(1));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_PARALLEL), library->C_CancelFunction(1));
}

TEST(TokenLibraryEntryPoints, LibraryCanBeUnloadedAndLoadedAgain) {
    SimDeck deck;
    deck.Add("empty");
    for (int i = 0; i < 3; ++i) {
        const TokenLibrary library;
        EXPECT_EQ(1U, library.Slots().size());
    }
    EXPECT_EQ(nullptr, dlopen(ORSELSIM_LIBRARY, RTLD_LAZY | RTLD_NOLOAD)) << "still in the process";
}
