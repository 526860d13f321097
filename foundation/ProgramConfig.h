// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_PROGRAMCONFIG_H
#define ORSEL_FOUNDATION_PROGRAMCONFIG_H

#include <string>

namespace Velmor {

/// Name of the configuration, which several instances read.
inline constexpr const char* CONFIGURATION_NAME = "orselclient";

/// The path of most settings.
extern const std::string ClientRegKeyName;

/// Ids of the settings. The table serves several programs of the product family; this one reads four.
/// Each id but KEY_KUNDENPFORTE_INSTALL_DIR has a twin, the number above it, with the other SysType and the
/// same node. Two keys stand in the table twice, under two pairs of ids.
enum ConfigKey : unsigned int {
    KEY_CLIENT = 0,
    KEY_CHECK_FOR_UPDATES = 2,
    KEY_LVT = 4,
    KEY_INSTALL_DIR = 6,
    KEY_UPDATEABLE = 8,
    KEY_VERSION = 10, ///< string: shown in the title of the main window
    KEY_TRACE_LOG_MODE = 12,
    KEY_TRACE_LOG_LEVEL = 14,
    KEY_TRACE_FILENAME = 16, ///< string: read by GenerateFileSystem() without effect
    KEY_DELETE_LOGFILES_AFTER_X_DAYS = 18,
    KEY_FIX_IT = 20,
    KEY_CLEAN_CERTS_ON_REFRESH = 22,
    KEY_MAKE_DIALOGS_STAY_ON_TOP = 24,
    KEY_KUNDENPFORTE_INSTALL_DIR = 26, ///< string: where the external program lives
    KEY_LANGUAGE = 27,                 ///< integer
    KEY_ENABLE_VELMOR_PIN_DIALOG = 29,
    KEY_ENABLE_EXTERNAL_PIN = 31,
    KEY_ENABLE_LOGGING = 33,
    KEY_ENABLE_CARD_AUTHENTICATE_EX = 35,
    KEY_PIN_CACHE_POLICY_TYPE = 37,
    KEY_PIN_CACHE_POLICY_INFO = 39,
    KEY_ENABLE_OUTPUT_DEBUG_STRING = 41,
    KEY_ENABLE_VELMOR_PIN_DIALOG_AGAIN = 43,
    KEY_PIN_ENTRY_REQUIRE_SECURE_MODE = 45,
    KEY_ENABLE_EXTERNAL_PIN_AGAIN = 47,
    KEY_IGNORE_ACOS_SUB_VERSION = 49,
    KEY_CHECK_READER_CAPABILITIES = 51,
    KEY_ENABLE_DIAGNOSTICS = 53,
    KEY_DO_EXCLUSIVE_RECONNECT = 55,
    KEY_MINI_DRIVER_VERSION = 57,
    KEY_MINI_DRIVER_MIN_VERSION = 59,
};

/// Opens the default configuration and fills its table. No setting needs to exist.
void GenerateConfig();

/// Finds the base directories of the path table and fills it. Comes after GenerateConfig().
void GenerateFileSystem();

} // namespace Velmor

#endif
