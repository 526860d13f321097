// SPDX-License-Identifier: MIT
// The bridge to the simulated token library: its cards come and go, have blocked PINs, and every call of it
// can go wrong.
#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SimDeck.h"
#include "tests/support/TempDir.h"
#include "tokenlib/Pkcs11.h"

using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;
using testing::IsEmpty;

class ASimulatedCardBehindTheBridge : public testing::Test {
protected:
    void Start() {
        m_Bridge.emplace();
        const std::vector<CK_SLOT_ID> slots = m_Bridge->Slots();
        m_Session = slots.empty() ? 0 : m_Bridge->Open(slots.front());
    }

    /// What the card manager does with a card: lists it, finds a key, signs and verifies, has a PIN changed.
    /// Each failure is a code; the sanitizers watch the rest.
    void DoEverything() const;

    SimDeck m_Deck;
    const TempDir m_Folder;
    const ScopedVariable m_Settings{"XDG_CONFIG_HOME", m_Folder.Path()};
    const ScopedVariable m_Module{"ORSELBRIDGE_MODULE", ORSEL_SIMULATED_MODULE};
    const ScopedVariable m_NoService{"PCSCLITE_CSOCK_NAME", "/no/such/socket"};
    const ScopedVariable m_PinScript{"ORSELBRIDGE_PIN_SCRIPT",
                                     m_Folder.File("answers", "1234\n4321\n4321\n")};
    std::optional<TokenLibrary> m_Bridge;
    CK_SESSION_HANDLE m_Session = 0;
};

void ASimulatedCardBehindTheBridge::DoEverything() const {
    CK_FUNCTION_LIST& call = *m_Bridge->operator->();
    CK_ULONG count = 4;
    CK_SLOT_ID slots[4] = {};
    if (call.C_GetSlotList(CK_TRUE, slots, &count) != CKR_OK || count == 0) {
        return;
    }
    CK_TOKEN_INFO token = {};
    call.C_GetTokenInfo(slots[0], &token);
    CK_SESSION_HANDLE session = 0;
    call.C_OpenSession(slots[0], CKF_SERIAL_SESSION, nullptr, nullptr, &session);
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_ATTRIBUTE wanted = {CKA_CLASS, &objectClass, sizeof objectClass};
    CK_OBJECT_HANDLE keys[8] = {};
    CK_ULONG found = 0;
    call.C_FindObjectsInit(session, &wanted, 1);
    call.C_FindObjects(session, keys, 8, &found);
    call.C_FindObjectsFinal(session);
    Bytes label(64);
    CK_ULONG keyType = 0;
    CK_ATTRIBUTE asked[] = {orseltest::AttributeOver(CKA_LABEL, label),
                            {CKA_KEY_TYPE, &keyType, sizeof keyType}};
    call.C_GetAttributeValue(session, keys[0], asked, 2);
    CK_MECHANISM mechanism = {keyType == CKK_EC ? CKM_ECDSA : CKM_RSA_PKCS, nullptr, 0};
    Bytes data(32, 0x5A);
    Bytes signature(512);
    CK_ULONG length = signature.size();
    call.C_SignInit(session, &mechanism, keys[0]);
    call.C_Sign(session, data.data(), data.size(), signature.data(), &length);
    CK_BBOOL flag = CK_FALSE;
    CK_ATTRIBUTE command = {tokenlib::CHANGE_PIN_COMMAND, &flag, sizeof flag};
    call.C_SetAttributeValue(session, keys[0], &command, 1);
    call.C_CloseSession(session);
}

TEST_F(ASimulatedCardBehindTheBridge, IsShownAsItIs) {
    m_Deck.Add("ecard-g2", CardOptions().Serial("8004000112233445"));
    Start();
    EXPECT_EQ("8004000112233445", orseltest::Field(m_Bridge->TokenInfo(1).serialNumber));
    for (const char* label : {"SK.CH.SIG", "SK.CH.EKEY"}) {
        m_Bridge->FindOne(m_Session, CKO_PRIVATE_KEY, label);
    }
    m_Bridge->FindOne(m_Session, CKO_DATA, "PERSONENBINDUNG");
}

TEST_F(ASimulatedCardBehindTheBridge, ThatIsTakenOutEndsItsSessions) {
    const std::string card = m_Deck.Add("ecard-g2");
    Start();
    m_Deck.TakeOut(card);
    EXPECT_THAT(m_Bridge->Slots(), IsEmpty());
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), (*m_Bridge)->C_GetSessionInfo(m_Session, &info));
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_PRESENT), (*m_Bridge)->C_FindObjectsInit(m_Session, nullptr, 0));
    CK_TOKEN_INFO token = {};
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_PRESENT), (*m_Bridge)->C_GetTokenInfo(1, &token));
    m_Deck.PutBack(card);
    EXPECT_NE(0U, m_Bridge->Open(1)) << "and may come back";
}

TEST_F(ASimulatedCardBehindTheBridge, MeetsThePlannedFaultsOfTheBridgeToo) {
    m_Deck.Add("ecard-g2");
    const ScopedVariable faults("ORSELBRIDGE_FAULTS",
                                m_Folder.File("faults", "C_GetTokenInfo call=1 rv=CKR_DEVICE_ERROR\n"));
    Start();
    CK_TOKEN_INFO token = {};
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), (*m_Bridge)->C_GetTokenInfo(1, &token));
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_GetTokenInfo(1, &token));
}

/// Each entry point of the module failing in each way, at its first call and at every call.
class EveryFaultOfTheModule : public ASimulatedCardBehindTheBridge,
                              public testing::WithParamInterface<const char*> {};

TEST_P(EveryFaultOfTheModule, IsACodeAndNoCrash) {
    m_Deck.Add("ecard-g2");
    testing::internal::CaptureStderr();
    for (const char* effect :
         {"rv=CKR_GENERAL_ERROR", "rv=CKR_DEVICE_REMOVED", "rv=CKR_FUNCTION_NOT_SUPPORTED",
          "rv=CKR_OPERATION_ACTIVE", "rv=CKR_OK", "length=0", "length=5", "length=0x7FFFFFFF"}) {
        for (const char* call : {"call=1", "call=2", "call=every"}) {
            m_Deck.PlanFaults({std::string(GetParam()) + " " + call + " " + effect});
            m_Bridge.emplace(false);
            if ((*m_Bridge)->C_Initialize(nullptr) == CKR_OK) {
                DoEverything();
            }
            m_Bridge.reset();
        }
    }
    testing::internal::GetCapturedStderr(); // a line for what broke, as the tests of modules see
}

INSTANTIATE_TEST_SUITE_P(Of, EveryFaultOfTheModule,
                         testing::Values("C_Initialize", "C_Finalize", "C_GetSlotList", "C_GetSlotInfo",
                                         "C_GetTokenInfo", "C_GetMechanismInfo", "C_OpenSession",
                                         "C_CloseSession", "C_GetSessionInfo", "C_FindObjectsInit",
                                         "C_FindObjects", "C_FindObjectsFinal", "C_GetAttributeValue",
                                         "C_SignInit", "C_Sign", "C_Login", "C_Logout", "C_SetPIN"));
