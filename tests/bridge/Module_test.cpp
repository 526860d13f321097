// SPDX-License-Identifier: MIT
// Libraries behind the bridge that are not there, or not as they should be.
#include "bridge/Module.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using orseltest::Bytes;
using orseltest::Rv;
using orseltest::TokenLibrary;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr CK_SLOT_ID SLOT = 5;

struct Start {
    Rv m_Code = CKR_OK;
    std::string m_Error; ///< on standard error
};

Start StartOn(const std::string& module) {
    const ScopedVariable file("ORSELBRIDGE_MODULE", module);
    const TokenLibrary bridge(false);
    testing::internal::CaptureStderr();
    const Rv code = bridge->C_Initialize(nullptr);
    return {code, testing::internal::GetCapturedStderr()};
}

long LinesIn(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

} // namespace

/// The stub, which has few entry points to begin with.
class AModule : public testing::Test {
protected:
    void Is(const std::string& way) {
        m_Way.emplace("ORSEL_STUB", way);
        m_Bridge.emplace();
    }
    CK_SESSION_HANDLE Open() const { return m_Bridge->Open(SLOT); }

    const TempDir m_Folder;
    const ScopedVariable m_Settings{"XDG_CONFIG_HOME", m_Folder.Path()};
    const ScopedVariable m_Module{"ORSELBRIDGE_MODULE", ORSEL_STUB_MODULE};
    const ScopedVariable m_NoService{"PCSCLITE_CSOCK_NAME", "/no/such/socket"};
    std::optional<ScopedVariable> m_Way;
    std::optional<TokenLibrary> m_Bridge;
};

TEST_F(AModule, ThatIsNotThereIsRefusedInOneLine) {
    const Start start = StartOn("/no/such/module.so");
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), start.m_Code);
    EXPECT_THAT(start.m_Error, StartsWith("OrselP11: no module: /no/such/module.so"));
    EXPECT_EQ(1, LinesIn(start.m_Error));
}

TEST_F(AModule, IsTheFirstThatCanBeLoaded) {
    testing::internal::CaptureStderr();
    EXPECT_THROW(orselbridge::Module({"/no/a.so", "/no/b.so"}), orselbridge::Refusal);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex("OrselP11: no module: /no/a\\.so: .*; /no/b\\.so: .*\n"));
    EXPECT_EQ(ORSEL_STUB_MODULE, orselbridge::Module({"/no/a.so", ORSEL_STUB_MODULE}).File());
}

TEST_F(AModule, OfAnotherArchitectureIsRefusedInOneLine) {
    std::string header = ContentOf(ORSEL_STUB_MODULE).substr(0, 4096);
    constexpr std::size_t MACHINE = 18; // ELF: e_machine, two bytes
    header[MACHINE] = '\x08';           // MIPS
    header[MACHINE + 1] = '\0';
    const Start start = StartOn(m_Folder.File("foreign.so", header));
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), start.m_Code);
    EXPECT_THAT(start.m_Error, StartsWith("OrselP11: no module: "));
    EXPECT_EQ(1, LinesIn(start.m_Error));
}

TEST_F(AModule, ThatIsNoTokenLibraryIsRefused) {
    const Start start = StartOn("libm.so.6");
    EXPECT_EQ(Rv(CKR_GENERAL_ERROR), start.m_Code);
    EXPECT_EQ("OrselP11: libm.so.6: it is no PKCS#11 library: it has no C_GetFunctionList\n", start.m_Error);
}

TEST_F(AModule, IsNotTheBridgeItself) {
    EXPECT_EQ("OrselP11: " ORSELSIM_LIBRARY ": the bridge cannot lead to itself\n",
              StartOn(ORSELSIM_LIBRARY).m_Error);
}

TEST_F(AModule, WithABrokenBeginningIsRefused) {
    struct Case {
        const char* m_Way;
        CK_RV m_Code;
        const char* m_Says;
    };
    const Case cases[] = {
        {"has no list", CKR_GENERAL_ERROR, "it gives no function list: CKR_OK"},
        {"refuses its list", CKR_GENERAL_ERROR, "it gives no function list: CKR_GENERAL_ERROR"},
        {"is of version 1", CKR_GENERAL_ERROR, "its function list is of version 1"},
        {"lacks C_Initialize", CKR_GENERAL_ERROR, "its function list lacks C_Initialize"},
        {"breaks at the start", CKR_DEVICE_ERROR, "C_Initialize: CKR_DEVICE_ERROR"},
    };
    for (const Case& each : cases) {
        const ScopedVariable way("ORSEL_STUB", each.m_Way);
        const Start start = StartOn(ORSEL_STUB_MODULE);
        EXPECT_EQ(Rv(each.m_Code), start.m_Code) << each.m_Way;
        EXPECT_THAT(start.m_Error, HasSubstr(each.m_Says)) << each.m_Way;
        EXPECT_EQ(1, LinesIn(start.m_Error)) << start.m_Error;
    }
}

TEST_F(AModule, ThatCannotLockIsUsedOneCallAtATime) {
    Is("cannot lock");
    EXPECT_EQ(std::vector<CK_SLOT_ID>{SLOT}, m_Bridge->Slots());
}

TEST_F(AModule, WithoutEntryPointsAnswersThatTheyAreNotSupported) {
    Is("lacks the rest");
    const CK_SESSION_HANDLE session = Open();
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), (*m_Bridge)->C_FindObjectsInit(session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), (*m_Bridge)->C_GenerateRandom(session, nullptr, 0));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), (*m_Bridge)->C_Logout(session));
    CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), (*m_Bridge)->C_SignInit(session, &mechanism, 1));
}

TEST_F(AModule, WithLengthsBeyondReasonIsStopped) {
    testing::internal::CaptureStderr();
    Is("has slots without end");
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), (*m_Bridge)->C_GetSlotList(CK_TRUE, nullptr, &count));
    m_Way.emplace("ORSEL_STUB", "grows");
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), (*m_Bridge)->C_GetSlotList(CK_TRUE, nullptr, &count));
    m_Way.emplace("ORSEL_STUB", "gives no handle");
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR),
              (*m_Bridge)->C_OpenSession(SLOT, CKF_SERIAL_SESSION, nullptr, nullptr, &session));
    for (const char* way : {"finds too many", "finds without end"}) {
        m_Way.emplace("ORSEL_STUB", way);
        EXPECT_EQ(Rv(CKR_DEVICE_ERROR), (*m_Bridge)->C_FindObjectsInit(Open(), nullptr, 0)) << way;
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("C_FindObjects: a length of 1000000000"));
}

TEST_F(AModule, WithABlockedPinIsNotAskedForIt) {
    Is("has a blocked PIN");
    const CK_SESSION_HANDLE session = Open();
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), (*m_Bridge)->C_Login(session, CKU_USER, nullptr, 0));
    Bytes status;
    EXPECT_EQ(Rv(CKR_OK), m_Bridge->CardAttribute(session, "GewSig/PIN-Status", status));
    EXPECT_EQ(Bytes({0}), status);
}

TEST_F(AModule, WithoutACardServiceHasNoAtrAndNoCommands) {
    Is("");
    const CK_SESSION_HANDLE session = Open();
    Bytes value;
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), m_Bridge->CardAttribute(session, "ATR", value));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), m_Bridge->CardAttribute(session, "Reset", value));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED),
              m_Bridge->CardAttribute(session, "SV-Personendaten/EHIC", value));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), m_Bridge->Transmit(session, Bytes{0, 0xB0, 0, 0, 0}, value));
}
