// SPDX-License-Identifier: MIT
#include "bridge/Roles.h"

#include <gmock/gmock.h>

using namespace orselbridge;

namespace {

KeyPair Pair(unsigned char id, const std::string& label = "") {
    KeyPair pair;
    pair.m_Id = {id};
    pair.m_Label = label;
    return pair;
}

/// Which pairs play the roles, and why.
void ExpectRoles(const Roles& roles, std::size_t signature, RoleReason why, std::size_t encryption,
                 RoleReason otherWhy) {
    ASSERT_TRUE(roles.m_Signature && roles.m_Encryption);
    EXPECT_EQ(signature, roles.m_Signature->m_Pair);
    EXPECT_EQ(why, roles.m_Signature->m_Reason);
    EXPECT_EQ(encryption, roles.m_Encryption->m_Pair);
    EXPECT_EQ(otherWhy, roles.m_Encryption->m_Reason);
}

} // namespace

class TheRoles : public testing::Test {
protected:
    std::vector<KeyPair> m_Pairs = {Pair(1, "a"), Pair(2, "b"), Pair(3, "c")};
    RoleNames m_Names;
};

TEST_F(TheRoles, AreNobodysWithoutKeys) {
    const Roles roles = ChooseRoles({}, {});
    EXPECT_FALSE(roles.m_Signature);
    EXPECT_FALSE(roles.m_Encryption);
}

TEST_F(TheRoles, GoToTheKeyThatAsksAtEachUseAndToTheFirstOther) {
    m_Pairs[1].m_AsksAtEachUse = true;
    m_Pairs[0].m_IsForNonRepudiation = true;
    ExpectRoles(ChooseRoles(m_Pairs, {}), 1, RoleReason::ASKS_AT_EACH_USE, 0, RoleReason::OTHER_SIGNING_KEY);
}

TEST_F(TheRoles, GoToTheKeyForNonRepudiation) {
    m_Pairs[2].m_IsForNonRepudiation = true;
    ExpectRoles(ChooseRoles(m_Pairs, {}), 2, RoleReason::NON_REPUDIATION, 0, RoleReason::OTHER_SIGNING_KEY);
}

TEST_F(TheRoles, GoByTheOrderWhereNothingMarksAKey) {
    m_Pairs[0].m_MaySign = false;
    ExpectRoles(ChooseRoles(m_Pairs, {}), 1, RoleReason::FIRST_SIGNING_KEY, 2, RoleReason::OTHER_SIGNING_KEY);
}

TEST_F(TheRoles, AreBothTheOnlyKeys) {
    m_Pairs.resize(1);
    ExpectRoles(ChooseRoles(m_Pairs, {}), 0, RoleReason::ONLY_KEY, 0, RoleReason::ONLY_KEY);
}

TEST_F(TheRoles, GoByTheSettings) {
    m_Pairs[0].m_AsksAtEachUse = true;
    m_Names.m_Signature.m_Label = "c";
    m_Names.m_Encryption.m_Id = Bytes{2};
    ExpectRoles(ChooseRoles(m_Pairs, m_Names), 2, RoleReason::BY_SETTING, 1, RoleReason::BY_SETTING);
}

TEST_F(TheRoles, LeaveAKeyToTheRoleThatItIsSetFor) {
    m_Pairs[0].m_AsksAtEachUse = true;
    m_Names.m_Encryption.m_Label = "a";
    ExpectRoles(ChooseRoles(m_Pairs, m_Names), 1, RoleReason::FIRST_SIGNING_KEY, 0, RoleReason::BY_SETTING);
    m_Pairs.resize(1);
    ExpectRoles(ChooseRoles(m_Pairs, m_Names), 0, RoleReason::ONLY_KEY, 0, RoleReason::BY_SETTING);
}

TEST_F(TheRoles, DoNotMindASettingThatFitsNoKey) {
    m_Names.m_Signature.m_Label = "nothing";
    m_Pairs[1].m_IsForNonRepudiation = true;
    ExpectRoles(ChooseRoles(m_Pairs, m_Names), 1, RoleReason::NON_REPUDIATION, 0,
                RoleReason::OTHER_SIGNING_KEY);
}

TEST_F(TheRoles, OfTheOnlyKeyMayBeSetForBothInOne) {
    m_Pairs.resize(1);
    m_Names.m_Signature.m_Label = "a";
    ExpectRoles(ChooseRoles(m_Pairs, m_Names), 0, RoleReason::BY_SETTING, 0, RoleReason::ONLY_KEY);
}

TEST_F(TheRoles, HaveLabelsForKeysAndCertificatesAlone) {
    EXPECT_EQ("SK.CH.SIG", RoleLabel(Role::SIGNATURE, CKO_PRIVATE_KEY));
    EXPECT_EQ("C.CH.EKEY", RoleLabel(Role::ENCRYPTION, CKO_CERTIFICATE));
    EXPECT_EQ("", RoleLabel(Role::SIGNATURE, CKO_DATA));
}
