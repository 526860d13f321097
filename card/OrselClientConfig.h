// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_ORSELCLIENTCONFIG_H
#define ORSEL_CARD_ORSELCLIENTCONFIG_H

#include <string>

namespace Velmor {

class Config;

/// The configuration of the client software that the card class looks at: an instance of its own beside the
/// application's, over the same files.
class OrselClientConfig {
public:
    static constexpr unsigned int ID_KEY_GROUP = 0;
    static constexpr unsigned int ID_VERSION = 1;

    /// The instance, registered at the first call; owned by the registry of configurations.
    static Config* GetHandle();

    /// Opens the store and adds the two rows; may be repeated.
    static void Load();

    static const std::string& ClientRegKeyName();
    static const std::string& VersionRegKeyName();
};

} // namespace Velmor

#endif
