// SPDX-License-Identifier: MIT
#include "bridge/Settings.h"

#include <filesystem>

#include <gmock/gmock.h>

#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using orselbridge::Bytes;
using orselbridge::Settings;
using testing::ElementsAre;
using testing::HasSubstr;

/// A home without settings, and no module in the environment.
class TheSettings : public testing::Test {
protected:
    void Write(const std::string& json) {
        std::filesystem::create_directories(m_Folder.Path("orselcards"));
        m_Folder.File("orselcards/bridge.json", json);
    }

    TempDir m_Folder;
    const ScopedVariable m_Config{"XDG_CONFIG_HOME", m_Folder.Path().c_str()};
    const ScopedVariable m_Module{"ORSELBRIDGE_MODULE", nullptr};
};

TEST_F(TheSettings, AreTheProxyAndThenOpenScByDefault) {
    const Settings settings = Settings::Read();
    EXPECT_THAT(settings.m_Modules, ElementsAre("p11-kit-proxy.so", "opensc-pkcs11.so"));
    EXPECT_TRUE(settings.m_ShowsFixedSlots);
}

TEST_F(TheSettings, NameAModuleThatTheEnvironmentMayReplace) {
    Write(R"({"module": "/lib/a.so", "showFixedSlots": false})");
    EXPECT_THAT(Settings::Read().m_Modules, ElementsAre("/lib/a.so"));
    EXPECT_FALSE(Settings::Read().m_ShowsFixedSlots);
    const ScopedVariable module("ORSELBRIDGE_MODULE", "/lib/b.so");
    EXPECT_THAT(Settings::Read().m_Modules, ElementsAre("/lib/b.so"));
}

TEST_F(TheSettings, NameAModelBeforeTheEnvironmentDoes) {
    const ScopedVariable model("ORSELBRIDGE_MODEL", "CardOS 5.3");
    EXPECT_EQ("CardOS 5.3", Settings::Read().m_Model);
    Write(R"({"model": "ACOS EMV-A05"})");
    EXPECT_EQ("ACOS EMV-A05", Settings::Read().m_Model);
}

TEST_F(TheSettings, NameRolesForAllTokensAndForSome) {
    const Settings settings = Settings::Parse(R"({
        "roles": {"signature": {"label": "x"}},
        "tokens": [
            {"label": "A", "serial": "1", "roles": {"signature": {"id": "0aFF"}}},
            {"label": "A", "roles": {"encryption": {"label": "e", "id": "01"}}}]})");
    EXPECT_EQ("x", settings.RolesFor("B", "1").m_Signature.m_Label);
    EXPECT_EQ(Bytes({0x0A, 0xFF}), settings.RolesFor("A", "1").m_Signature.m_Id);
    const auto& encryption = settings.RolesFor("A", "2").m_Encryption;
    EXPECT_TRUE(encryption.Names("e", {1}));
    EXPECT_FALSE(encryption.Names("e", {2}));
    EXPECT_FALSE(settings.RolesFor("A", "2").m_Signature.Names("", {})) << "an empty name names nothing";
}

TEST_F(TheSettings, ThatMakeNoSenseAreReportedAndPassedOver) {
    const char* broken[] = {
        "",
        "[]",
        "{",
        R"({"modul": "a"})",
        R"({"module": 1})",
        R"({"showFixedSlots": "yes"})",
        R"({"roles": []})",
        R"({"roles": {"signature": {"id": "xy"}}})",
        R"({"roles": {"signature": {"name": "xy"}}})",
        R"({"tokens": {}})",
        R"({"tokens": [1]})",
    };
    for (const char* json : broken) {
        Write(json);
        testing::internal::CaptureStderr();
        EXPECT_THAT(Settings::Read().m_Modules, ElementsAre("p11-kit-proxy.so", "opensc-pkcs11.so")) << json;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("OrselP11: no settings: ")) << json;
    }
}

TEST_F(TheSettings, LieBelowTheHomeWithoutAFolderForThem) {
    Write(R"({"model": "M"})");
    std::filesystem::create_directories(m_Folder.Path(".config"));
    std::filesystem::rename(m_Folder.Path("orselcards"), m_Folder.Path(".config/orselcards"));
    const ScopedVariable noFolder("XDG_CONFIG_HOME", nullptr);
    const ScopedVariable home("HOME", m_Folder.Path());
    EXPECT_EQ("M", Settings::Read().m_Model);
    const ScopedVariable noHome("HOME", nullptr);
    EXPECT_EQ("", Settings::Read().m_Model);
}

TEST_F(TheSettings, ThatCannotBeReadAreReportedByTheirPath) {
    std::filesystem::create_directories(m_Folder.Path("orselcards/bridge.json"));
    testing::internal::CaptureStderr();
    EXPECT_EQ("", Settings::Read().m_Model);
    EXPECT_EQ("OrselP11: no settings: " + m_Folder.Path("orselcards/bridge.json") + ": not a regular file\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(TheSettings, MayNameATokenByItsSerialAlone) {
    const Settings settings = Settings::Parse(R"({
        "tokens": [{"serial": "1", "roles": {"signature": {"label": "x"}}}]})");
    EXPECT_EQ("x", settings.RolesFor("any", "1").m_Signature.m_Label);
    EXPECT_EQ(std::nullopt, settings.RolesFor("any", "2").m_Signature.m_Label);
}
