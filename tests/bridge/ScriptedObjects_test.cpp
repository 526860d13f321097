// SPDX-License-Identifier: MIT
// What the bridge shows of a module's objects, and which object of the module is meant.
#include "tests/bridge/ScriptTest.h"
#include "tests/support/CertificateBuilder.h"

using orseltest::Bytes;
using orseltest::ModuleScript;
using orseltest::Rv;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tokenlib::BytesOf;
using tokenlib::FlagValue;
using tokenlib::NumberValue;

class AnObjectOfTheModule : public orseltest::ScriptTest {
protected:
    CK_OBJECT_HANDLE FindOne(CK_OBJECT_CLASS objectClass, const std::string& label) const {
        return m_Bridge->FindOne(m_Session, objectClass, label);
    }
    std::string LabelOf(CK_OBJECT_HANDLE object) const {
        return tokenlib::TextOf(m_Bridge->Attribute(m_Session, object, CKA_LABEL));
    }
    std::vector<std::string> Labels(CK_OBJECT_CLASS objectClass) const {
        std::vector<std::string> labels;
        for (const CK_OBJECT_HANDLE object : m_Bridge->Find(m_Session, objectClass)) {
            labels.push_back(LabelOf(object));
        }
        return labels;
    }
    /// All objects with these attributes, of which there are eight at most.
    std::vector<CK_OBJECT_HANDLE> Search(tokenlib::AttributeMap wanted) const {
        std::vector<CK_ATTRIBUTE> attributes;
        for (auto& [type, value] : wanted) {
            attributes.push_back(orseltest::AttributeOver(type, value));
        }
        std::vector<CK_OBJECT_HANDLE> found(8);
        CK_ULONG count = 0;
        EXPECT_EQ(Rv(CKR_OK), Call().C_FindObjectsInit(m_Session, attributes.data(), attributes.size()));
        EXPECT_EQ(Rv(CKR_OK), Call().C_FindObjects(m_Session, found.data(), found.size(), &count));
        EXPECT_EQ(Rv(CKR_OK), Call().C_FindObjectsFinal(m_Session));
        found.resize(count);
        return found;
    }
    std::vector<CK_OBJECT_HANDLE> PrivateKeysOfId(unsigned char id) const {
        return Search({{CKA_CLASS, NumberValue(CKO_PRIVATE_KEY)}, {CKA_ID, {id}}});
    }
};

TEST_F(AnObjectOfTheModule, ThatPlaysNoRoleIsReadInTheModule) {
    Add(7, CKO_DATA, "note", {{CKA_VALUE, BytesOf("content")}});
    Start();
    EXPECT_EQ("content", tokenlib::TextOf(m_Bridge->Attribute(m_Session, 7, CKA_VALUE)));
    EXPECT_THAT(HeardOf("C_GetAttributeValue"), SizeIs(2));
    CK_ATTRIBUTE lacking = {CKA_ID, nullptr, 0};
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_TYPE_INVALID), Call().C_GetAttributeValue(m_Session, 7, &lacking, 1));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, lacking.ulValueLen);
    EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), Call().C_GetAttributeValue(m_Session, 8, &lacking, 1));
}

TEST_F(AnObjectOfTheModule, IsThereToBeAskedForNothing) {
    Add(7, CKO_DATA, "note");
    Start();
    EXPECT_EQ(Rv(CKR_OK), Call().C_GetAttributeValue(m_Session, 7, nullptr, 0));
    EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), Call().C_GetAttributeValue(m_Session, 8, nullptr, 0));
}

TEST_F(AnObjectOfTheModule, WithAValueBeyondItsRoomIsRefused) {
    Add(7, CKO_DATA, "note", {{CKA_VALUE, BytesOf("content")}});
    Start();
    m_Script.m_Lengths = {{"C_GetAttributeValue", 1000000}};
    Bytes room(7);
    CK_ATTRIBUTE asked = orseltest::AttributeOver(CKA_VALUE, room);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), Call().C_GetAttributeValue(m_Session, 7, &asked, 1));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("C_GetAttributeValue: a length of 1000000 for a room of 7\n"));
}

TEST_F(AnObjectOfTheModule, GivesTheLabelOfItsRoleIfThereIsRoomForIt) {
    AddPair(1, 1, "own");
    Start();
    const CK_OBJECT_HANDLE key = FindOne(CKO_PUBLIC_KEY, "PK.CH.SIG");
    Bytes room(8);
    CK_ATTRIBUTE asked = orseltest::AttributeOver(CKA_LABEL, room);
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), Call().C_GetAttributeValue(m_Session, key, &asked, 1));
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, asked.ulValueLen);
    EXPECT_EQ(Bytes(8), room);
}

TEST_F(AnObjectOfTheModule, ThatIsHiddenSaysWhatWasMadeUpForItAndNoSecret) {
    AddPair(1, 1, "own");
    Start();
    const CK_OBJECT_HANDLE key = FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG");
    CK_ATTRIBUTE asked[] = {
        {CKA_PRIVATE_EXPONENT, nullptr, 0}, {CKA_START_DATE, nullptr, 0}, {CKA_MODULUS, nullptr, 0}};
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_SENSITIVE), Call().C_GetAttributeValue(m_Session, key, asked, 3))
        << "the first failure";
    EXPECT_EQ(128U, asked[2].ulValueLen) << "the others are given all the same";
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_TYPE_INVALID), Call().C_GetAttributeValue(m_Session, key, asked + 1, 1));
    m_Script.m_Heard.clear();
    EXPECT_EQ(Rv(CKR_OK), Call().C_GetAttributeValue(m_Session, key, asked + 2, 1));
    EXPECT_THAT(HeardOf("C_GetAttributeValue"), IsEmpty());
}

TEST_F(AnObjectOfTheModule, ThatIsHiddenIsReadInTheModuleAfterALogin) {
    AddPair(1, 1, "own");
    Start();
    const CK_OBJECT_HANDLE key = FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG");
    m_Script.m_IsLoggedIn = true;
    m_Script.m_Heard.clear();
    EXPECT_EQ(Bytes({1}), m_Bridge->Attribute(m_Session, key, CKA_ID));
    EXPECT_THAT(HeardOf("C_GetAttributeValue"),
                ElementsAre("C_GetAttributeValue 101 1", "C_GetAttributeValue 101 1"));
    EXPECT_EQ("SK.CH.SIG", LabelOf(key));
}

TEST_F(AnObjectOfTheModule, ThatIsHiddenCannotBeChanged) {
    AddPair(1, 1, "own");
    Start();
    const CK_OBJECT_HANDLE key = FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG");
    EXPECT_EQ(Rv(CKR_USER_NOT_LOGGED_IN), Call().C_DestroyObject(m_Session, key));
    EXPECT_THAT(HeardOf("C_DestroyObject"), IsEmpty());
    m_Script.m_IsLoggedIn = true;
    EXPECT_EQ(Rv(CKR_OK), Call().C_DestroyObject(m_Session, key));
    EXPECT_THAT(HeardOf("C_DestroyObject"), ElementsAre("C_DestroyObject 101 1"));
    m_Script.m_Objects.clear();
    EXPECT_EQ(Rv(CKR_USER_NOT_LOGGED_IN), Call().C_DestroyObject(m_Session, key)) << "it is nowhere";
}

TEST_F(AnObjectOfTheModule, OfAnotherTokenIsNoneOfThisSession) {
    m_Script.m_Tokens[6] = ModuleScript::Token();
    AddPair(1, 1, "own");
    Start();
    const CK_OBJECT_HANDLE key = FindOne(CKO_PUBLIC_KEY, "PK.CH.SIG");
    const CK_OBJECT_HANDLE privateKey = FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG");
    const CK_SESSION_HANDLE other = m_Bridge->Open(6);
    CK_ATTRIBUTE asked = {CKA_ID, nullptr, 0};
    EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), Call().C_GetAttributeValue(other, key, &asked, 1));
    EXPECT_EQ(Rv(CKR_OBJECT_HANDLE_INVALID), Call().C_DestroyObject(other, key));
    CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), Call().C_SignInit(other, &mechanism, privateKey));
    EXPECT_THAT(HeardOf("C_DestroyObject"), IsEmpty());
    m_Session = other;
    EXPECT_NE(key, FindOne(CKO_PUBLIC_KEY, "PK.CH.SIG")) << "the other token's own has another handle";
}

TEST_F(AnObjectOfTheModule, WithoutARoleKeepsItsOwnNameAlsoWhileItIsHidden) {
    AddPair(1, 1, "first");
    AddPair(2, 2, "second");
    AddPair(3, 3, "third");
    Start();
    EXPECT_THAT(Labels(CKO_PRIVATE_KEY), ElementsAre("SK.CH.SIG", "SK.CH.EKEY", "third"));
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), ElementsAre("PK.CH.SIG", "PK.CH.EKEY", "third"));
    const CK_OBJECT_HANDLE hidden = FindOne(CKO_PRIVATE_KEY, "third");
    m_Script.m_IsLoggedIn = true;
    EXPECT_EQ(hidden, FindOne(CKO_PRIVATE_KEY, "third"));
}

TEST_F(AnObjectOfTheModule, ThatIsTheSecondOfItsKindWithOneIdIsNoPairOfItsOwn) {
    AddPair(1, 1, "first");
    m_Script.m_Objects[1][CKA_PRIVATE] = FlagValue(false);
    Add(9, CKO_PRIVATE_KEY, "again", {{CKA_ID, {1}}, {CKA_PRIVATE, FlagValue(false)}});
    Add(109, CKO_PUBLIC_KEY, "again", {{CKA_ID, {1}}});
    Start();
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), ElementsAre("PK.CH.SIG", "PK.CH.EKEY", "again"));
    EXPECT_THAT(Labels(CKO_PRIVATE_KEY), ElementsAre("SK.CH.SIG", "SK.CH.EKEY", "again"));
}

TEST_F(AnObjectOfTheModule, WithoutAnIdBelongsToTheOthersByItsLabel) {
    Add(1, CKO_PRIVATE_KEY, "alone", {{CKA_SIGN, FlagValue(true)}});
    Add(101, CKO_PUBLIC_KEY, "alone", {{CKA_VERIFY, FlagValue(true)}});
    Add(102, CKO_PUBLIC_KEY, "other", {{CKA_VERIFY, FlagValue(true)}});
    Start();
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), ElementsAre("PK.CH.SIG", "PK.CH.EKEY"));
    const CK_OBJECT_HANDLE key = FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG");
    m_Script.m_IsLoggedIn = true;
    EXPECT_EQ(Rv(CKR_OK), Call().C_DestroyObject(m_Session, key));
    EXPECT_THAT(HeardOf("C_DestroyObject"), ElementsAre("C_DestroyObject 101 1")) << "found by its label";
}

TEST_F(AnObjectOfTheModule, WithoutAnIdIsNotTheOneOfTheSameLabelThatHasOne) {
    AddPair(1, 1, "own");
    Add(2, CKO_PRIVATE_KEY, "own", {{CKA_SIGN, FlagValue(true)}});
    Add(102, CKO_PUBLIC_KEY, "own", {{CKA_VERIFY, FlagValue(true)}});
    Start();
    EXPECT_THAT(Labels(CKO_PRIVATE_KEY), ElementsAre("SK.CH.SIG", "SK.CH.EKEY"));
    const CK_OBJECT_HANDLE withoutId = FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG");
    const CK_OBJECT_HANDLE withId = FindOne(CKO_PRIVATE_KEY, "SK.CH.EKEY");
    EXPECT_THAT(PrivateKeysOfId(1), ElementsAre(withId)) << "hidden";
    m_Script.m_IsLoggedIn = true;
    EXPECT_THAT(PrivateKeysOfId(1), ElementsAre(withId));
    EXPECT_EQ(Rv(CKR_OK), Call().C_DestroyObject(m_Session, withoutId));
    EXPECT_EQ(Rv(CKR_OK), Call().C_DestroyObject(m_Session, withId));
    EXPECT_THAT(HeardOf("C_DestroyObject"), ElementsAre("C_DestroyObject 101 2", "C_DestroyObject 101 1"));
}

TEST_F(AnObjectOfTheModule, ThatIsNoCertificateIsNobodys) {
    Add(1, CKO_CERTIFICATE, "broken", {{CKA_ID, {1}}, {CKA_VALUE, BytesOf("no DER")}});
    Add(2, CKO_CERTIFICATE, "empty", {{CKA_ID, {2}}});
    Start();
    EXPECT_THAT(Labels(CKO_CERTIFICATE), ElementsAre("broken", "empty"));
    EXPECT_THAT(m_Bridge->Find(m_Session, CKO_PRIVATE_KEY), IsEmpty());
}

TEST_F(AnObjectOfTheModule, IsFoundByAllThatIsKnownOfAHiddenOne) {
    AddPair(1, 1, "own");
    Start();
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_KEY_TYPE type = CKK_EC;
    CK_ATTRIBUTE wanted[] = {{CKA_CLASS, &objectClass, sizeof objectClass},
                             {CKA_KEY_TYPE, &type, sizeof type}};
    for (const auto& [kind, count] : {std::pair<CK_KEY_TYPE, CK_ULONG>{CKK_EC, 0}, {CKK_RSA, 2}}) {
        type = kind;
        CK_OBJECT_HANDLE found[4] = {};
        CK_ULONG number = 4;
        EXPECT_EQ(Rv(CKR_OK), Call().C_FindObjectsInit(m_Session, wanted, 2));
        EXPECT_EQ(Rv(CKR_OPERATION_ACTIVE), Call().C_FindObjectsInit(m_Session, wanted, 2));
        EXPECT_EQ(Rv(CKR_OK), Call().C_FindObjects(m_Session, found, 4, &number));
        EXPECT_EQ(Rv(CKR_OK), Call().C_FindObjectsFinal(m_Session));
        EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), Call().C_FindObjectsFinal(m_Session));
        EXPECT_EQ(count, number);
    }
}

TEST_F(AnObjectOfTheModule, WithoutAKeyIsNoKeyAfterALogin) {
    Add(101, CKO_PUBLIC_KEY, "public alone", {{CKA_ID, {1}}, {CKA_VERIFY, FlagValue(true)}});
    Start();
    EXPECT_THAT(Labels(CKO_PRIVATE_KEY), ElementsAre("SK.CH.SIG", "SK.CH.EKEY")) << "it may be hidden";
    m_Script.m_IsLoggedIn = true;
    EXPECT_THAT(Labels(CKO_PRIVATE_KEY), IsEmpty());
}

TEST_F(AnObjectOfTheModule, ThatMayNotSignPlaysNoRole) {
    Add(101, CKO_PUBLIC_KEY, "mute", {{CKA_ID, {1}}, {CKA_VERIFY, FlagValue(false)}});
    Start();
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), ElementsAre("mute"));
    EXPECT_THAT(Labels(CKO_PRIVATE_KEY), ElementsAre("mute"));
}

TEST_F(AnObjectOfTheModule, WithAFlagOfAnotherSizeDoesNotHaveIt) {
    Add(101, CKO_PUBLIC_KEY, "odd", {{CKA_ID, {1}}, {CKA_VERIFY, NumberValue(1)}});
    Start();
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), ElementsAre("odd"));
}

TEST_F(AnObjectOfTheModule, WithAnAttributeBeyondReasonDoesNotHaveIt) {
    Add(101, CKO_PUBLIC_KEY, "huge", {{CKA_ID, Bytes(65537)}, {CKA_VERIFY, FlagValue(true)}});
    Start();
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), ElementsAre("PK.CH.SIG", "PK.CH.EKEY"));
    EXPECT_THAT(m_Bridge->Attribute(m_Session, FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG"), CKA_ID), IsEmpty());
}

TEST_F(AnObjectOfTheModule, ThatVanishesWhileItIsReadIsLeftOut) {
    AddPair(1, 1, "own");
    Start();
    int reads = 0;
    m_Script.m_Before = [&](const std::string& function) {
        if (function == "C_GetAttributeValue" && ++reads == 2) { // between its size and its value
            m_Script.m_Objects.clear();
        }
    };
    EXPECT_THAT(m_Bridge->Find(m_Session, CKO_PUBLIC_KEY), IsEmpty());
    EXPECT_GT(reads, 1);
}

TEST_F(AnObjectOfTheModule, IsLookedForInASessionOfItsOwnWhileTheModuleIsBusyInThis) {
    AddPair(1, 1, "own");
    Start();
    EXPECT_THAT(Labels(CKO_PUBLIC_KEY), SizeIs(2));
    m_Script.m_Heard.clear();
    m_Script.m_Codes["C_FindObjectsInit"] = {CKR_OPERATION_ACTIVE};
    EXPECT_THAT(m_Bridge->Find(m_Session, CKO_PUBLIC_KEY), SizeIs(2));
    EXPECT_THAT(HeardOf("C_OpenSession"), ElementsAre("C_OpenSession 5 4 - -"));
    EXPECT_THAT(HeardOf("C_FindObjectsInit"), ElementsAre("C_FindObjectsInit 101", "C_FindObjectsInit 102"));
    EXPECT_THAT(HeardOf("C_CloseSession"), ElementsAre("C_CloseSession 102"));
    m_Script.m_Codes["C_FindObjectsInit"] = {CKR_DEVICE_REMOVED};
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), Call().C_FindObjectsInit(m_Session, nullptr, 0));
}

TEST_F(AnObjectOfTheModule, ThatIsACertificateAloneStandsForItsKey) {
    const Bytes der = CertificateBuilder().Extension("keyUsage", "digitalSignature").Der();
    Add(1, CKO_CERTIFICATE, "mine", {{CKA_ID, {1}}, {CKA_VALUE, der}});
    Add(2, CKO_CERTIFICATE, "renewed", {{CKA_ID, {1}}, {CKA_VALUE, der}});
    Start();
    EXPECT_THAT(Labels(CKO_CERTIFICATE), ElementsAre("C.CH.SIG", "C.CH.EKEY", "renewed"))
        << "a second one of an id is nobody's";
    const CK_OBJECT_HANDLE key = FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG");
    EXPECT_EQ(CKK_RSA, m_Bridge->NumberAttribute(m_Session, key, CKA_KEY_TYPE));
    EXPECT_THAT(m_Bridge->Attribute(m_Session, key, CKA_MODULUS), SizeIs(256));
    EXPECT_THAT(m_Bridge->Attribute(m_Session, key, CKA_SUBJECT), testing::Not(IsEmpty()));
}

TEST_F(AnObjectOfTheModule, ThatIsACertificateWithAKeyOfAnotherKindTellsNoNumbers) {
    Add(1, CKO_CERTIFICATE, "odd",
        {{CKA_ID, {1}}, {CKA_VALUE, CertificateBuilder().Key(TestKey::ED25519).Der()}});
    Start();
    CK_ATTRIBUTE asked = {CKA_KEY_TYPE, nullptr, 0};
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_TYPE_INVALID),
              Call().C_GetAttributeValue(m_Session, FindOne(CKO_PRIVATE_KEY, "SK.CH.SIG"), &asked, 1));
}

TEST_F(AnObjectOfTheModule, ThatIsAnAuthoritysCertificateIsNobodys) {
    const Bytes der = CertificateBuilder().Extension("basicConstraints", "critical,CA:TRUE").Der();
    Add(1, CKO_CERTIFICATE, "authority", {{CKA_ID, {1}}, {CKA_VALUE, der}});
    Start();
    EXPECT_THAT(Labels(CKO_CERTIFICATE), ElementsAre("authority"));
    EXPECT_THAT(m_Bridge->Find(m_Session, CKO_PRIVATE_KEY), IsEmpty());
}

TEST_F(AnObjectOfTheModule, IsOneOfTwoKeysWhereAllOfOneClassAreAskedForByAnId) {
    AddPair(1, 1, "first");
    AddPair(2, 2, "second");
    AddPair(3, 2, "third");
    Start();
    const std::vector<CK_OBJECT_HANDLE> found = Search({{CKA_ID, {2}}});
    ASSERT_THAT(found, SizeIs(3));
    EXPECT_EQ("PK.CH.EKEY", LabelOf(found[0]));
    EXPECT_EQ("third", LabelOf(found[1]));
    EXPECT_EQ("SK.CH.EKEY", LabelOf(found[2]));
}
