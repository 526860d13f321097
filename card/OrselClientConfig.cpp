// SPDX-License-Identifier: MIT
#include "card/OrselClientConfig.h"

#include "foundation/Config.h"
#include "foundation/ProgramConfig.h"

namespace Velmor {

Config* OrselClientConfig::GetHandle() {
    static const unsigned int id = Config::Register();
    return Config::GetHandle(id);
}

void OrselClientConfig::Load() {
    Config* config = GetHandle();
    config->Init(CONFIGURATION_NAME);
    config->AddConfig(ID_KEY_GROUP, CONFIG_TYPE_SYSTEM, "", ClientRegKeyName(), SYS_TYPE_0);
    config->AddConfig(ID_VERSION, CONFIG_TYPE_SYSTEM, VersionRegKeyName(), ClientRegKeyName(), SYS_TYPE_0);
}

const std::string& OrselClientConfig::ClientRegKeyName() {
    static const std::string name = "orsel Client";
    return name;
}

const std::string& OrselClientConfig::VersionRegKeyName() {
    static const std::string name = "Version";
    return name;
}

} // namespace Velmor
