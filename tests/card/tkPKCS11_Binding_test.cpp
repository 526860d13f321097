// SPDX-License-Identifier: MIT
// Binding to a token library that does as it is told.
#include "card/tkPKCS11.h"

#include <dlfcn.h>

#include <gmock/gmock.h>

#include "tests/card/TokenLibraryMock.h"
#include "tests/card/scripted/Script.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using namespace Velmor;

namespace {

constexpr const char* LIBRARY = "libOrselP11.so";

std::vector<std::string> g_NamesAsked;
std::vector<int> g_FlagsOfOpens;

} // namespace

// The linker sends the program's own calls of the loader here.
extern "C" void* __real_dlopen(const char* file, int flags);
extern "C" void* __wrap_dlopen(const char* file, int flags) {
    g_FlagsOfOpens.push_back(flags);
    return __real_dlopen(file, flags);
}
extern "C" void* __real_dlsym(void* handle, const char* name);
extern "C" void* __wrap_dlsym(void* handle, const char* name) {
    g_NamesAsked.push_back(name);
    return __real_dlsym(handle, name);
}

namespace {

/// The library is held, and its script kept, until the test ends, whatever the card objects do.
class Binding : public testing::Test {
protected:
    void SetUp() override {
        m_Library = __real_dlopen(LIBRARY, RTLD_NOW);
        ASSERT_NE(m_Library, nullptr) << dlerror();
        m_Script = static_cast<Script*>(__real_dlsym(m_Library, "g_TestScript"));
        *m_Script = Script();
        m_Script->m_InitializeArgument = this; // anything but null
        m_Script->m_FinalizeArgument = this;
        g_NamesAsked.clear();
        g_FlagsOfOpens.clear();
    }
    void TearDown() override {
        ProbedCard::m_bInitialized = false;
        TokenLibrary::Remove();
        if (m_Library != nullptr) {
            dlclose(m_Library);
        }
    }
    /// Lets the library go and tells whether somebody else still holds it.
    bool IsHeldByOthers() {
        dlclose(m_Library);
        m_Library = nullptr;
        void* held = __real_dlopen(LIBRARY, RTLD_NOW | RTLD_NOLOAD);
        if (held != nullptr) {
            dlclose(held);
        }
        return held != nullptr;
    }

    void* m_Library = nullptr;
    Script* m_Script = nullptr;
};

/// A pointer of the function table as the address it holds.
template <typename EntryPoint>
void* AddressOf(EntryPoint entryPoint) {
    return reinterpret_cast<void*>(entryPoint);
}

struct TableRow {
    const char* m_Name;
    void* m_EntryPoint;
};

#define ROW(name)                                                                                            \
    { #name, AddressOf(tkPKCS11::Proc_##name) }

std::vector<TableRow> SessionRows() {
    return {
        ROW(C_Initialize),      ROW(C_GetSlotList), ROW(C_WaitForSlotEvent),
        ROW(C_GetTokenInfo),    ROW(C_GetSlotInfo), ROW(C_OpenSession),
        ROW(C_CloseSession),    ROW(C_DigestInit),  ROW(C_DigestUpdate),
        ROW(C_DigestFinal),     ROW(C_Login),       ROW(C_Logout),
        ROW(C_FindObjectsInit), ROW(C_FindObjects), ROW(C_FindObjectsFinal),
    };
}

std::vector<TableRow> KeyAndObjectRows() {
    return {
        ROW(C_SignInit),         ROW(C_Sign),
        ROW(C_VerifyInit),       ROW(C_Verify),
        ROW(C_GenerateKey),      ROW(C_EncryptInit),
        ROW(C_EncryptUpdate),    ROW(C_Encrypt),
        ROW(C_EncryptFinal),     ROW(C_WrapKey),
        ROW(C_UnwrapKey),        ROW(C_DecryptInit),
        ROW(C_DecryptUpdate),    ROW(C_Decrypt),
        ROW(C_DecryptFinal),     ROW(C_GetAttributeValue),
        ROW(C_DestroyObject),    ROW(C_CreateObject),
        ROW(C_SetPIN),           ROW(C_SetAttributeValue),
        ROW(C_GetInfo),          ROW(C_Finalize),
        ROW(C_SeedRandom),       ROW(C_GenerateRandom),
        ROW(C_GetMechanismList), ROW(C_GetMechanismInfo),
        ROW(C_CardTransmit),     ROW(C_CardAttribute),
    };
}

#undef ROW

std::vector<TableRow> Table() {
    std::vector<TableRow> rows = SessionRows();
    for (const TableRow& row : KeyAndObjectRows()) {
        rows.push_back(row);
    }
    return rows;
}

/// Fills a field of the library's information to its last byte, without a terminator.
template <size_t Width>
std::string FillWhole(CK_UTF8CHAR (&field)[Width], char first) {
    std::string text;
    for (size_t i = 0; i < Width; ++i) {
        text += static_cast<char>(first + i % 10);
    }
    std::copy(text.begin(), text.end(), field);
    return text;
}

} // namespace

// --- The function table ------------------------------------------------------------------------------------

TEST_F(Binding, PutsEachEntryPointIntoItsOwnPlace) {
    ProbedCard card;
    ASSERT_TRUE(ProbedCard::m_bInitialized);
    for (const TableRow& row : Table()) {
        EXPECT_NE(row.m_EntryPoint, nullptr) << row.m_Name;
        EXPECT_EQ(row.m_EntryPoint, __real_dlsym(m_Library, row.m_Name)) << row.m_Name;
    }
    card.Destroy();
}

TEST_F(Binding, AsksForTheEntryPointsInTheOrderOfTheTable) {
    ProbedCard card;
    std::vector<std::string> names;
    for (const TableRow& row : Table()) {
        names.emplace_back(row.m_Name);
    }
    EXPECT_THAT(g_NamesAsked, ElementsAreArray(names));
    card.Destroy();
}

TEST_F(Binding, LeavesTheLibrarysOwnReferencesToTheirFirstUse) {
    ProbedCard card;
    EXPECT_THAT(g_FlagsOfOpens, ElementsAre(RTLD_LAZY));
    card.Destroy();
}

TEST_F(Binding, KeepsTheTableWhenItEnds) {
    ProbedCard card;
    card.Destroy();
    for (const TableRow& row : Table()) {
        EXPECT_NE(row.m_EntryPoint, nullptr) << row.m_Name;
    }
}

// --- Beginning and end -------------------------------------------------------------------------------------

TEST_F(Binding, TellsTheLibraryOfNoThreadsAndEndsItWithoutAnArgument) {
    ProbedCard card;
    EXPECT_EQ(m_Script->m_InitializeArgument, nullptr);
    card.Destroy();
    EXPECT_EQ(m_Script->m_FinalizeCalls, 1);
    EXPECT_EQ(m_Script->m_FinalizeArgument, nullptr);
}

TEST_F(Binding, MayBeTriedAgainAfterAFailureAndIsGivenUpWhole) {
    m_Script->m_InitializeAnswer = CKR_DEVICE_ERROR;
    ProbedCard card;
    const LogCapture log;
    EXPECT_FALSE(card.Init());
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Aufruf Proc_C_Initialize() ERROR0x30"));
    EXPECT_FALSE(ProbedCard::m_bInitialized);
    EXPECT_NE(card.m_hLibrary, nullptr);
    m_Script->m_InitializeAnswer = CKR_OK;
    log.Clear();
    EXPECT_TRUE(card.Init());
    EXPECT_THAT(log.Errors(), IsEmpty());
    EXPECT_EQ(m_Script->m_InitializeCalls, 3);
    EXPECT_TRUE(card.Destroy());
    EXPECT_EQ(m_Script->m_FinalizeCalls, 1);
    EXPECT_EQ(card.m_hLibrary, nullptr);
    EXPECT_FALSE(IsHeldByOthers());
}

TEST_F(Binding, ThatNeverSucceededIsGivenUpWholeToo) {
    m_Script->m_GetInfoAnswer = CKR_GENERAL_ERROR;
    ProbedCard card;
    EXPECT_FALSE(card.Init());
    EXPECT_FALSE(card.Init());
    EXPECT_TRUE(card.Destroy());
    EXPECT_FALSE(IsHeldByOthers());
}

TEST_F(Binding, IsNotEndedByTheDestructor) {
    { const ProbedCard card; }
    EXPECT_EQ(m_Script->m_InitializeCalls, 1);
    EXPECT_EQ(m_Script->m_FinalizeCalls, 0);
    EXPECT_TRUE(ProbedCard::m_bInitialized);
    EXPECT_TRUE(IsHeldByOthers());
}

TEST_F(Binding, ReadsTheClientsVersionAnewEachTime) {
    ProbedCard card;
    const std::vector<int> version(card.m_ClientVersion, card.m_ClientVersion + 4);
    card.Destroy();
    std::fill(card.m_ClientVersion, card.m_ClientVersion + 4, 99);
    ASSERT_TRUE(card.Init());
    EXPECT_THAT(card.m_ClientVersion, ElementsAreArray(version));
    card.Destroy();
}

// --- What the library tells about itself -------------------------------------------------------------------

TEST_F(Binding, CutsTheLibrarysTextsAtTheirWidth) {
    std::memset(&m_Script->m_Info, 'x', sizeof(m_Script->m_Info)); // so that no zero byte follows a text
    const std::string manufacturer = FillWhole(m_Script->m_Info.manufacturerID, 'A');
    const std::string description = FillWhole(m_Script->m_Info.libraryDescription, 'a');
    m_Script->m_Info.libraryVersion = {9, 255};
    ProbedCard card;
    EXPECT_EQ(card.m_Manufacturer, manufacturer);
    EXPECT_EQ(card.m_Manufacturer.size(), 32U);
    EXPECT_EQ(card.m_Description, description);
    EXPECT_EQ(card.m_Version, "9.255");
    card.Destroy();
}

TEST_F(Binding, KeepsTheBlanksOfTheLibrarysTextsAndEndsThemAtAZeroByte) {
    FillField(m_Script->m_Info.manufacturerID, "Orsel");
    FillField(m_Script->m_Info.libraryDescription, "Token");
    m_Script->m_Info.libraryDescription[7] = 0;
    ProbedCard card;
    EXPECT_EQ(card.m_Manufacturer, "Orsel" + std::string(27, ' '));
    EXPECT_EQ(card.m_Description, "Token  ");
    card.Destroy();
}
