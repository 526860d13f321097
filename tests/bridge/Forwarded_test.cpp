// SPDX-License-Identifier: MIT
// The entry points that lead straight to the module: which session it hears of, and whose codes come back.
#include <functional>
#include <optional>

#include "tests/bridge/ScriptTest.h"

using orseltest::ModuleScript;
using orseltest::Rv;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// What the callers below hand over; every text is as the module notes it.
struct Given {
    Given() = default;
    Given(const Given&) = delete; // it points into itself
    Given& operator=(const Given&) = delete;

    CK_BYTE m_In[3] = "in";
    CK_BYTE m_Other[6] = "other";
    CK_BYTE m_Out[16] = "";
    CK_ULONG m_Length = sizeof m_Out;
    CK_OBJECT_HANDLE m_Object = 0;
    CK_OBJECT_HANDLE m_Second = 0;
    CK_MECHANISM m_Mechanism = {CKM_RSA_PKCS, nullptr, 0};
    CK_ATTRIBUTE m_Attribute = {CKA_LABEL, m_In, 2};
    CK_ATTRIBUTE m_Wanted = {CKA_TOKEN, m_Other, 1};
};

using Functions = CK_FUNCTION_LIST&;
using Caller = std::function<CK_RV(Functions, CK_SESSION_HANDLE, Given&)>;

struct Forwarded {
    const char* m_Name;
    const char* m_Heard; ///< behind the session
    Caller m_Call;
};

// In the lambda f are the functions, s is the session and g is what is given.
#define CALL(call)                                                                                           \
    [](Functions f, CK_SESSION_HANDLE s, Given& g) {                                                         \
        static_cast<void>(g);                                                                                \
        return f.call;                                                                                       \
    }

// clang-format off
const Forwarded FORWARDED[] = {
    {"C_InitPIN", " in 2", CALL(C_InitPIN(s, g.m_In, 2))},
    {"C_SetPIN", " in 2 other 5", CALL(C_SetPIN(s, g.m_In, 2, g.m_Other, 5))},
    {"C_SetOperationState", " in 2 7 8", CALL(C_SetOperationState(s, g.m_In, 2, 7, 8))},
    {"C_Logout", "", CALL(C_Logout(s))},
    {"C_CreateObject", " CKA_LABEL 1 &0", CALL(C_CreateObject(s, &g.m_Attribute, 1, &g.m_Object))},
    {"C_CopyObject", " 7 CKA_LABEL 1 &0", CALL(C_CopyObject(s, 7, &g.m_Attribute, 1, &g.m_Object))},
    {"C_DestroyObject", " 7", CALL(C_DestroyObject(s, 7))},
    {"C_GetObjectSize", " 7 &16", CALL(C_GetObjectSize(s, 7, &g.m_Length))},
    {"C_SetAttributeValue", " 7 CKA_LABEL 1", CALL(C_SetAttributeValue(s, 7, &g.m_Attribute, 1))},
    {"C_EncryptInit", " CKM_RSA_PKCS 7", CALL(C_EncryptInit(s, &g.m_Mechanism, 7))},
    {"C_DecryptInit", " CKM_RSA_PKCS 7", CALL(C_DecryptInit(s, &g.m_Mechanism, 7))},
    {"C_DigestInit", " CKM_RSA_PKCS", CALL(C_DigestInit(s, &g.m_Mechanism))},
    {"C_DigestUpdate", " in 2", CALL(C_DigestUpdate(s, g.m_In, 2))},
    {"C_DigestKey", " 7", CALL(C_DigestKey(s, 7))},
    {"C_SignUpdate", " in 2", CALL(C_SignUpdate(s, g.m_In, 2))},
    {"C_SignRecoverInit", " CKM_RSA_PKCS 7", CALL(C_SignRecoverInit(s, &g.m_Mechanism, 7))},
    {"C_VerifyInit", " CKM_RSA_PKCS 7", CALL(C_VerifyInit(s, &g.m_Mechanism, 7))},
    {"C_Verify", " in 2 other 5", CALL(C_Verify(s, g.m_In, 2, g.m_Other, 5))},
    {"C_VerifyUpdate", " in 2", CALL(C_VerifyUpdate(s, g.m_In, 2))},
    {"C_VerifyFinal", " in 2", CALL(C_VerifyFinal(s, g.m_In, 2))},
    {"C_VerifyRecoverInit", " CKM_RSA_PKCS 7", CALL(C_VerifyRecoverInit(s, &g.m_Mechanism, 7))},
    {"C_GenerateKey", " CKM_RSA_PKCS CKA_LABEL 1 &0",
     CALL(C_GenerateKey(s, &g.m_Mechanism, &g.m_Attribute, 1, &g.m_Object))},
    {"C_GenerateKeyPair", " CKM_RSA_PKCS CKA_LABEL 1 CKA_TOKEN 1 &0 &0",
     CALL(C_GenerateKeyPair(s, &g.m_Mechanism, &g.m_Attribute, 1, &g.m_Wanted, 1, &g.m_Object, &g.m_Second))},
    {"C_UnwrapKey", " CKM_RSA_PKCS 7 in 2 CKA_LABEL 1 &0",
     CALL(C_UnwrapKey(s, &g.m_Mechanism, 7, g.m_In, 2, &g.m_Attribute, 1, &g.m_Object))},
    {"C_DeriveKey", " CKM_RSA_PKCS 7 CKA_LABEL 1 &0",
     CALL(C_DeriveKey(s, &g.m_Mechanism, 7, &g.m_Attribute, 1, &g.m_Object))},
    {"C_SeedRandom", " in 2", CALL(C_SeedRandom(s, g.m_In, 2))},
    {"C_GenerateRandom", " in 2", CALL(C_GenerateRandom(s, g.m_In, 2))},
};

/// Those that fill a buffer.
const Forwarded FILLING[] = {
    {"C_GetOperationState", "  &16", CALL(C_GetOperationState(s, g.m_Out, &g.m_Length))},
    {"C_Encrypt", " in 2  &16", CALL(C_Encrypt(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_EncryptUpdate", " in 2  &16", CALL(C_EncryptUpdate(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_EncryptFinal", "  &16", CALL(C_EncryptFinal(s, g.m_Out, &g.m_Length))},
    {"C_Decrypt", " in 2  &16", CALL(C_Decrypt(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_DecryptUpdate", " in 2  &16", CALL(C_DecryptUpdate(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_DecryptFinal", "  &16", CALL(C_DecryptFinal(s, g.m_Out, &g.m_Length))},
    {"C_Digest", " in 2  &16", CALL(C_Digest(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_DigestFinal", "  &16", CALL(C_DigestFinal(s, g.m_Out, &g.m_Length))},
    {"C_SignFinal", "  &16", CALL(C_SignFinal(s, g.m_Out, &g.m_Length))},
    {"C_SignRecover", " in 2  &16", CALL(C_SignRecover(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_VerifyRecover", " in 2  &16", CALL(C_VerifyRecover(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_DigestEncryptUpdate", " in 2  &16", CALL(C_DigestEncryptUpdate(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_DecryptDigestUpdate", " in 2  &16", CALL(C_DecryptDigestUpdate(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_SignEncryptUpdate", " in 2  &16", CALL(C_SignEncryptUpdate(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_DecryptVerifyUpdate", " in 2  &16", CALL(C_DecryptVerifyUpdate(s, g.m_In, 2, g.m_Out, &g.m_Length))},
    {"C_WrapKey", " CKM_RSA_PKCS 7 8  &16",
     CALL(C_WrapKey(s, &g.m_Mechanism, 7, 8, g.m_Out, &g.m_Length))},
};

/// The same without a place for the length.
const Forwarded WITHOUT_LENGTH[] = {
    {"C_GetOperationState", "", CALL(C_GetOperationState(s, g.m_Out, nullptr))},
    {"C_Encrypt", "", CALL(C_Encrypt(s, g.m_In, 2, g.m_Out, nullptr))},
    {"C_EncryptUpdate", "", CALL(C_EncryptUpdate(s, g.m_In, 2, g.m_Out, nullptr))},
    {"C_EncryptFinal", "", CALL(C_EncryptFinal(s, g.m_Out, nullptr))},
    {"C_Decrypt", "", CALL(C_Decrypt(s, g.m_In, 2, g.m_Out, nullptr))},
    {"C_DecryptUpdate", "", CALL(C_DecryptUpdate(s, g.m_In, 2, g.m_Out, nullptr))},
    {"C_DecryptFinal", "", CALL(C_DecryptFinal(s, g.m_Out, nullptr))},
    {"C_Digest", "", CALL(C_Digest(s, g.m_In, 2, g.m_Out, nullptr))},
    {"C_DigestFinal", "", CALL(C_DigestFinal(s, g.m_Out, nullptr))},
    {"C_SignFinal", "", CALL(C_SignFinal(s, g.m_Out, nullptr))},
    {"C_SignRecover", "", CALL(C_SignRecover(s, g.m_In, 2, g.m_Out, nullptr))},
    {"C_VerifyRecover", "", CALL(C_VerifyRecover(s, g.m_In, 2, g.m_Out, nullptr))},
    {"C_WrapKey", "", CALL(C_WrapKey(s, &g.m_Mechanism, 7, 8, g.m_Out, nullptr))},
    {"C_GetObjectSize", "", CALL(C_GetObjectSize(s, 7, nullptr))},
    {"C_CreateObject", "", CALL(C_CreateObject(s, &g.m_Attribute, 1, nullptr))},
    {"C_CopyObject", "", CALL(C_CopyObject(s, 7, &g.m_Attribute, 1, nullptr))},
    {"C_SetAttributeValue", "", CALL(C_SetAttributeValue(s, 7, nullptr, 1))},
    {"C_GetSessionInfo", "", CALL(C_GetSessionInfo(s, nullptr))},
    {"C_FindObjectsInit", "", CALL(C_FindObjectsInit(s, nullptr, 1))},
    {"C_GetAttributeValue", "", CALL(C_GetAttributeValue(s, 7, nullptr, 1))},
    {"C_SignInit", "", CALL(C_SignInit(s, nullptr, 7))},
};
// clang-format on

std::vector<Forwarded> All() {
    std::vector<Forwarded> all(std::begin(FORWARDED), std::end(FORWARDED));
    all.insert(all.end(), std::begin(FILLING), std::end(FILLING));
    return all;
}

} // namespace

class AForwardedCall : public orseltest::ScriptTest {
protected:
    Rv Do(const Forwarded& each, CK_SESSION_HANDLE session) {
        m_Given.emplace();
        m_Script.m_Heard.clear();
        return each.m_Call(Call(), session, *m_Given);
    }

    std::optional<Given> m_Given;
};

TEST_F(AForwardedCall, ReachesTheModuleInItsOwnSessionWithItsArguments) {
    Start();
    for (const Forwarded& each : All()) {
        EXPECT_EQ(Rv(CKR_OK), Do(each, m_Session)) << each.m_Name;
        EXPECT_THAT(
            m_Script.m_Heard,
            ElementsAre(each.m_Name + (" " + std::to_string(ModuleScript::FIRST_SESSION)) + each.m_Heard));
    }
}

TEST_F(AForwardedCall, AnswersWithTheModulesCode) {
    Start();
    for (const Forwarded& each : All()) {
        m_Script.m_Codes[each.m_Name] = {CKR_TOKEN_WRITE_PROTECTED};
        EXPECT_EQ(Rv(CKR_TOKEN_WRITE_PROTECTED), Do(each, m_Session)) << each.m_Name;
        EXPECT_EQ(sizeof m_Given->m_Out, m_Given->m_Length) << each.m_Name;
    }
}

TEST_F(AForwardedCall, OfASessionThatIsNotOpenReachesNobody) {
    Start();
    for (const Forwarded& each : All()) {
        EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), Do(each, m_Session + 1)) << each.m_Name;
        EXPECT_THAT(m_Script.m_Heard, IsEmpty()) << each.m_Name;
    }
}

TEST_F(AForwardedCall, BeforeTheBeginningReachesNobody) {
    m_Bridge.emplace(false);
    for (const Forwarded& each : All()) {
        EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), Do(each, 1)) << each.m_Name;
        EXPECT_THAT(m_Script.m_Heard, IsEmpty()) << each.m_Name;
    }
}

TEST_F(AForwardedCall, GivesTheLengthThatTheModuleGives) {
    Start();
    for (const Forwarded& each : FILLING) {
        m_Script.m_Lengths = {{each.m_Name, 12}};
        EXPECT_EQ(Rv(CKR_OK), Do(each, m_Session)) << each.m_Name;
        EXPECT_EQ(12U, m_Given->m_Length) << each.m_Name;
    }
}

TEST_F(AForwardedCall, IsRefusedForALengthBeyondItsRoom) {
    Start();
    testing::internal::CaptureStderr();
    for (const Forwarded& each : FILLING) {
        m_Script.m_Lengths = {{each.m_Name, 17}};
        EXPECT_EQ(Rv(CKR_DEVICE_ERROR), Do(each, m_Session)) << each.m_Name;
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("C_WrapKey: a length of 17 for a room of 16\n"));
}

TEST_F(AForwardedCall, MayAskForALengthAlone) {
    Start();
    m_Script.m_Lengths = {{"C_Digest", 20}};
    CK_ULONG length = 0;
    CK_BYTE data[] = "in";
    EXPECT_EQ(Rv(CKR_OK), Call().C_Digest(m_Session, data, 2, nullptr, &length));
    EXPECT_EQ(20U, length);
}

TEST_F(AForwardedCall, WithoutAPlaceForItsAnswerReachesNobody) {
    Start();
    for (const Forwarded& each : WITHOUT_LENGTH) {
        EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Do(each, m_Session)) << each.m_Name;
        EXPECT_THAT(HeardOf(each.m_Name), IsEmpty());
    }
}

TEST_F(AForwardedCall, WithoutAMechanismIsTheModulesToRefuse) {
    Start();
    m_Script.m_Codes["C_VerifyInit"] = {CKR_ARGUMENTS_BAD};
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Call().C_VerifyInit(m_Session, nullptr, 7));
    EXPECT_THAT(m_Script.m_Heard, ElementsAre("C_VerifyInit 101 - 7"));
}

TEST_F(AForwardedCall, OfTheTimesOfParallelSessionsHasTheStandardsAnswer) {
    Start();
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_PARALLEL), Call().C_GetFunctionStatus(m_Session));
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_PARALLEL), Call().C_CancelFunction(m_Session));
    EXPECT_THAT(m_Script.m_Heard, IsEmpty());
}

TEST_F(AForwardedCall, OfASlotReachesTheModule) {
    Start();
    CK_BYTE pin[] = "12345678";
    CK_BYTE label[] = "new";
    EXPECT_EQ(Rv(CKR_OK), Call().C_InitToken(5, pin, 8, label));
    EXPECT_THAT(m_Script.m_Heard, ElementsAre("C_InitToken 5 12345678 8 new"));
    m_Script.m_Codes["C_InitToken"] = {CKR_SESSION_EXISTS};
    EXPECT_EQ(Rv(CKR_SESSION_EXISTS), Call().C_InitToken(5, pin, 8, label));
}

TEST_F(AForwardedCall, WaitsForASlotWithoutKeepingOthersWaiting) {
    Start();
    m_Script.m_Lengths = {{"C_WaitForSlotEvent", 5}};
    Rv meanwhile = CKR_OK;
    m_Script.m_Before = [&](const std::string& function) {
        if (function == "C_WaitForSlotEvent") {
            CK_SESSION_INFO info = {};
            meanwhile = Call().C_GetSessionInfo(m_Session + 1, &info); // would wait for the lock for ever
        }
    };
    CK_SLOT_ID slot = 0;
    EXPECT_EQ(Rv(CKR_OK), Call().C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr));
    EXPECT_EQ(5U, slot);
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), meanwhile);
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Call().C_WaitForSlotEvent(CKF_DONT_BLOCK, nullptr, nullptr));
    m_Script.m_Codes["C_WaitForSlotEvent"] = {CKR_NO_EVENT};
    EXPECT_EQ(Rv(CKR_NO_EVENT), Call().C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr));
}

TEST_F(AForwardedCall, ThatTheLibraryIsEndedDuringIsToldSo) {
    Start();
    m_Script.m_Before = [&](const std::string& function) {
        if (function == "C_WaitForSlotEvent") {
            Call().C_Finalize(nullptr);
        }
    };
    CK_SLOT_ID slot = 0;
    EXPECT_EQ(Rv(CKR_CRYPTOKI_NOT_INITIALIZED), Call().C_WaitForSlotEvent(0, &slot, nullptr));
}

TEST_F(AForwardedCall, IsFoundInTheTableOfFunctionsAlone) {
    Start();
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), Call().C_GetFunctionList(nullptr));
    CK_FUNCTION_LIST* list = nullptr;
    EXPECT_EQ(Rv(CKR_OK), Call().C_GetFunctionList(&list));
    EXPECT_EQ(&Call(), list);
}
