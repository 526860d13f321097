// SPDX-License-Identifier: MIT
#include "foundation/ProgramConfig.h"

#include "foundation/Config.h"
#include "foundation/FileSystem.h"

namespace Velmor {

const std::string ClientRegKeyName = "orsel Client";

namespace {

const std::string TRACE_PATH = ClientRegKeyName + "\\Trace";
const std::string MINI_DRIVER_PATH = "OrselMiniDriver";
const std::string KUNDENPFORTE_PATH = "Kundenpforte";

struct KeyRow {
    ConfigKey m_Id;
    const std::string& m_Path;
    const char* m_Key;
};

const KeyRow KEYS[] = {
    {KEY_CLIENT, ClientRegKeyName, ""},
    {KEY_CHECK_FOR_UPDATES, ClientRegKeyName, "CheckForUpdates"},
    {KEY_LVT, ClientRegKeyName, "LVT"},
    {KEY_INSTALL_DIR, ClientRegKeyName, "InstallDir"},
    {KEY_UPDATEABLE, ClientRegKeyName, "Updateable"},
    {KEY_VERSION, ClientRegKeyName, "Version"},
    {KEY_TRACE_LOG_MODE, TRACE_PATH, "LogMode"},
    {KEY_TRACE_LOG_LEVEL, TRACE_PATH, "LogLevel"},
    {KEY_TRACE_FILENAME, TRACE_PATH, "Filename"},
    {KEY_DELETE_LOGFILES_AFTER_X_DAYS, ClientRegKeyName, "DeleteLogfilesAfterXDays"},
    {KEY_FIX_IT, ClientRegKeyName, "FixIt"},
    {KEY_CLEAN_CERTS_ON_REFRESH, ClientRegKeyName, "CleanCertsOnRefresh"},
    {KEY_MAKE_DIALOGS_STAY_ON_TOP, ClientRegKeyName, "MakeDialogsStayOnTop"},
    {KEY_KUNDENPFORTE_INSTALL_DIR, KUNDENPFORTE_PATH, "InstallDir"},
    {KEY_LANGUAGE, ClientRegKeyName, "Language"},
    {KEY_ENABLE_VELMOR_PIN_DIALOG, MINI_DRIVER_PATH, "EnableVelmorPinDialog"},
    {KEY_ENABLE_EXTERNAL_PIN, MINI_DRIVER_PATH, "EnableExternalPin"},
    {KEY_ENABLE_LOGGING, MINI_DRIVER_PATH, "EnableLogging"},
    {KEY_ENABLE_CARD_AUTHENTICATE_EX, MINI_DRIVER_PATH, "EnableCardAuthenticateEx"},
    {KEY_PIN_CACHE_POLICY_TYPE, MINI_DRIVER_PATH, "PinCachePolicyType"},
    {KEY_PIN_CACHE_POLICY_INFO, MINI_DRIVER_PATH, "PinCachePolicyInfo"},
    {KEY_ENABLE_OUTPUT_DEBUG_STRING, MINI_DRIVER_PATH, "EnableOutputDebugString"},
    {KEY_ENABLE_VELMOR_PIN_DIALOG_AGAIN, MINI_DRIVER_PATH, "EnableVelmorPinDialog"},
    // The spelling is the one of existing files.
    {KEY_PIN_ENTRY_REQUIRE_SECURE_MODE, MINI_DRIVER_PATH, "PinEntryRequireSecuryMode"},
    // A second time with the same values: the row replaces its equal.
    {KEY_PIN_CACHE_POLICY_TYPE, MINI_DRIVER_PATH, "PinCachePolicyType"},
    {KEY_PIN_CACHE_POLICY_INFO, MINI_DRIVER_PATH, "PinCachePolicyInfo"},
    {KEY_ENABLE_EXTERNAL_PIN_AGAIN, MINI_DRIVER_PATH, "EnableExternalPin"},
    {KEY_IGNORE_ACOS_SUB_VERSION, MINI_DRIVER_PATH, "IgnoreAcosSubVersion"},
    {KEY_CHECK_READER_CAPABILITIES, MINI_DRIVER_PATH, "CheckReaderCapabilities"},
    {KEY_ENABLE_DIAGNOSTICS, MINI_DRIVER_PATH, "EnableDiagnostics"},
    {KEY_DO_EXCLUSIVE_RECONNECT, MINI_DRIVER_PATH, "DoExclusiveReconnect"},
    {KEY_MINI_DRIVER_VERSION, MINI_DRIVER_PATH, "MiniDriverVersion"},
    {KEY_MINI_DRIVER_MIN_VERSION, MINI_DRIVER_PATH, "MiniDriverMinVersion"},
};

} // namespace

void GenerateConfig() {
    Config& config = *Config::GetHandle(0);
    config.Init(CONFIGURATION_NAME);
    for (const KeyRow& row : KEYS) {
        config.AddConfig(row.m_Id, CONFIG_TYPE_SYSTEM, row.m_Key, row.m_Path, SYS_TYPE_0);
        if (row.m_Id != KEY_KUNDENPFORTE_INSTALL_DIR) {
            config.AddConfig(row.m_Id + 1, CONFIG_TYPE_SYSTEM, row.m_Key, row.m_Path, SYS_TYPE_1);
        }
    }
}

void GenerateFileSystem() {
    std::string traceFilename;
    Config::GetHandle(0)->GetString(KEY_TRACE_FILENAME, traceFilename);

    FileSystem& table = *FileSystem::GetHandle();
    table.Initialize("");
    table.AddConfig(0, BASE_PATH_USER, traceFilename, ""); // the next row replaces it
    const _PathConfig rows[] = {
        {BASE_PATH_USER, "orsel Client\\Trace\\", ""},
        {BASE_PATH_ALL_USERS, "OrselMiniDriver\\Log\\", ""},
        {BASE_PATH_USER, "Kartenwerk\\logs\\", ""},
        {BASE_PATH_ALL_USERS, "orselPDF\\Logs\\", ""},
        {BASE_PATH_ALL_USERS, "orsel Manifold\\Logs\\", ""},
        {BASE_PATH_ALL_USERS, "orselPDFverify\\Logs\\", ""},
        {BASE_PATH_ALL_USERS, "LVT\\trace\\", ""},
        {BASE_PATH_ALL_USERS, "OrselPlus\\", ""},
    };
    table.AddConfigs(0, rows, static_cast<int>(std::size(rows)));
}

} // namespace Velmor
