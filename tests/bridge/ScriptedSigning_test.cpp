// SPDX-License-Identifier: MIT
// Signatures over a module: what is asked, when, and what the module hears.
#include "tests/bridge/ScriptTest.h"

using orseltest::Bytes;
using orseltest::ModuleScript;
using orseltest::Rv;
using testing::ElementsAre;
using testing::IsEmpty;
using tokenlib::BytesOf;
using tokenlib::FlagValue;

class ASignatureByTheModule : public orseltest::ScriptTest {
protected:
    ASignatureByTheModule() { Answer("1234\n1234\n1234\n1234\n"); }

    CK_OBJECT_HANDLE Key() const { return m_Bridge->FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.SIG"); }
    Rv Begin(CK_OBJECT_HANDLE key, CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0}) const {
        return Call().C_SignInit(m_Session, &mechanism, key);
    }
    Rv Finish(Bytes& signature, CK_ULONG room = 2048) const {
        CK_BYTE data[] = "data";
        signature.assign(room, 0);
        CK_ULONG length = room;
        const Rv code = Call().C_Sign(m_Session, data, 4, signature.data(), &length);
        signature.resize(length);
        return code;
    }
};

TEST_F(ASignatureByTheModule, IsMadeWithThePinThatIsAskedFor) {
    AddPair(1, 1, "own");
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    EXPECT_THAT(HeardOf("C_SignInit"), IsEmpty()) << "not before the PIN";
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Finish(signature));
    EXPECT_EQ(BytesOf("signature"), signature);
    EXPECT_THAT(HeardOf("C_Login"), ElementsAre("C_Login 101 1 1234"));
    EXPECT_THAT(HeardOf("C_SignInit"), ElementsAre("C_SignInit 101 CKM_RSA_PKCS 1"));
    EXPECT_THAT(HeardOf("C_Logout"), ElementsAre("C_Logout 101"));
}

TEST_F(ASignatureByTheModule, IsTheModulesAloneWhereNobodyHasToLogIn) {
    m_Script.m_Tokens[ModuleScript::SLOT].m_Flags = 0;
    Add(1, CKO_PRIVATE_KEY, "own", {{CKA_PRIVATE, FlagValue(false)}});
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(1));
    EXPECT_THAT(HeardOf("C_SignInit"), ElementsAre("C_SignInit 101 CKM_RSA_PKCS 1"));
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Finish(signature));
    EXPECT_EQ(BytesOf("signature"), signature);
    EXPECT_THAT(HeardOf("C_Login"), IsEmpty());
}

TEST_F(ASignatureByTheModule, NeedsNoPinOfSomebodyWhoLogsInMeanwhile) {
    AddPair(1, 1, "own");
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    m_Script.m_IsLoggedIn = true;
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Finish(signature));
    EXPECT_THAT(HeardOf("C_Login"), IsEmpty());
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), [&] {
        m_Script.m_Codes["C_Sign"] = {CKR_OPERATION_NOT_INITIALIZED};
        return Finish(signature);
    }());
}

TEST_F(ASignatureByTheModule, WithAKeyThatAsksAtEachUseIsAskedForOnce) {
    AddPair(1, 1, "own");
    m_Script.m_Objects[1][CKA_ALWAYS_AUTHENTICATE] = FlagValue(true);
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Finish(signature));
    EXPECT_THAT(HeardOf("C_Login"), ElementsAre("C_Login 101 1 1234", "C_Login 101 2 1234"));
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    m_Script.m_IsLoggedIn = true;
    m_Script.m_Heard.clear();
    EXPECT_EQ(Rv(CKR_OK), Finish(signature)) << "whose PIN the module knows";
    EXPECT_THAT(HeardOf("C_Login"), IsEmpty());
}

TEST_F(ASignatureByTheModule, IsBegunOnce) {
    AddPair(1, 1, "own");
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), Begin(Key()));
}

TEST_F(ASignatureByTheModule, WithWhatIsNoKeyIsRefusedBeforeThePin) {
    AddPair(1, 1, "own");
    Add(7, CKO_DATA, "note");
    Add(8, CKO_SECRET_KEY, "secret");
    Add(9, CKO_PRIVATE_KEY, "seen", {{CKA_PRIVATE, FlagValue(false)}});
    m_Script.m_Objects[10][CKA_CLASS] = {1, 2, 3}; // no number
    Start();
    EXPECT_EQ(Rv(CKR_KEY_FUNCTION_NOT_PERMITTED),
              Begin(m_Bridge->FindOne(m_Session, CKO_PUBLIC_KEY, "PK.CH.SIG")));
    EXPECT_EQ(Rv(CKR_KEY_FUNCTION_NOT_PERMITTED), Begin(7));
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), Begin(10));
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), Begin(11));
    EXPECT_EQ(Rv(CKR_OK), Begin(8));
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Finish(signature));
    EXPECT_EQ(Rv(CKR_OK), Begin(9));
}

TEST_F(ASignatureByTheModule, ByAMechanismThatTheTokenLacksIsRefusedBeforeThePin) {
    AddPair(1, 1, "own");
    Start();
    m_Script.m_MechanismFlags = CKF_ENCRYPT;
    EXPECT_EQ(Rv(CKR_MECHANISM_INVALID), Begin(Key()));
    m_Script.m_Codes["C_GetMechanismInfo"] = {CKR_MECHANISM_INVALID};
    EXPECT_EQ(Rv(CKR_MECHANISM_INVALID), Begin(Key()));
    m_Script.m_Codes["C_GetMechanismInfo"] = {CKR_FUNCTION_NOT_SUPPORTED};
    EXPECT_EQ(Rv(CKR_OK), Begin(Key())) << "nothing is known of it";
}

TEST_F(ASignatureByTheModule, KeepsTheParametersOfItsMechanismUntilItIsMade) {
    AddPair(1, 1, "own");
    Start();
    Bytes parameter = {1, 2, 3};
    EXPECT_EQ(Rv(CKR_OK), Begin(Key(), {CKM_SHA1_RSA_PKCS, parameter.data(), parameter.size()}));
    parameter = {4, 5, 6};
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Finish(signature));
    EXPECT_THAT(HeardOf("C_SignInit"), ElementsAre("C_SignInit 101 CKM_SHA1_RSA_PKCS:010203 1"));
}

TEST_F(ASignatureByTheModule, WithParametersThatCannotBeKeptIsRefused) {
    AddPair(1, 1, "own");
    Start();
    Bytes parameter(257);
    EXPECT_EQ(Rv(CKR_MECHANISM_PARAM_INVALID), Begin(Key(), {CKM_RSA_PKCS_PSS, parameter.data(), 257}));
    EXPECT_EQ(Rv(CKR_MECHANISM_PARAM_INVALID), Begin(Key(), {CKM_EDDSA, parameter.data(), 8}));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Begin(Key(), {CKM_RSA_PKCS_PSS, nullptr, 8}));
    EXPECT_EQ(Rv(CKR_OK), Begin(Key(), {CKM_EDDSA, nullptr, 0}));
}

TEST_F(ASignatureByTheModule, IsAsLongAsItsKeySays) {
    struct Case {
        tokenlib::AttributeMap m_Numbers;
        CK_ULONG m_Room;
    };
    const Bytes p256 = {0x06, 0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07};
    const Case cases[] = {
        {{{CKA_MODULUS, Bytes(128, 1)}}, 128},
        {{{CKA_EC_PARAMS, p256}}, 64},
        {{{CKA_EC_PARAMS, {0x05, 0x00}}}, 2048},
        {{}, 2048},
    };
    for (const Case& each : cases) {
        m_Script.m_Objects.clear();
        tokenlib::AttributeMap key = each.m_Numbers;
        key[CKA_PRIVATE] = FlagValue(false);
        Add(9, CKO_PRIVATE_KEY, "seen", key);
        Start();
        EXPECT_EQ(Rv(CKR_OK), Begin(9));
        CK_BYTE data[] = "data";
        CK_ULONG length = 0;
        EXPECT_EQ(Rv(CKR_OK), Call().C_Sign(m_Session, data, 4, nullptr, &length));
        EXPECT_EQ(each.m_Room, length);
        m_Bridge.reset();
    }
}

TEST_F(ASignatureByTheModule, LongerThanItsRoomIsRefused) {
    AddPair(1, 1, "own");
    Start();
    m_Script.m_Lengths = {{"C_Sign", 129}};
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    Bytes signature;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), Finish(signature));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("C_Sign: a length of 129 for a room of 128\n"));
}

TEST_F(ASignatureByTheModule, MayBeOfNoData) {
    AddPair(1, 1, "own");
    Start();
    Bytes signature(128);
    CK_ULONG length = signature.size();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Call().C_Sign(m_Session, nullptr, 4, signature.data(), &length));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Call().C_Sign(m_Session, nullptr, 0, signature.data(), nullptr));
    CK_BYTE none = 0;
    EXPECT_EQ(Rv(CKR_OK), Call().C_Sign(m_Session, &none, 0, nullptr, &length));
    EXPECT_EQ(Rv(CKR_OK), Call().C_Sign(m_Session, nullptr, 0, nullptr, &length));
    EXPECT_EQ(128U, length);
}

TEST_F(ASignatureByTheModule, InPartsTellsItsSizeFirst) {
    AddPair(1, 1, "own");
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    CK_BYTE part[] = "part";
    EXPECT_EQ(Rv(CKR_OK), Call().C_SignUpdate(m_Session, part, 4));
    EXPECT_EQ(Rv(CKR_OK), Call().C_SignUpdate(m_Session, part, 4));
    CK_ULONG length = 0;
    EXPECT_EQ(Rv(CKR_OK), Call().C_SignFinal(m_Session, nullptr, &length));
    Bytes signature(length);
    EXPECT_EQ(Rv(CKR_OK), Call().C_SignFinal(m_Session, signature.data(), &length));
    EXPECT_THAT(HeardOf("C_Sign"), ElementsAre("C_Sign 101 8"));
    EXPECT_THAT(HeardOf("C_SignUpdate"), IsEmpty());
}

TEST_F(ASignatureByTheModule, OfMoreThanCanBeKeptIsRefusedAndEnds) {
    AddPair(1, 1, "own");
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    Bytes part(16777216);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Rv(CKR_OK), Call().C_SignUpdate(m_Session, part.data(), part.size()));
    }
    EXPECT_EQ(Rv(CKR_DATA_LEN_RANGE), Call().C_SignUpdate(m_Session, part.data(), 1));
    EXPECT_EQ(Rv(CKR_OK), Begin(Key())) << "nothing is pending any more";
}

TEST_F(ASignatureByTheModule, ThatIsEndedWhileThePinIsAskedForIsNotMade) {
    AddPair(1, 1, "own");
    Start();
    EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
    Answer("cancel\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Finish(signature));
    EXPECT_THAT(HeardOf("C_SignInit"), IsEmpty());
    EXPECT_THAT(HeardOf("C_Login"), IsEmpty());
    EXPECT_EQ(Rv(CKR_OK), Begin(Key())) << "nothing is pending any more";
}

TEST_F(ASignatureByTheModule, LeavesNobodyLoggedInWhenItFails) {
    AddPair(1, 1, "own");
    Start();
    for (const char* function : {"C_SignInit", "C_Sign"}) {
        m_Script.m_Codes[function] = {CKR_DEVICE_REMOVED};
        EXPECT_EQ(Rv(CKR_OK), Begin(Key()));
        m_Script.m_Heard.clear();
        Bytes signature;
        EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), Finish(signature)) << function;
        EXPECT_THAT(HeardOf("C_Logout"), ElementsAre("C_Logout 101"));
    }
}
