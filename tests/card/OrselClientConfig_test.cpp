// SPDX-License-Identifier: MIT
// The version of the client software, with the system's configuration file in place.
#include "card/OrselClientConfig.h"

#include "foundation/Config.h"
#include <gmock/gmock.h>

#include "tests/card/ProbedCard.h"
#include "tests/support/SystemConfig.h"

using testing::ElementsAre;
using namespace Velmor;

namespace {

/// Every test is a process of its own: the file is read once in a process.
class TheClientsVersion : public testing::Test {
protected:
    void SetUp() override {
        if (!SystemConfig::Obstacle().empty()) {
            GTEST_SKIP() << SystemConfig::Obstacle();
        }
    }
    static void Write(const std::string& version) {
        SystemConfig::MakeDirectory();
        SystemConfig::Write("<orselclient><orsel_Client><Version>" + version +
                            "</Version></orsel_Client></orselclient>");
    }
    std::vector<int> Version() {
        int version[4] = {9, 9, 9, 9};
        m_Card.LoadOrselClientVersion(version);
        return {version, version + 4};
    }
    SystemConfig m_System;
    ProbedCard m_Card;
};

} // namespace

TEST_F(TheClientsVersion, IsReadFromTheSystemsFile) {
    Write("2.1.0.3");
    EXPECT_THAT(Version(), ElementsAre(2, 1, 0, 3));
    EXPECT_EQ(m_Card.GetOrselClientVersion(), "2.1.0.3");
    EXPECT_EQ(m_Card.m_ClientVersion[0], 0); // which only a successful Init fills
}

TEST_F(TheClientsVersion, IsZeroWithoutAFile) {
    EXPECT_THAT(Version(), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(m_Card.GetOrselClientVersion(), "0.0.0.0");
}

TEST_F(TheClientsVersion, IsZeroWithTooFewFields) {
    Write("3.1");
    EXPECT_THAT(Version(), ElementsAre(0, 0, 0, 0));
}

TEST_F(TheClientsVersion, IsZeroWhenItIsMalformed) {
    Write("1.2.x.4");
    EXPECT_THAT(Version(), ElementsAre(0, 0, 0, 0));
}

TEST_F(TheClientsVersion, IsZeroWithADamagedFile) {
    SystemConfig::MakeDirectory();
    SystemConfig::Write("<orselclient><orsel_Client><Version>2.1.0.3");
    EXPECT_THAT(Version(), ElementsAre(0, 0, 0, 0));
}

TEST_F(TheClientsVersion, IsAskedForAnewInAFileThatIsReadOnce) {
    Write("2.1.0.3");
    EXPECT_THAT(Version(), ElementsAre(2, 1, 0, 3));
    Write("4.4.4.4");
    EXPECT_THAT(Version(), ElementsAre(2, 1, 0, 3));
}

TEST_F(TheClientsVersion, HasItsOwnInstanceWithTwoRows) {
    Config* config = OrselClientConfig::GetHandle();
    EXPECT_EQ(OrselClientConfig::GetHandle(), config);
    EXPECT_NE(config, Config::GetHandle());
    OrselClientConfig::Load();
    const sConfig* group = config->GetConfigEntry(0);
    const sConfig* version = config->GetConfigEntry(1);
    ASSERT_TRUE(group != nullptr && version != nullptr);
    EXPECT_EQ(group->m_Path, "orsel Client");
    EXPECT_EQ(group->m_Key, "");
    EXPECT_EQ(version->m_Path, "orsel Client");
    EXPECT_EQ(version->m_Key, "Version");
    EXPECT_EQ(version->m_Type, CONFIG_TYPE_SYSTEM);
    EXPECT_EQ(version->m_SysType, SYS_TYPE_0);
}
