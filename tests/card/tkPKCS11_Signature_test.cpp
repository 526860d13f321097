// SPDX-License-Identifier: MIT
// Signing and verifying over byte vectors, by any label; kinds of keys and their hashes.
#include "card/tkPKCS11.h"

#include "tests/card/CardCertificates.h"
#include "tests/card/MockedSigning.h"

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::Return;
using testing::SetArgPointee;
using namespace Velmor;

namespace {

constexpr unsigned long NO_MECHANISM = static_cast<unsigned long>(-1);

class Signatures : public MockedSigningTest {
protected:
    const Bytes m_Data = {1, 2, 3};
    Bytes m_Signature;
};

} // namespace

// --- Mechanisms --------------------------------------------------------------------------------------------

TEST_F(Signatures, HaveAMechanismByKeyTypeAndHash) {
    const std::map<std::pair<CK_KEY_TYPE, int>, unsigned long> mechanisms = {
        {{CKK_RSA, HASH_SHA1}, 6},        {{CKK_RSA, HASH_RIPEMD160}, 8},  {{CKK_RSA, HASH_SHA256}, 0x40},
        {{CKK_RSA, HASH_SHA384}, 0x41},   {{CKK_RSA, HASH_SHA512}, 0x42},  {{CKK_RSA, HASH_RAW}, 1},
        {{CKK_ECDSA, HASH_SHA1}, 0x1042}, {{CKK_ECDSA, HASH_RAW}, 0x1041},
    };
    for (const CK_KEY_TYPE keyType : {0UL, 1UL, 2UL, 3UL, 4UL, NO_MECHANISM}) {
        for (int hash = -1; hash <= 11; ++hash) {
            const auto row = mechanisms.find({keyType, hash});
            const unsigned long expected = row != mechanisms.end() ? row->second : NO_MECHANISM;
            EXPECT_EQ(m_Card.KeyAndHashAlgoToMechanism(keyType, static_cast<HashAlgorithm>(hash)), expected)
                << keyType << ", " << hash;
        }
    }
}

// --- Sign --------------------------------------------------------------------------------------------------

TEST_F(Signatures, AreMadeInTwoCallsAndAppended) {
    PlanSigning("SK.CH.SIG", CKK_RSA, CKM_SHA256_RSA_PKCS, m_Data, {5, 6});
    EXPECT_TRUE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature, HASH_SHA256));
    PlanSigning("SK.CH.SIG", CKK_ECDSA, CKM_ECDSA, m_Data, {7, 8, 9});
    EXPECT_TRUE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature, HASH_RAW));
    EXPECT_THAT(m_Signature, ElementsAre(5, 6, 7, 8, 9));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Signatures, AreMadeWithSha1UnlessAHashIsNamed) {
    PlanSigning("SK.CH.EKEY", CKK_RSA, CKM_SHA1_RSA_PKCS, m_Data, {5});
    EXPECT_TRUE(m_Card.Sign("SK.CH.EKEY", m_Data, m_Signature));
    EXPECT_THAT(m_Signature, ElementsAre(5));
}

TEST_F(Signatures, MayBeShorterThanTheirAnnouncedSize) {
    PlanKey("SK.CH.SIG", CKK_ECDSA);
    PlanSignInit(CKM_ECDSA_SHA1);
    PlanSize(m_Data, 4);
    PlanSign(m_Data, 4, {5, 6, 7});
    EXPECT_TRUE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature));
    EXPECT_THAT(m_Signature, ElementsAre(5, 6, 7));
}

TEST_F(Signatures, OfNothingAreLeftToTheCard) {
    PlanSigning("SK.CH.SIG", CKK_RSA, CKM_SHA1_RSA_PKCS, {}, {5});
    EXPECT_TRUE(m_Card.Sign("SK.CH.SIG", {}, m_Signature));
    EXPECT_THAT(m_Signature, ElementsAre(5));
}

TEST_F(Signatures, AreMadeWithTheFirstKeyWhoseLabelBeginsAsWanted) {
    PlanKeys({1, 2, 3, KEY, 99});
    PlanFailedRead(1, CKR_DEVICE_ERROR);
    PlanReadOfKey(2, "Mein Schl", CKK_RSA);
    PlanRead(3, {Claiming(257, Label("Mein Schluessel")), KeyType(CKK_RSA)});
    PlanReadOfKey(KEY, "Mein Schluessel 2", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    PlanSize(m_Data, 1);
    PlanSign(m_Data, 1, {5});
    EXPECT_TRUE(m_Card.Sign("Mein Schluessel", m_Data, m_Signature));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x30",
                                           "E PKCS11 Proc_C_GetAttributeValue0x150"));
}

TEST_F(Signatures, CompareLabelsUpToAZeroByte) {
    PlanKeys({1, KEY});
    PlanReadOfKey(1, std::string("SK.C\0A", 6), CKK_RSA);
    PlanReadOfKey(KEY, std::string("SK.CH\0A", 7), CKK_RSA);
    PlanSignInit(CKM_RSA_PKCS);
    PlanSize({1}, 2);
    PlanSign({1}, 2, {7, 8});
    Bytes signature;
    EXPECT_TRUE(m_Card.Sign(std::string("SK.CH\0B", 7), {1}, signature, HASH_RAW));
    EXPECT_EQ(signature, (Bytes{7, 8}));
}

TEST_F(Signatures, FailWithoutAWordWithoutASessionOrAKey) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature, HASH_SHA1));
    m_Card.m_hSession = SESSION;
    PlanKeys({});
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature, HASH_SHA1));
    PlanKeys({1});
    PlanReadOfKey(1, "SK.CH.EKEY", CKK_RSA);
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature, HASH_SHA1));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Signatures, ReportASearchThatFails) {
    for (size_t call = 0; call < 3; ++call) {
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature, HASH_SHA1));
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Signature, HASH_SHA1));
        EXPECT_THAT(m_Log.Errors(), ElementsAre(FAILED_CALLS[call], "PKCS11 FindObjects", FAILED_CALLS[call],
                                                "PKCS11 FindObjects"));
    }
}

TEST_F(Signatures, ReportAHashThatTheKeyHasNoMechanismFor) {
    PlanKey("SK.CH.SIG", CKK_ECDSA);
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature, HASH_SHA256));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Unbekannter Signaturalgorihtmus"));
}

TEST_F(Signatures, ThatFailLeaveWhatThereWas) {
    m_Signature = {1};
    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS, CKR_KEY_TYPE_INCONSISTENT);
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature));

    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    EXPECT_CALL(m_Library, Sign(_, _, _, IsNull(), _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature));

    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    PlanSize(m_Data, 8);
    PlanFailedSign(CKR_PIN_INCORRECT);
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature));

    EXPECT_THAT(m_Signature, ElementsAre(1));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_SignInit0x63", "E PKCS11 Proc_C_Sign0x30",
                                           "E PKCS11 Proc_C_Sign0xa0"));
}

TEST_F(Signatures, OfNoSizeFailWithoutAWord) {
    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    PlanSize(m_Data, 0);
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Signatures, OfAnAbsurdSizeAreFailures) {
    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    PlanSize(m_Data, NO_MECHANISM);
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature));
    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    PlanSize(m_Data, 2);
    PlanSignReporting(m_Data, 2, {5, 6}, 3);
    EXPECT_FALSE(m_Card.Sign("SK.CH.SIG", m_Data, m_Signature));
    EXPECT_THAT(m_Signature, IsEmpty());
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_Sign0x150", "PKCS11 Proc_C_Sign0x150"));
}

// --- Verify ------------------------------------------------------------------------------------------------

class Verifying : public Signatures {
protected:
    const Wanted m_PublicKey = {CKO_PUBLIC_KEY, "PK.CH.SIG"};

    void PlanVerifyInit(CK_MECHANISM_TYPE mechanism, CK_RV rv = CKR_OK) {
        EXPECT_CALL(m_Library, VerifyInit(TheSession(), Plain(mechanism), KEY)).WillOnce(Return(rv));
    }
    void PlanVerify(CK_RV rv) {
        EXPECT_CALL(m_Library, Verify(TheSession(), _, m_Text.size(), _, m_Data.size()))
            .WillOnce([=](auto, CK_BYTE* data, CK_ULONG size, CK_BYTE* signature, CK_ULONG signatureSize) {
                EXPECT_EQ(Bytes(data, data + size), m_Text);
                EXPECT_EQ(Bytes(signature, signature + signatureSize), m_Data);
                return rv;
            });
    }
    Bytes m_Text = {7, 8};
};

TEST_F(Verifying, AsksTheCardWithTheFirstKeyOfExactlyThisLabel) {
    PlanSearch(m_PublicKey, {KEY, 99});
    PlanRead(KEY, {KeyType(CKK_RSA)});
    PlanVerifyInit(CKM_SHA512_RSA_PKCS);
    PlanVerify(CKR_OK);
    EXPECT_TRUE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text, HASH_SHA512));
    PlanSearch(m_PublicKey, {KEY});
    PlanRead(KEY, {KeyType(CKK_ECDSA)});
    PlanVerifyInit(CKM_ECDSA_SHA1); // unless a hash is named
    PlanVerify(CKR_OK);
    EXPECT_TRUE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Verifying, FailsWithoutAWordWithoutASessionOrAKey) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text, HASH_SHA1));
    m_Card.m_hSession = SESSION;
    PlanSearch(m_PublicKey, {});
    EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text, HASH_SHA1));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(Verifying, ReportsAKeyThatCannotBeRead) {
    PlanSearch(m_PublicKey, {KEY, 99});
    PlanFailedRead(KEY, CKR_DEVICE_ERROR); // and goes on to no other
    EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text, HASH_SHA1));
    PlanSearch(m_PublicKey, {KEY});
    PlanRead(KEY, {Claiming(sizeof(CK_ULONG) + 1, KeyType(CKK_RSA))});
    EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text, HASH_SHA1));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x30",
                                           "E PKCS11 Proc_C_GetAttributeValue0x150"));
}

TEST_F(Verifying, ReportsAHashThatTheKeyHasNoMechanismFor) {
    PlanSearch(m_PublicKey, {KEY});
    PlanRead(KEY, {KeyType(CKK_RSA)});
    EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text, HASH_MD5));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Unbekannter Signaturalgorihtmus"));
}

TEST_F(Verifying, TellsAWrongSignatureAndAFailingCardAlike) {
    PlanSearch(m_PublicKey, {KEY});
    PlanRead(KEY, {KeyType(CKK_RSA)});
    PlanVerifyInit(CKM_SHA1_RSA_PKCS, CKR_MECHANISM_INVALID);
    EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text));
    for (const CK_RV rv : {CKR_SIGNATURE_INVALID, CKR_DEVICE_REMOVED}) {
        PlanSearch(m_PublicKey, {KEY});
        PlanRead(KEY, {KeyType(CKK_RSA)});
        PlanVerifyInit(CKM_SHA1_RSA_PKCS);
        PlanVerify(rv);
        EXPECT_FALSE(m_Card.Verify("PK.CH.SIG", m_Data, m_Text));
    }
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("E PKCS11 Proc_C_VerifyInit0x70", "E PKCS11 Proc_C_Verify ERROR0xc0",
                            "E PKCS11 Proc_C_Verify ERROR0x32"));
}

// --- Kind of key and hash ----------------------------------------------------------------------------------

class KindOfKey : public MockedSigningTest {
protected:
    SignKey m_Key = static_cast<SignKey>(17);
};

TEST_F(KindOfKey, IsToldByTheKeyOnTheCard) {
    const std::tuple<bool, const char*, CK_KEY_TYPE, SignKey> rows[] = {
        {true, "SK.CH.SIG", CKK_RSA, KEY_RSA},
        {true, "SK.CH.SIG", CKK_ECDSA, KEY_ECC},
        {false, "SK.CH.EKEY", CKK_RSA, KEY_RSA},
    };
    for (const auto& [sigKey, label, keyType, told] : rows) {
        m_Log.Clear();
        PlanKey(label, keyType);
        EXPECT_TRUE(m_Card.GetSignKeyType(m_Key, sigKey));
        EXPECT_EQ(m_Key, told);
        EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 GetSignKeyType", "M PKCS11 Key Found"));
    }
}

TEST_F(KindOfKey, IsNoFailureWhereThereIsNoSuchKey) {
    PlanKeys({});
    EXPECT_TRUE(m_Card.GetSignKeyType(m_Key, true));
    PlanKeys({1, 2});
    PlanFailedRead(1, CKR_DEVICE_ERROR);
    PlanReadOfKey(2, "SK.CH.EKEY", CKK_RSA);
    EXPECT_TRUE(m_Card.GetSignKeyType(m_Key, true));
    EXPECT_EQ(m_Key, 17);
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(KindOfKey, FailsForAnyOtherKey) {
    PlanKey("SK.CH.SIG", CKK_DSA);
    EXPECT_FALSE(m_Card.GetSignKeyType(m_Key, true));
    EXPECT_EQ(m_Key, 17);
}

TEST_F(KindOfKey, NeedsASessionAndASearch) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.GetSignKeyType(m_Key, true));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 GetSignKeyType", "E PKCS11 Session nicht offen"));
    m_Card.m_hSession = SESSION;
    const char* const texts[] = {"PKCS11 Proc_C_FindObjectsInit ERROR0x30",
                                 "PKCS11 Proc_C_FindObjects ERROR0x30",
                                 "PKCS11 Proc_C_FindObjectsFinal ERROR0x30"};
    for (size_t call = 0; call < 3; ++call) {
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(m_Card.GetSignKeyType(m_Key, true));
        EXPECT_THAT(m_Log.Errors(), ElementsAre(texts[call]));
    }
    EXPECT_EQ(m_Key, 17);
}

TEST_F(KindOfKey, TrustsNoSearchThatClaimsMoreThanItCouldHandOut) {
    PlanSearchClaiming(11, {CKO_PRIVATE_KEY});
    EXPECT_FALSE(m_Card.GetSignKeyType(m_Key, true));
    EXPECT_EQ(m_Key, 17);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjects ERROR0x150"));
}

TEST_F(KindOfKey, AndTheCardDecideTheHash) {
    const int rsa = KEY_RSA;
    const int ecc = KEY_ECC;
    for (int type = 2; type <= 9; ++type) {
        m_Card.m_CardType = type;
        const std::pair<int, HashAlgorithm> rows[] = {
            {rsa, type == CARD_CARDOS ? HASH_SHA256 : HASH_RIPEMD160},
            {ecc, type <= 4 ? HASH_RIPEMD160 : HASH_SHA256},
            {2, HASH_RIPEMD160},
            {-1, HASH_RIPEMD160},
        };
        for (const auto& [key, hash] : rows) {
            m_Log.Clear();
            EXPECT_EQ(m_Card.GetHashAlgorithm(static_cast<SignKey>(key)), hash) << key << ", " << type;
            EXPECT_THAT(m_Log.Lines(), ElementsAre("M GetHashAlgorithm",
                                                   "M GetHashAlgorithm, KeyType=" + std::to_string(key) +
                                                       ", CardType=" + std::to_string(type) +
                                                       ", hashalgo=" + std::to_string(hash)));
        }
    }
}

TEST_F(KindOfKey, OfAnUnknownCardIsHashedByTodaysRule) {
    m_Card.m_hSession = 0;
    EXPECT_EQ(m_Card.GetHashAlgorithm(KEY_ECC), HASH_SHA256);
    EXPECT_EQ(m_Card.GetHashAlgorithm(KEY_RSA), HASH_RIPEMD160);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("no session (1)", "no session (1)"));
}

TEST_F(KindOfKey, LoadsTheOldestAcosGenerationAnewAtEveryCall) {
    m_Card.m_Slots.push_back(new SlotStruct{100, "Karte", "1"});
    m_Card.m_SlotIndex = 0;
    m_Card.m_Atr = "3BBF11008131FE45455041";
    for (const char* const model : {"ACOS EMV-A03", "ACOS EMV-A04"}) {
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), _))
            .WillOnce(DoAll(SetArgPointee<2>(1), Return(CKR_OK)));
        EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, testing::NotNull(), _))
            .WillOnce(DoAll(SetArgPointee<1>(100), Return(CKR_OK)));
        EXPECT_CALL(m_Library, GetTokenInfo(100, _))
            .WillOnce(DoAll(SetArgPointee<1>(Token("a", "1", model)), Return(CKR_OK)));
        m_Card.GetHashAlgorithm(KEY_ECC);
    }
    EXPECT_EQ(m_Card.m_CardType, CARD_ACOS_A04);
    EXPECT_EQ(m_Card.GetHashAlgorithm(KEY_ECC), HASH_SHA256); // and is not loaded again
}

TEST_F(KindOfKey, OfTheOldestAcosGenerationIsHashedByTheOldRule) {
    m_Card.m_Slots.push_back(new SlotStruct{100, "Karte", "1"});
    m_Card.m_SlotIndex = 0;
    m_Card.m_Atr = "3BBF11008131FE45455041";
    EXPECT_CALL(m_Library, GetSlotList(_, _, _))
        .WillOnce(Return(CKR_DEVICE_ERROR)); // so the generation stays untold
    EXPECT_EQ(m_Card.GetHashAlgorithm(KEY_ECC), HASH_RIPEMD160);
    EXPECT_EQ(m_Card.m_CardType, CARD_ACOS_A03);
}
