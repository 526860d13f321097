// SPDX-License-Identifier: MIT
// Signing over raw buffers, with the two keys of the card, and hashing for it.
#include "card/tkPKCS11.h"

#include "foundation/Conversion.h"
#include "tests/card/MockedSigning.h"

using testing::ElementsAre;
using testing::IsEmpty;
using namespace Velmor;

namespace {

const char* const FAILED_STEPS[] = {"PKCS11 Proc_C_FindObjectsInit", "PKCS11 Proc_C_FindObjects",
                                    "PKCS11 Proc_C_FindObjectsFinal"};

Bytes Hex(const std::string& text) {
    Bytes bytes;
    HexStr2BinData(text, bytes);
    return bytes;
}

/// Digests of "abc", and what stands before them in an RSA signature.
struct Digest {
    HashAlgorithm m_Hash;
    const char* m_Digest;
    const char* m_DigestInfo;
};

const Digest DIGESTS[] = {
    {HASH_SHA1, "A9993E364706816ABA3E25717850C26C9CD0D89D", "3021300906052B0E03021A05000414"},
    {HASH_RIPEMD160, "8EB208F7E05D987A9B044A8E98C6B087F15A0BFC", "3021300906052B2403020105000414"},
    {HASH_SHA224, "23097D223405D8228642A477BDA255B32AADBCE4BDA0B3F7E36C9DA7", ""},
    {HASH_SHA256, "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD",
     "3031300D060960864801650304020105000420"},
    {HASH_SHA512,
     "DDAF35A193617ABACC417349AE20413112E6FA4E89A97EA20A9EEEE64B55D39A"
     "2192992A274FC1A836BA3C23A3FEEBBD454D4423643CE80E2A9AC94FA54CA49F",
     "3051300D060960864801650304020305000440"},
    {HASH_MD5, "900150983CD24FB0D6963F7D28E17F72", ""},
    {HASH_MD4, "A448017AAF21D8525FC10AE87AA6729D", ""},
    {HASH_SHA384,
     "CB00753F45A35E8BB5A03D699AC65007272C32AB0EDED1631A8B605A43FF5BED8086072BA1E7CC2358BAECA134C825A7",
     "3041300D060960864801650304020205000430"},
};

const Digest& DigestOf(HashAlgorithm hash) {
    return *std::find_if(std::begin(DIGESTS), std::end(DIGESTS),
                         [hash](const Digest& digest) { return digest.m_Hash == hash; });
}

Bytes BareDigest(HashAlgorithm hash) {
    return Hex(DigestOf(hash).m_Digest);
}

Bytes WithDigestInfo(HashAlgorithm hash) {
    return Hex(std::string(DigestOf(hash).m_DigestInfo) + DigestOf(hash).m_Digest);
}

class SignString : public MockedSigningTest {
protected:
    bool Sign(bool sigKey) {
        return m_Card.signString(m_Text.data(), m_Text.size(), m_Out, m_OutLength, sigKey);
    }
    bool Sign(bool sigKey, HashAlgorithm hash) {
        return m_Card.signString(m_Text.data(), m_Text.size(), m_Out, m_OutLength, m_Key, sigKey, hash);
    }
    Bytes Signature() const { return Bytes(m_Out, m_Out + m_OutLength); }

    Bytes m_Text = BytesOf("abc");
    unsigned char m_Out[64] = {};
    unsigned long m_OutLength = sizeof(m_Out);
    SignKey m_Key = static_cast<SignKey>(17);
};

} // namespace

// --- hashString --------------------------------------------------------------------------------------------

TEST_F(SignString, HashesOnTheHost) {
    for (const Digest& row : DIGESTS) {
        Bytes bare;
        Bytes prefixed;
        EXPECT_TRUE(m_Card.hashString(m_Text.data(), m_Text.size(), bare, row.m_Hash, false));
        EXPECT_TRUE(m_Card.hashString(m_Text.data(), m_Text.size(), prefixed, row.m_Hash, true));
        EXPECT_EQ(bare, BareDigest(row.m_Hash)) << row.m_Hash;
        EXPECT_EQ(prefixed, WithDigestInfo(row.m_Hash)) << row.m_Hash;
    }
    EXPECT_THAT(m_Log.Lines(), testing::Each("M tkPKCS11::hashString"));
    EXPECT_THAT(m_Log.Lines(), testing::SizeIs(2 * std::size(DIGESTS)));
}

TEST_F(SignString, HashesTheEmptyTextToo) {
    Bytes digest;
    EXPECT_TRUE(m_Card.hashString(m_Text.data(), 0, digest, HASH_SHA1, false));
    EXPECT_EQ(digest, Hex("DA39A3EE5E6B4B0D3255BFEF95601890AFD80709"));
    digest.clear();
    EXPECT_TRUE(m_Card.hashString(nullptr, 0, digest, HASH_SHA1, false));
    EXPECT_EQ(digest, Hex("DA39A3EE5E6B4B0D3255BFEF95601890AFD80709"));
}

TEST_F(SignString, HasNoHashForNoAlgorithm) {
    for (const int hash : {7, 9, 10, -1}) {
        Bytes digest = {1};
        EXPECT_FALSE(
            m_Card.hashString(m_Text.data(), m_Text.size(), digest, static_cast<HashAlgorithm>(hash), true));
        EXPECT_THAT(digest, ElementsAre(1));
    }
}

// --- Plain form --------------------------------------------------------------------------------------------

TEST_F(SignString, SignsTheDataItselfWithSha1) {
    const std::tuple<bool, const char*, CK_KEY_TYPE, CK_MECHANISM_TYPE> rows[] = {
        {true, "SK.CH.SIG", CKK_RSA, CKM_SHA1_RSA_PKCS},
        {true, "SK.CH.SIG", CKK_ECDSA, CKM_ECDSA_SHA1},
        {false, "SK.CH.EKEY", CKK_RSA, CKM_SHA1_RSA_PKCS},
        {false, "SK.CH.EKEY", CKK_ECDSA, CKM_ECDSA_SHA1},
    };
    for (const auto& [sigKey, label, keyType, mechanism] : rows) {
        m_Log.Clear();
        m_OutLength = sizeof(m_Out);
        PlanKey(label, keyType);
        PlanSignInit(mechanism);
        PlanSign(m_Text, 64, {5, 6, 7});
        EXPECT_TRUE(Sign(sigKey));
        EXPECT_THAT(Signature(), ElementsAre(5, 6, 7));
        EXPECT_THAT(m_Log.Lines(), ElementsAre("M tkPKCS11::signString", "M PKCS11 Key Found",
                                               "M PKCS11 Anzeige: Bitte PIN eingeben"));
    }
}

TEST_F(SignString, TakesCharactersToo) {
    char text[] = "abc";
    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    PlanSign(m_Text, 64, {5});
    EXPECT_TRUE(m_Card.signString(text, 3, m_Out, m_OutLength, true));
    EXPECT_THAT(Signature(), ElementsAre(5));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M tkPKCS11::signString(char*)", "M tkPKCS11::signString",
                                           "M PKCS11 Key Found", "M PKCS11 Anzeige: Bitte PIN eingeben"));
}

TEST_F(SignString, TestsItsArgumentsInOrder) {
    struct Row {
        CK_SESSION_HANDLE m_Session;
        unsigned long m_InLength;
        bool m_HasInput;
        bool m_HasOutput;
        const char* m_Logged;
    };
    const Row rows[] = {
        {0, 0, false, false, "PKCS11 Session nicht offen"},
        {SESSION, 0, false, false, "PKCS11 insize == 0"},
        {SESSION, 3, false, false, "PKCS11 input == NULL"},
        {SESSION, 3, true, false, "PKCS11 output == NULL"},
    };
    for (const Row& row : rows) {
        m_Card.m_hSession = row.m_Session;
        unsigned char* const in = row.m_HasInput ? m_Text.data() : nullptr;
        unsigned char* const out = row.m_HasOutput ? m_Out : nullptr;
        EXPECT_FALSE(m_Card.signString(in, row.m_InLength, out, m_OutLength, true));
        EXPECT_FALSE(m_Card.signString(in, row.m_InLength, out, m_OutLength, m_Key, true, HASH_SHA1));
        EXPECT_THAT(m_Log.Lines(), ElementsAre("M tkPKCS11::signString", std::string("E ") + row.m_Logged,
                                               "M tkPKCS11::signString with HashAlgorithm",
                                               std::string("E ") + row.m_Logged));
        m_Log.Clear();
    }
    EXPECT_EQ(m_OutLength, 64U);
    EXPECT_EQ(m_Key, 17);
}

TEST_F(SignString, WalksTheKeysToTheFirstWhoseLabelBeginsAsWanted) {
    for (const bool withHash : {false, true}) {
        m_OutLength = sizeof(m_Out);
        PlanKeys({1, 2, 3, 4, 5, KEY, 99});
        PlanFailedRead(1, CKR_DEVICE_ERROR);
        PlanReadOfKey(2, "SK.CH.EKEY", CKK_RSA);
        PlanReadOfKey(3, "Alt SK.CH.SIG", CKK_RSA);
        PlanRead(4, {Claiming(257, Label("SK.CH.SIG")), KeyType(CKK_RSA)});
        PlanRead(5, {Label("SK.CH.SIG"), Claiming(sizeof(CK_ULONG) + 1, KeyType(CKK_RSA))});
        PlanReadOfKey(KEY, "SK.CH.SIG 2", CKK_ECDSA);
        PlanSignInit(CKM_ECDSA_SHA1);
        PlanSign(m_Text, 64, {5});
        EXPECT_TRUE(withHash ? Sign(true, HASH_SHA1) : Sign(true));
    }
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(SignString, ForgetsAKeyTypeBeforeTheNextKey) {
    PlanKeys({1, KEY});
    PlanReadOfKey(1, "anders", CKK_ECDSA);
    PlanRead(KEY, {Label("SK.CH.SIG"), {CKA_KEY_TYPE, sizeof(CK_KEY_TYPE), {}, 0}});
    PlanSignInit(CKM_SHA1_RSA_PKCS); // a key type of 0 is RSA
    PlanSign(m_Text, 64, {5});
    EXPECT_TRUE(Sign(true));
}

TEST_F(SignString, ReportsASearchThatFails) {
    for (size_t call = 0; call < 3; ++call) {
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(Sign(true));
        EXPECT_THAT(m_Log.Errors(),
                    ElementsAre(std::string(FAILED_STEPS[call]) + "0x30", "PKCS11 FindObjects ERROR"));
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(Sign(true, HASH_SHA256));
        EXPECT_THAT(m_Log.Errors(), ElementsAre(std::string(FAILED_STEPS[call]) + " ERROR0x30"));
    }
}

TEST_F(SignString, TrustsNoSearchThatClaimsMoreThanItCouldHandOut) {
    PlanSearchClaiming(11, {CKO_PRIVATE_KEY});
    EXPECT_FALSE(Sign(true));
    PlanSearchClaiming(11, {CKO_PRIVATE_KEY});
    EXPECT_FALSE(Sign(true, HASH_SHA256));
}

TEST_F(SignString, ReportsAKeyThatIsNotThere) {
    for (const bool withHash : {false, true}) {
        m_Log.Clear();
        PlanKeys({1});
        PlanReadOfKey(1, "SK.CH.SI", CKK_RSA);
        EXPECT_FALSE(withHash ? Sign(true, HASH_SHA256) : Sign(true));
        PlanKeys({});
        EXPECT_FALSE(withHash ? Sign(false, HASH_SHA256) : Sign(false));
        EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Key NOT Found", "PKCS11 Key NOT Found"));
    }
    EXPECT_EQ(m_Key, 17);
}

TEST_F(SignString, ReportsAKeyThatItCannotSignWith) {
    for (const bool withHash : {false, true}) {
        m_Log.Clear();
        PlanKey("SK.CH.SIG", CKK_DSA);
        EXPECT_FALSE(withHash ? Sign(true, HASH_SHA1) : Sign(true));
        EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Unbekannter Signaturalgorihtmus"));
    }
    EXPECT_EQ(m_Key, 17);
}

TEST_F(SignString, ReportsACardThatDoesNotSign) {
    for (const bool withHash : {false, true}) {
        m_Log.Clear();
        PlanKey("SK.CH.SIG", CKK_RSA);
        PlanSignInit(CKM_SHA1_RSA_PKCS, CKR_MECHANISM_INVALID);
        EXPECT_FALSE(withHash ? Sign(true, HASH_SHA1) : Sign(true));
        PlanKey("SK.CH.SIG", CKK_RSA);
        PlanSignInit(CKM_SHA1_RSA_PKCS);
        PlanFailedSign(CKR_FUNCTION_CANCELED);
        EXPECT_FALSE(withHash ? Sign(true, HASH_SHA1) : Sign(true));
        EXPECT_THAT(m_Log.Errors(),
                    ElementsAre("PKCS11 Proc_C_SignInit ERROR0x70", "PKCS11 Proc_C_Sign ERROR0x50"));
    }
}

TEST_F(SignString, TakesASignatureLongerThanItsRoomForAFailure) {
    PlanKey("SK.CH.SIG", CKK_RSA);
    PlanSignInit(CKM_SHA1_RSA_PKCS);
    PlanSignReporting(m_Text, 64, {5}, 65);
    EXPECT_FALSE(Sign(true));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_Sign ERROR0x150"));
}

// --- Form with a hash --------------------------------------------------------------------------------------

class SignStringWithHash : public SignString {
protected:
    /// Signs and expects this mechanism, this input to the card, and this kind of key told.
    void ExpectSigned(CK_KEY_TYPE keyType, bool sigKey, HashAlgorithm hash, CK_MECHANISM_TYPE mechanism,
                      const Bytes& input, SignKey told) {
        SCOPED_TRACE(testing::Message() << "key type " << keyType << ", hash " << hash << ", " << sigKey);
        m_OutLength = sizeof(m_Out);
        m_Key = static_cast<SignKey>(17);
        PlanKey(sigKey ? "SK.CH.SIG" : "SK.CH.EKEY", keyType);
        PlanSignInit(mechanism);
        PlanSign(input, 64, {5, 6});
        EXPECT_TRUE(Sign(sigKey, hash));
        EXPECT_THAT(Signature(), ElementsAre(5, 6));
        EXPECT_EQ(m_Key, told);
        testing::Mock::VerifyAndClearExpectations(&m_Library);
    }
};

TEST_F(SignStringWithHash, GivesAnRsaKeyTheDataWhereTheCardHashesElseTheHashWithItsDigestInfo) {
    for (const bool sigKey : {true, false}) {
        ExpectSigned(CKK_RSA, sigKey, HASH_SHA1, CKM_SHA1_RSA_PKCS, m_Text, KEY_RSA);
        for (const HashAlgorithm hash :
             {HASH_SHA224, HASH_SHA256, HASH_SHA512, HASH_MD5, HASH_MD4, HASH_SHA384}) {
            ExpectSigned(CKK_RSA, sigKey, hash, CKM_RSA_PKCS, WithDigestInfo(hash), KEY_RSA);
        }
    }
    ExpectSigned(CKK_RSA, true, HASH_RIPEMD160, CKM_RIPEMD160_RSA_PKCS, m_Text, KEY_RSA);
    ExpectSigned(CKK_RSA, false, HASH_RIPEMD160, CKM_RSA_PKCS, WithDigestInfo(HASH_RIPEMD160), KEY_RSA);
}

TEST_F(SignStringWithHash, GivesAnEcKeyTheDataWithSha1ElseTheBareHash) {
    for (const bool sigKey : {true, false}) {
        ExpectSigned(CKK_ECDSA, sigKey, HASH_SHA1, CKM_ECDSA_SHA1, m_Text, KEY_ECC);
        for (const HashAlgorithm hash :
             {HASH_RIPEMD160, HASH_SHA224, HASH_SHA256, HASH_SHA512, HASH_MD5, HASH_MD4, HASH_SHA384}) {
            ExpectSigned(CKK_ECDSA, sigKey, hash, CKM_ECDSA, BareDigest(hash), KEY_ECC);
        }
    }
}

TEST_F(SignStringWithHash, TellsWhatItDoes) {
    PlanKey("SK.CH.SIG", CKK_ECDSA);
    PlanSignInit(CKM_ECDSA);
    PlanSign(BareDigest(HASH_SHA256), 64, {5});
    EXPECT_TRUE(m_Card.signString(m_Text.data(), m_Text.size(), m_Out, m_OutLength, true, HASH_SHA256));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M tkPKCS11::signString with HashAlgorithm", "M PKCS11 Key Found",
                                           "M tkPKCS11::hashString", "M PKCS11 Anzeige: Bitte PIN eingeben"));
}

TEST_F(SignStringWithHash, CannotHashWithoutAnAlgorithm) {
    for (const CK_KEY_TYPE keyType : {CKK_RSA, CKK_ECDSA}) {
        m_Log.Clear();
        PlanKey("SK.CH.SIG", keyType);
        EXPECT_FALSE(Sign(true, HASH_RAW));
        EXPECT_EQ(m_Key, keyType == CKK_RSA ? KEY_RSA : KEY_ECC);
        EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 ERROR hashing data"));
    }
    EXPECT_EQ(m_OutLength, 64U);
}

TEST_F(SignStringWithHash, HasRoomFor2048BytesOfDataAndHashesAnyLength) {
    const std::tuple<CK_KEY_TYPE, HashAlgorithm, CK_MECHANISM_TYPE> rows[] = {
        {CKK_RSA, HASH_SHA1, CKM_SHA1_RSA_PKCS},
        {CKK_RSA, HASH_RIPEMD160, CKM_RIPEMD160_RSA_PKCS},
        {CKK_ECDSA, HASH_SHA1, CKM_ECDSA_SHA1},
    };
    for (const auto& [keyType, hash, mechanism] : rows) {
        m_Log.Clear();
        m_Text.assign(2049, 'x');
        PlanKey("SK.CH.SIG", keyType);
        EXPECT_FALSE(Sign(true, hash));
        EXPECT_THAT(m_Log.Errors(), ElementsAre("Data size too long: 2049 bytes"));
        m_Text.resize(2048);
        ExpectSigned(keyType, true, hash, mechanism, m_Text, keyType == CKK_RSA ? KEY_RSA : KEY_ECC);
    }
    m_Text.assign(2049, 'x');
    Bytes hashed;
    EXPECT_TRUE(m_Card.hashString(m_Text.data(), m_Text.size(), hashed, HASH_SHA256, true));
    ExpectSigned(CKK_RSA, true, HASH_SHA256, CKM_RSA_PKCS, hashed, KEY_RSA);
}
