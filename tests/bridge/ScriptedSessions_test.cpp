// SPDX-License-Identifier: MIT
// Sessions, logins and PIN commands over a module, and what it hears of them.
#include <filesystem>

#include "tests/bridge/ScriptTest.h"
#include "tokenlib/Pkcs11.h"

using orseltest::Bytes;
using orseltest::Field;
using orseltest::ModuleScript;
using orseltest::Rv;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tokenlib::CHANGE_PIN_COMMAND;
using tokenlib::FORCE_SOFTWARE_PIN;
using tokenlib::UNBLOCK_PIN_COMMAND;

class ASessionOfTheModule : public orseltest::ScriptTest {
protected:
    ModuleScript::Token& Token() { return m_Script.m_Tokens[ModuleScript::SLOT]; }
    Rv Login(CK_USER_TYPE user, const char* pin) const {
        std::string text = pin == nullptr ? "" : pin;
        auto* bytes = reinterpret_cast<CK_BYTE*>(text.data());
        return Call().C_Login(m_Session, user, pin == nullptr ? nullptr : bytes, text.size());
    }
    Bytes TriesLeft() const {
        Bytes tries;
        EXPECT_EQ(Rv(CKR_OK), m_Bridge->CardAttribute(m_Session, "SicSig/PIN-Status", tries));
        return tries;
    }
};

TEST_F(ASessionOfTheModule, IsClosedWithAllOthersOfItsSlot) {
    m_Script.m_Tokens[6] = ModuleScript::Token();
    Start();
    const CK_SESSION_HANDLE second = m_Bridge->Open(ModuleScript::SLOT);
    const CK_SESSION_HANDLE elsewhere = m_Bridge->Open(6);
    EXPECT_EQ(Rv(CKR_OK), Call().C_CloseAllSessions(ModuleScript::SLOT));
    EXPECT_THAT(HeardOf("C_CloseSession"), ElementsAre("C_CloseSession 101", "C_CloseSession 102"));
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), Call().C_GetSessionInfo(m_Session, &info));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), Call().C_GetSessionInfo(second, &info));
    EXPECT_EQ(Rv(CKR_OK), Call().C_GetSessionInfo(elsewhere, &info));
    EXPECT_EQ(Rv(CKR_SLOT_ID_INVALID), Call().C_CloseAllSessions(7));
}

TEST_F(ASessionOfTheModule, TellsHowItsClosingWent) {
    Start();
    m_Script.m_Codes["C_CloseSession"] = {CKR_SESSION_CLOSED};
    EXPECT_EQ(Rv(CKR_SESSION_CLOSED), Call().C_CloseSession(m_Session));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), Call().C_CloseSession(m_Session))
        << "it is closed all the same";
    EXPECT_THAT(HeardOf("C_CloseSession"), SizeIs(1));
}

TEST_F(ASessionOfTheModule, TakesAPinAsItIsGiven) {
    Start();
    EXPECT_EQ(Rv(CKR_OK), Login(CKU_USER, "1234"));
    EXPECT_EQ(Rv(CKR_OK), Login(CKU_SO, "12345678"));
    EXPECT_THAT(HeardOf("C_Login"), ElementsAre("C_Login 101 1 1234", "C_Login 101 0 12345678"));
    m_Script.m_Codes["C_Login"] = {CKR_PIN_LEN_RANGE};
    EXPECT_EQ(Rv(CKR_PIN_LEN_RANGE), Login(CKU_USER, "1"));
}

TEST_F(ASessionOfTheModule, HasThePinAskedForThatIsNotGiven) {
    Start();
    Answer("1234\n12345678\n1\n2\n");
    EXPECT_EQ(Rv(CKR_OK), Login(CKU_USER, nullptr));
    EXPECT_EQ(Rv(CKR_OK), Login(CKU_SO, ""));
    EXPECT_THAT(HeardOf("C_Login"), ElementsAre("C_Login 101 1 1234", "C_Login 101 0 12345678"));
    for (const CK_RV code : {CKR_PIN_LEN_RANGE, CKR_PIN_INVALID}) {
        m_Script.m_Codes["C_Login"] = {code};
        EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Login(CKU_USER, nullptr)) << "what a person typed is wrong";
    }
}

TEST_F(ASessionOfTheModule, LeavesTheQuestionToAReaderWithAKeypad) {
    Token().m_Flags |= CKF_PROTECTED_AUTHENTICATION_PATH;
    Start();
    EXPECT_EQ(Rv(CKR_OK), Login(CKU_USER, nullptr));
    EXPECT_THAT(HeardOf("C_Login"), ElementsAre("C_Login 101 1 -"));
}

TEST_F(ASessionOfTheModule, AsksForNoPinThatIsBlocked) {
    Token().m_Flags |= CKF_USER_PIN_LOCKED;
    Start();
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), Login(CKU_USER, nullptr));
    Answer("12345678\n");
    EXPECT_EQ(Rv(CKR_OK), Login(CKU_SO, nullptr)) << "the officer's is another";
    m_Script.m_IsLoggedIn = false;
    Token().m_Flags |= CKF_SO_PIN_LOCKED;
    EXPECT_EQ(Rv(CKR_PIN_LOCKED), Login(CKU_SO, nullptr));
    EXPECT_THAT(HeardOf("C_Login"), SizeIs(1));
}

/// A program in the place of pinentry that answers "1234" to each question and notes what it hears.
class AQuestionForAPin : public ASessionOfTheModule {
protected:
    AQuestionForAPin() {
        const std::string program = "#!/bin/sh\n"
                                    "echo 'OK ready'\n"
                                    "while read -r line; do\n"
                                    "    echo \"$line\" >>\"${0%/*}/heard\"\n"
                                    "    [ \"$line\" != GETPIN ] || echo 'D 1234'\n"
                                    "    echo OK\n"
                                    "    [ \"$line\" != BYE ] || exit\n"
                                    "done\n";
        std::filesystem::permissions(m_Folder.File("pinentry", program), std::filesystem::perms::owner_all);
    }
    std::string Heard() const { return ContentOf(m_Folder.Path("heard")); }

    const ScopedVariable m_NoScript{"ORSELBRIDGE_PIN_SCRIPT", nullptr};
    const FolderOnPath m_Path{m_Folder.Path()};
};

TEST_F(AQuestionForAPin, NamesTheCardAndHowManyTriesMayBeLeft) {
    struct Case {
        CK_FLAGS m_Flags;
        const char* m_Line;
    };
    Token().m_Serial = "0123";
    Start();
    for (const Case& each : {Case{0, "SETDESC Karte: Script, 0123%0APIN eingeben\n"},
                             Case{CKF_USER_PIN_COUNT_LOW, "PIN eingeben%0AZuletzt falsch eingegeben\n"},
                             Case{CKF_USER_PIN_FINAL_TRY, "PIN eingeben%0ALetzter Versuch\n"}}) {
        Token().m_Flags = CKF_LOGIN_REQUIRED | each.m_Flags;
        EXPECT_EQ(Rv(CKR_OK), Login(CKU_USER, nullptr));
        EXPECT_THAT(Heard(), testing::HasSubstr(each.m_Line));
    }
    Token().m_Flags = CKF_LOGIN_REQUIRED | CKF_SO_PIN_FINAL_TRY;
    EXPECT_EQ(Rv(CKR_OK), Login(CKU_SO, nullptr));
    EXPECT_THAT(Heard(), testing::HasSubstr("PUK eingeben%0ALetzter Versuch\nSETPROMPT PUK:\n"));
}

TEST_F(AQuestionForAPin, SaysHowLongANewOneMayBeIfTheTokenKnows) {
    Add(7, CKO_DATA, "note");
    Start();
    struct Case {
        CK_ULONG m_Shortest;
        CK_ULONG m_Longest;
        const char* m_Line;
    };
    for (const Case& each : {Case{4, 8, "%0ANeue PIN eingeben, 4 bis 8 Zeichen\n"},
                             Case{8, 4, "%0ANeue PIN eingeben\n"}, Case{0, 0, "%0ANeue PIN eingeben\n"},
                             Case{4, CK_UNAVAILABLE_INFORMATION, "%0ANeue PIN eingeben\n"}}) {
        std::filesystem::remove(m_Folder.Path("heard"));
        Token().m_ShortestPin = each.m_Shortest;
        Token().m_LongestPin = each.m_Longest;
        EXPECT_EQ(Rv(CKR_OK), Command(7, {CHANGE_PIN_COMMAND}));
        EXPECT_THAT(Heard(), testing::HasSubstr(each.m_Line));
    }
}

TEST_F(ASessionOfTheModule, CountsTheTriesByTheTokensFlags) {
    Start();
    const CK_FLAGS usual = CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED;
    struct Case {
        CK_FLAGS m_Flags;
        unsigned char m_Tries;
    };
    for (const Case& each :
         {Case{usual, 3}, Case{usual | CKF_USER_PIN_COUNT_LOW, 2},
          Case{usual | CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY, 1},
          Case{usual | CKF_USER_PIN_FINAL_TRY | CKF_USER_PIN_LOCKED, 0}, Case{CKF_LOGIN_REQUIRED, 0xFF}}) {
        Token().m_Flags = each.m_Flags;
        EXPECT_EQ(Bytes({each.m_Tries}), TriesLeft()) << std::hex << each.m_Flags;
    }
}

TEST_F(ASessionOfTheModule, ChangesAPin) {
    Add(7, CKO_DATA, "note");
    Start();
    Answer("1234\n4321\n4321\n");
    EXPECT_EQ(Rv(CKR_OK), Command(7, {CHANGE_PIN_COMMAND}));
    EXPECT_THAT(HeardOf("C_SetPIN"), ElementsAre("C_SetPIN 102 1234 4 4321 4"));
    EXPECT_THAT(HeardOf("C_OpenSession"), ElementsAre("C_OpenSession 5 6 - -")) << "one that may write";
    EXPECT_THAT(HeardOf("C_CloseSession"), ElementsAre("C_CloseSession 102"));
    EXPECT_THAT(HeardOf("C_Login"), IsEmpty());
}

TEST_F(ASessionOfTheModule, LogsInToChangeAPinWhereTheModuleWantsIt) {
    Add(7, CKO_DATA, "note");
    Start();
    Answer("1234\n4321\n4321\n");
    m_Script.m_Codes["C_SetPIN"] = {CKR_USER_NOT_LOGGED_IN};
    EXPECT_EQ(Rv(CKR_OK), Command(7, {CHANGE_PIN_COMMAND}));
    EXPECT_THAT(HeardOf("C_Login"), ElementsAre("C_Login 102 1 1234"));
    EXPECT_THAT(HeardOf("C_SetPIN"), SizeIs(2));
    EXPECT_THAT(HeardOf("C_Logout"), ElementsAre("C_Logout 102"));
}

TEST_F(ASessionOfTheModule, LeavesSomebodyElsesLoginAlone) {
    Add(7, CKO_DATA, "note");
    Start();
    Answer("1234\n4321\n4321\n");
    m_Script.m_Codes["C_SetPIN"] = {CKR_USER_NOT_LOGGED_IN};
    m_Script.m_Codes["C_Login"] = {CKR_USER_ALREADY_LOGGED_IN};
    EXPECT_EQ(Rv(CKR_OK), Command(7, {CHANGE_PIN_COMMAND}));
    EXPECT_THAT(HeardOf("C_Logout"), IsEmpty());
}

TEST_F(ASessionOfTheModule, ChangesNoPinWithoutTheFunctionForIt) {
    m_Script.m_Missing = {"C_SetPIN", "C_InitPIN"};
    Add(7, CKO_DATA, "note");
    Start();
    Answer("1234\n4321\n4321\n");
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), Command(7, {CHANGE_PIN_COMMAND}));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), Command(7, {UNBLOCK_PIN_COMMAND}));
    EXPECT_THAT(HeardOf("C_OpenSession"), IsEmpty());
}

TEST_F(ASessionOfTheModule, SetsThePinThatHasNeverBeenSetAsTheOfficer) {
    Add(7, CKO_DATA, "note");
    Token().m_Flags = CKF_LOGIN_REQUIRED;
    Start();
    Answer("12345678\n4321\n4321\n");
    EXPECT_EQ(Rv(CKR_OK), Command(7, {CHANGE_PIN_COMMAND}));
    EXPECT_THAT(HeardOf("C_Login"), ElementsAre("C_Login 102 0 12345678"));
    EXPECT_THAT(HeardOf("C_InitPIN"), ElementsAre("C_InitPIN 102 4321 4"));
    EXPECT_THAT(HeardOf("C_OpenSession"), ElementsAre("C_OpenSession 5 6 - -", "C_OpenSession 5 4 - -"))
        << "the reading session stood aside";
}

TEST_F(ASessionOfTheModule, StandsAsideForItsOwnTokensOfficerAlone) {
    m_Script.m_Tokens[6] = ModuleScript::Token();
    Add(7, CKO_DATA, "note");
    Start();
    m_Bridge->Open(6);
    Answer("12345678\n4321\n4321\n");
    m_Script.m_Heard.clear();
    EXPECT_EQ(Rv(CKR_OK), Command(7, {UNBLOCK_PIN_COMMAND}));
    EXPECT_THAT(HeardOf("C_CloseSession"), ElementsAre("C_CloseSession 101", "C_CloseSession 103"));
}

TEST_F(ASessionOfTheModule, MayFindItsTokenGoneAfterTheOfficersWork) {
    Add(7, CKO_DATA, "note");
    Start();
    Answer("12345678\n4321\n4321\n");
    m_Script.m_Codes["C_OpenSession"] = {CKR_OK, CKR_TOKEN_NOT_PRESENT};
    EXPECT_EQ(Rv(CKR_OK), Command(7, {UNBLOCK_PIN_COMMAND}));
    m_Script.m_Heard.clear();
    m_Script.m_Codes["C_GetSessionInfo"] = {CKR_SESSION_HANDLE_INVALID};
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), Call().C_GetSessionInfo(m_Session, &info));
}

TEST_F(ASessionOfTheModule, AsksOnTheScreenOnlyWhereTheReaderHasNoKeypad) {
    Add(7, CKO_DATA, "note");
    Start();
    Answer("1234\n4321\n4321\n");
    EXPECT_EQ(Rv(CKR_OK), Command(7, {FORCE_SOFTWARE_PIN, CHANGE_PIN_COMMAND}, true));
    Token().m_Flags |= CKF_PROTECTED_AUTHENTICATION_PATH;
    EXPECT_EQ(Rv(CKR_FUNCTION_FAILED), Command(7, {FORCE_SOFTWARE_PIN, CHANGE_PIN_COMMAND}, true));
    EXPECT_THAT(HeardOf("C_SetPIN"), SizeIs(1));
    EXPECT_EQ(Rv(CKR_OK), Command(7, {FORCE_SOFTWARE_PIN, CHANGE_PIN_COMMAND}, false));
    EXPECT_THAT(HeardOf("C_SetPIN"), ElementsAre("C_SetPIN 102 1234 4 4321 4", "C_SetPIN 103 - 0 - 0"));
}

TEST_F(ASessionOfTheModule, TakesNoCommandThatMakesNoSense) {
    Add(7, CKO_DATA, "note");
    Start();
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Command(7, {}));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Command(7, {FORCE_SOFTWARE_PIN})) << "a wish without a command";
    EXPECT_EQ(Rv(CKR_TEMPLATE_INCONSISTENT), Command(7, {CHANGE_PIN_COMMAND, UNBLOCK_PIN_COMMAND}));
    EXPECT_EQ(Rv(CKR_TEMPLATE_INCONSISTENT), Command(7, {CHANGE_PIN_COMMAND, CKA_LABEL}));
    EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), Command(8, {CHANGE_PIN_COMMAND}));
    CK_ULONG number = 0;
    CK_ATTRIBUTE label = {CKA_LABEL, &number, 1};
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Call().C_SetAttributeValue(m_Session, 7, &label, 0)) << "no attribute";
    for (CK_ATTRIBUTE bad : {CK_ATTRIBUTE{CHANGE_PIN_COMMAND, nullptr, sizeof(CK_BBOOL)},
                             CK_ATTRIBUTE{CHANGE_PIN_COMMAND, &number, sizeof number}}) {
        EXPECT_EQ(Rv(CKR_ATTRIBUTE_VALUE_INVALID), Call().C_SetAttributeValue(m_Session, 7, &bad, 1));
    }
    EXPECT_THAT(HeardOf("C_SetPIN"), IsEmpty());
    EXPECT_THAT(HeardOf("C_SetAttributeValue"), IsEmpty());
}

TEST_F(ASessionOfTheModule, SendsNoCommandToTheCardOfALengthThatNoneHas) {
    Start();
    Bytes response;
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), m_Bridge->Transmit(m_Session, Bytes(3), response));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), m_Bridge->Transmit(m_Session, Bytes(4 + 3 + 65535 + 3 + 1), response));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), m_Bridge->Transmit(m_Session, Bytes(4), response))
        << "there is no reader";
}

TEST_F(ASessionOfTheModule, KnowsATokenThatComesIntoItsSlotInAnothersPlace) {
    Token().m_Serial = "";
    Start();
    const std::string first = Field(m_Bridge->TokenInfo(ModuleScript::SLOT).serialNumber);
    Token().m_Label = "Another";
    EXPECT_NE(first, Field(m_Bridge->TokenInfo(ModuleScript::SLOT).serialNumber));
    Token().m_Label = "Script";
    EXPECT_EQ(first, Field(m_Bridge->TokenInfo(ModuleScript::SLOT).serialNumber));
}

TEST_F(ASessionOfTheModule, HasAModelOfTheFamilyThatNoSettingReplaces) {
    Set(R"({"model": "CardOS 5.3"})");
    Start();
    EXPECT_EQ("CardOS 5.3      ", Field(m_Bridge->TokenInfo(ModuleScript::SLOT).model));
    Token().m_Model = "ATOS 5.3 v2";
    EXPECT_EQ("ATOS 5.3 v2     ", Field(m_Bridge->TokenInfo(ModuleScript::SLOT).model));
}

TEST_F(ASessionOfTheModule, GetsASerialThoughItsSlotIsNotListed) {
    m_Script.m_Tokens[6] = ModuleScript::Token();
    m_Script.m_Tokens[6].m_Model = "p11-kit-trust";
    Start();
    EXPECT_THAT(m_Bridge->Slots(), ElementsAre(ModuleScript::SLOT)) << "the system's trust is no card";
    EXPECT_NE("", Field(m_Bridge->TokenInfo(6).serialNumber));
}

TEST_F(ASessionOfTheModule, KeepsItsTokensSerialBesideATokenThatSaysNothing) {
    m_Script.m_Tokens[6] = ModuleScript::Token();
    Start();
    m_Script.m_Codes["C_GetSlotInfo"] = {CKR_OK, CKR_DEVICE_ERROR};
    testing::internal::CaptureStderr();
    EXPECT_EQ("0123456789ABCDEF", Field(m_Bridge->TokenInfo(ModuleScript::SLOT).serialNumber));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(": CKR_DEVICE_ERROR\n"));
}

TEST_F(ASessionOfTheModule, HearsOfABrokenFunctionOnce) {
    Start();
    testing::internal::CaptureStderr();
    CK_SESSION_INFO info = {};
    for (const CK_RV code : {CKR_HOST_MEMORY, CKR_FUNCTION_FAILED, CKR_DEVICE_MEMORY, CKR_GENERAL_ERROR}) {
        m_Script.m_Codes["C_GetSessionInfo"] = {code};
        EXPECT_EQ(Rv(code), Call().C_GetSessionInfo(m_Session, &info));
    }
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, std::count(said.begin(), said.end(), '\n')) << said;
    EXPECT_THAT(said, testing::HasSubstr(": CKR_HOST_MEMORY\n"));
}

TEST_F(ASessionOfTheModule, BeginsWithAModuleThatWantsNoArguments) {
    for (const CK_RV code : {CKR_CANT_LOCK, CKR_ARGUMENTS_BAD, CKR_NEED_TO_CREATE_THREADS}) {
        m_Script.m_Codes["C_Initialize"] = {code};
        m_Script.m_Heard.clear();
        m_Bridge.emplace();
        EXPECT_THAT(m_Script.m_Heard, ElementsAre("C_Initialize pointer", "C_Initialize -"));
        m_Bridge.reset();
    }
}

TEST_F(ASessionOfTheModule, LeavesAModuleRunningThatSomebodyElseBegan) {
    m_Script.m_Codes["C_Initialize"] = {CKR_CRYPTOKI_ALREADY_INITIALIZED};
    m_Bridge.emplace();
    m_Bridge.reset();
    EXPECT_THAT(m_Script.m_Heard, ElementsAre("C_Initialize pointer"));
}

TEST_F(ASessionOfTheModule, IsNotBegunByTheModuleItself) {
    Rv inner = CKR_OK;
    m_Bridge.emplace(false);
    m_Script.m_Before = [&](const std::string& function) {
        if (function == "C_Initialize") {
            inner = Call().C_Initialize(nullptr);
        }
    };
    EXPECT_EQ(Rv(CKR_OK), Call().C_Initialize(nullptr));
    EXPECT_EQ(Rv(CKR_FUNCTION_FAILED), inner);
}
