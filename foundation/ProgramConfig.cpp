// SPDX-License-Identifier: MIT
#include "foundation/ProgramConfig.h"

#include "foundation/Config.h"
#include "foundation/FileSystem.h"

namespace Velmor {

const std::string ClientRegKeyName = "orsel Client";

namespace {

const std::string TracePath = ClientRegKeyName + "\\Trace";
const std::string MiniDriverPath = "OrselMiniDriver";
const std::string KundenpfortePath = "Kundenpforte";

struct KeyRow {
    ConfigKey id;
    const std::string& path;
    const char* key;
};

const KeyRow Keys[] = {
    {KEY_CLIENT, ClientRegKeyName, ""},
    {KEY_CHECK_FOR_UPDATES, ClientRegKeyName, "CheckForUpdates"},
    {KEY_LVT, ClientRegKeyName, "LVT"},
    {KEY_INSTALL_DIR, ClientRegKeyName, "InstallDir"},
    {KEY_UPDATEABLE, ClientRegKeyName, "Updateable"},
    {KEY_VERSION, ClientRegKeyName, "Version"},
    {KEY_TRACE_LOG_MODE, TracePath, "LogMode"},
    {KEY_TRACE_LOG_LEVEL, TracePath, "LogLevel"},
    {KEY_TRACE_FILENAME, TracePath, "Filename"},
    {KEY_DELETE_LOGFILES_AFTER_X_DAYS, ClientRegKeyName, "DeleteLogfilesAfterXDays"},
    {KEY_FIX_IT, ClientRegKeyName, "FixIt"},
    {KEY_CLEAN_CERTS_ON_REFRESH, ClientRegKeyName, "CleanCertsOnRefresh"},
    {KEY_MAKE_DIALOGS_STAY_ON_TOP, ClientRegKeyName, "MakeDialogsStayOnTop"},
    {KEY_KUNDENPFORTE_INSTALL_DIR, KundenpfortePath, "InstallDir"},
    {KEY_LANGUAGE, ClientRegKeyName, "Language"},
    {KEY_ENABLE_VELMOR_PIN_DIALOG, MiniDriverPath, "EnableVelmorPinDialog"},
    {KEY_ENABLE_EXTERNAL_PIN, MiniDriverPath, "EnableExternalPin"},
    {KEY_ENABLE_LOGGING, MiniDriverPath, "EnableLogging"},
    {KEY_ENABLE_CARD_AUTHENTICATE_EX, MiniDriverPath, "EnableCardAuthenticateEx"},
    {KEY_PIN_CACHE_POLICY_TYPE, MiniDriverPath, "PinCachePolicyType"},
    {KEY_PIN_CACHE_POLICY_INFO, MiniDriverPath, "PinCachePolicyInfo"},
    {KEY_ENABLE_OUTPUT_DEBUG_STRING, MiniDriverPath, "EnableOutputDebugString"},
    {KEY_ENABLE_VELMOR_PIN_DIALOG_AGAIN, MiniDriverPath, "EnableVelmorPinDialog"},
    // The spelling is the one of existing files.
    {KEY_PIN_ENTRY_REQUIRE_SECURE_MODE, MiniDriverPath, "PinEntryRequireSecuryMode"},
    // A second time with the same values: the row replaces its equal.
    {KEY_PIN_CACHE_POLICY_TYPE, MiniDriverPath, "PinCachePolicyType"},
    {KEY_PIN_CACHE_POLICY_INFO, MiniDriverPath, "PinCachePolicyInfo"},
    {KEY_ENABLE_EXTERNAL_PIN_AGAIN, MiniDriverPath, "EnableExternalPin"},
    {KEY_IGNORE_ACOS_SUB_VERSION, MiniDriverPath, "IgnoreAcosSubVersion"},
    {KEY_CHECK_READER_CAPABILITIES, MiniDriverPath, "CheckReaderCapabilities"},
    {KEY_ENABLE_DIAGNOSTICS, MiniDriverPath, "EnableDiagnostics"},
    {KEY_DO_EXCLUSIVE_RECONNECT, MiniDriverPath, "DoExclusiveReconnect"},
    {KEY_MINI_DRIVER_VERSION, MiniDriverPath, "MiniDriverVersion"},
    {KEY_MINI_DRIVER_MIN_VERSION, MiniDriverPath, "MiniDriverMinVersion"},
};

} // namespace

void GenerateConfig() {
    Config& config = *Config::GetHandle(0);
    config.Init(CONFIGURATION_NAME);
    for (const KeyRow& row : Keys) {
        config.AddConfig(row.id, CONFIG_TYPE_SYSTEM, row.key, row.path, SYS_TYPE_0);
        if (row.id != KEY_KUNDENPFORTE_INSTALL_DIR) {
            config.AddConfig(row.id + 1, CONFIG_TYPE_SYSTEM, row.key, row.path, SYS_TYPE_1);
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
