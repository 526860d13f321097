// SPDX-License-Identifier: MIT
#include "foundation/ProgramConfig.h"

#include "foundation/FileSystem.h"
#include "tests/foundation/ConfigFixture.h"

using namespace Velmor;

namespace {

struct KeyPair {
    unsigned int m_First;
    const char* m_Path;
    const char* m_Key;
};

const KeyPair PAIRS[] = {
    {0, "orsel Client", ""},
    {2, "orsel Client", "CheckForUpdates"},
    {4, "orsel Client", "LVT"},
    {6, "orsel Client", "InstallDir"},
    {8, "orsel Client", "Updateable"},
    {10, "orsel Client", "Version"},
    {12, "orsel Client\\Trace", "LogMode"},
    {14, "orsel Client\\Trace", "LogLevel"},
    {16, "orsel Client\\Trace", "Filename"},
    {18, "orsel Client", "DeleteLogfilesAfterXDays"},
    {20, "orsel Client", "FixIt"},
    {22, "orsel Client", "CleanCertsOnRefresh"},
    {24, "orsel Client", "MakeDialogsStayOnTop"},
    {27, "orsel Client", "Language"},
    {29, "OrselMiniDriver", "EnableVelmorPinDialog"},
    {31, "OrselMiniDriver", "EnableExternalPin"},
    {33, "OrselMiniDriver", "EnableLogging"},
    {35, "OrselMiniDriver", "EnableCardAuthenticateEx"},
    {37, "OrselMiniDriver", "PinCachePolicyType"},
    {39, "OrselMiniDriver", "PinCachePolicyInfo"},
    {41, "OrselMiniDriver", "EnableOutputDebugString"},
    {43, "OrselMiniDriver", "EnableVelmorPinDialog"},
    {45, "OrselMiniDriver", "PinEntryRequireSecuryMode"},
    {47, "OrselMiniDriver", "EnableExternalPin"},
    {49, "OrselMiniDriver", "IgnoreAcosSubVersion"},
    {51, "OrselMiniDriver", "CheckReaderCapabilities"},
    {53, "OrselMiniDriver", "EnableDiagnostics"},
    {55, "OrselMiniDriver", "DoExclusiveReconnect"},
    {57, "OrselMiniDriver", "MiniDriverVersion"},
    {59, "OrselMiniDriver", "MiniDriverMinVersion"},
};

class TheProgramsConfiguration : public NoConfiguration {
protected:
    ~TheProgramsConfiguration() override { FileSystem::Destroy(); }

    static Config& Table() { return *Config::GetHandle(0); }

    static void ExpectRow(unsigned int id, const char* path, const char* key, int sysType) {
        const sConfig* const row = Table().GetConfigEntry(id);
        ASSERT_NE(nullptr, row) << id;
        EXPECT_EQ(CONFIG_TYPE_SYSTEM, row->m_Type) << id;
        EXPECT_EQ(path, row->m_Path) << id;
        EXPECT_EQ(key, row->m_Key) << id;
        EXPECT_EQ(sysType, row->m_SysType) << id;
    }

    static std::string TextAt(unsigned int id) {
        std::string text = "(nothing)";
        Table().GetString(id, text);
        return text;
    }
};

} // namespace

TEST_F(TheProgramsConfiguration, HasThePathOfMostKeysAsAGlobal) {
    EXPECT_EQ("orsel Client", ClientRegKeyName);
}

TEST_F(TheProgramsConfiguration, HoldsEveryRowOfTheTable) {
    GenerateConfig();
    for (const KeyPair& pair : PAIRS) {
        ExpectRow(pair.m_First, pair.m_Path, pair.m_Key, 0);
        ExpectRow(pair.m_First + 1, pair.m_Path, pair.m_Key, 1);
    }
    ExpectRow(26, "Kundenpforte", "InstallDir", 0);
}

TEST_F(TheProgramsConfiguration, Holds61Rows) {
    GenerateConfig();
    int rows = 0;
    for (unsigned int id = 0; id < 1000; ++id) {
        rows += Table().GetConfigEntry(id) != nullptr ? 1 : 0;
    }
    EXPECT_EQ(61, rows);
    EXPECT_EQ(nullptr, Table().GetConfigEntry(61));
}

TEST_F(TheProgramsConfiguration, LeavesEveryDefaultAloneWithoutAFile) {
    GenerateConfig();
    long number = 4711;
    EXPECT_FALSE(Table().GetInteger(27, number));
    EXPECT_EQ(4711, number);
    EXPECT_EQ("(nothing)", TextAt(KEY_VERSION));
}

TEST_F(TheProgramsConfiguration, ReadsTheSystemFile) {
    SystemConfig::Write("<orselclient><orsel_Client><Version>2.1.0.3</Version><Language>1</Language>"
                        "<Trace><LogLevel>3</LogLevel></Trace></orsel_Client>"
                        "<Kundenpforte><InstallDir>/opt/x</InstallDir></Kundenpforte>"
                        "<OrselMiniDriver><EnableVelmorPinDialog>YES</EnableVelmorPinDialog>"
                        "<EnableExternalPin>NO</EnableExternalPin><EnableLogging>JA</EnableLogging>"
                        "</OrselMiniDriver></orselclient>");
    GenerateConfig();
    for (const unsigned int id : {10U, 11U}) {
        EXPECT_EQ("2.1.0.3", TextAt(id));
    }
    for (const unsigned int id : {29U, 30U, 43U, 44U}) {
        EXPECT_EQ("YES", TextAt(id));
    }
    for (const unsigned int id : {31U, 32U, 47U, 48U}) {
        EXPECT_EQ("NO", TextAt(id));
    }
    EXPECT_EQ("3", TextAt(14));
    EXPECT_EQ("/opt/x", TextAt(KEY_KUNDENPFORTE_INSTALL_DIR));
    EXPECT_EQ("JA", TextAt(KEY_ENABLE_LOGGING));
    long language = 0;
    EXPECT_TRUE(Table().GetInteger(KEY_LANGUAGE, language));
    EXPECT_EQ(1, language);
}

TEST_F(TheProgramsConfiguration, NeverLooksIntoTheUsersFile) {
    WriteUserFile("<orselclient><orsel_Client><Version>9</Version></orsel_Client></orselclient>");
    GenerateConfig();
    EXPECT_EQ("(nothing)", TextAt(KEY_VERSION));
}

TEST_F(TheProgramsConfiguration, LeavesTheVariableAloneWhenTheLanguageIsNoNumber) {
    SystemConfig::Write("<orselclient><orsel_Client><Language>abc</Language></orsel_Client></orselclient>");
    GenerateConfig();
    long language = 4711;
    EXPECT_FALSE(Table().GetInteger(KEY_LANGUAGE, language));
    EXPECT_EQ(4711, language);
}

TEST_F(TheProgramsConfiguration, CanBeGeneratedTwice) {
    GenerateConfig();
    GenerateConfig();
    ExpectRow(60, "OrselMiniDriver", "MiniDriverMinVersion", 1);
}

TEST_F(TheProgramsConfiguration, NamesTheIdsOfTheTable) {
    const unsigned int named[] = {KEY_CLIENT,
                                  KEY_CHECK_FOR_UPDATES,
                                  KEY_LVT,
                                  KEY_INSTALL_DIR,
                                  KEY_UPDATEABLE,
                                  KEY_VERSION,
                                  KEY_TRACE_LOG_MODE,
                                  KEY_TRACE_LOG_LEVEL,
                                  KEY_TRACE_FILENAME,
                                  KEY_DELETE_LOGFILES_AFTER_X_DAYS,
                                  KEY_FIX_IT,
                                  KEY_CLEAN_CERTS_ON_REFRESH,
                                  KEY_MAKE_DIALOGS_STAY_ON_TOP,
                                  KEY_LANGUAGE,
                                  KEY_ENABLE_VELMOR_PIN_DIALOG,
                                  KEY_ENABLE_EXTERNAL_PIN,
                                  KEY_ENABLE_LOGGING,
                                  KEY_ENABLE_CARD_AUTHENTICATE_EX,
                                  KEY_PIN_CACHE_POLICY_TYPE,
                                  KEY_PIN_CACHE_POLICY_INFO,
                                  KEY_ENABLE_OUTPUT_DEBUG_STRING,
                                  KEY_ENABLE_VELMOR_PIN_DIALOG_AGAIN,
                                  KEY_PIN_ENTRY_REQUIRE_SECURE_MODE,
                                  KEY_ENABLE_EXTERNAL_PIN_AGAIN,
                                  KEY_IGNORE_ACOS_SUB_VERSION,
                                  KEY_CHECK_READER_CAPABILITIES,
                                  KEY_ENABLE_DIAGNOSTICS,
                                  KEY_DO_EXCLUSIVE_RECONNECT,
                                  KEY_MINI_DRIVER_VERSION,
                                  KEY_MINI_DRIVER_MIN_VERSION};
    ASSERT_EQ(std::size(PAIRS), std::size(named));
    for (std::size_t index = 0; index < std::size(named); ++index) {
        EXPECT_EQ(PAIRS[index].m_First, named[index]);
    }
    EXPECT_EQ(26U, KEY_KUNDENPFORTE_INSTALL_DIR);
}

TEST_F(TheProgramsConfiguration, FillsThePathTable) {
    const ScopedVariable home("HOME", "/home/u");
    GenerateConfig();
    GenerateFileSystem();
    const char* const paths[] = {
        "/home/u/.velmor/orsel Client/Trace/",
        "/etc/velmor/OrselMiniDriver/Log/",
        "/home/u/.velmor/Kartenwerk/logs/",
        "/etc/velmor/orselPDF/Logs/",
        "/etc/velmor/orsel Manifold/Logs/",
        "/etc/velmor/orselPDFverify/Logs/",
        "/etc/velmor/LVT/trace/",
        "/etc/velmor/OrselPlus/",
    };
    FileSystem& table = *FileSystem::GetHandle();
    for (unsigned int id = 0; id < std::size(paths); ++id) {
        EXPECT_EQ(paths[id], table.GetPath(id, false));
        EXPECT_EQ(paths[id], table.GetFile(id, false)) << "no row names a file";
    }
    EXPECT_EQ(nullptr, table.GetConfigEntry(8));
}

TEST_F(TheProgramsConfiguration, IgnoresTheTraceFileOfTheConfiguration) {
    SystemConfig::Write("<orselclient><orsel_Client><Trace><Filename>other</Filename></Trace></orsel_Client>"
                        "</orselclient>");
    GenerateConfig();
    EXPECT_EQ("other", TextAt(KEY_TRACE_FILENAME));
    GenerateFileSystem();
    EXPECT_EQ("orsel Client/Trace/", FileSystem::GetHandle()->GetConfigEntry(0)->m_Path);
}

TEST_F(TheProgramsConfiguration, CanDoWithoutAConfigurationWhenItFillsThePathTable) {
    GenerateFileSystem();
    EXPECT_NE(nullptr, FileSystem::GetHandle()->GetConfigEntry(7));
    EXPECT_EQ(Texts(), LoggedErrors()) << "without a store no id is looked up";
}
