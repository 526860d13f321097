// SPDX-License-Identifier: MIT
#include "foundation/Config.h"

#include <algorithm>
#include <locale>

#include "foundation/ConfigImpl_XML.h"
#include "foundation/LibConfig.h"

namespace Velmor {

namespace {

bool EqualsIgnoringCase(const std::string& a, const std::string& b) {
    const std::locale global;
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&global](char left, char right) {
        return std::toupper(left, global) == std::toupper(right, global);
    });
}

} // namespace

bool iConfigImpl::Init(const std::string& name) {
    m_Name = name;
    return DoInit();
}

bool iConfigImpl::Destroy() {
    return DoDestroy();
}

std::vector<std::string> iConfigImpl::EnumSubDirs(sConfig* row) {
    return EnumSubDirs(row, "");
}

std::string iConfigImpl::BuildRegPath(const std::string* parts, int count) {
    std::string path;
    for (int index = 0; index < count; ++index) {
        const std::string& part = parts[index];
        if (part.empty()) {
            continue;
        }
        path.append(part, part.front() == '\\' ? 1 : 0, std::string::npos);
        if (path.empty() || path.back() != '\\') {
            path += '\\';
        }
    }
    return path;
}

Config::Config(unsigned int id) : m_Id(id) {}

Config::~Config() = default;

unsigned int Config::Register() {
    ConfigVector& configs = ConfigVector::vector();
    if (configs.empty()) {
        configs.push_back(nullptr);
    }
    const auto id = static_cast<unsigned int>(configs.size());
    configs.push_back(new Config(id));
    return id;
}

Config* Config::GetHandle(unsigned int id) {
    ConfigVector& configs = ConfigVector::vector();
    if (id == 0 && configs.empty()) {
        configs.push_back(nullptr);
    }
    if (id >= configs.size()) {
        return nullptr;
    }
    if (configs[id] == nullptr) {
        configs[id] = new Config(id);
    }
    return configs[id];
}

void Config::Destroy() {
    ConfigVector& configs = ConfigVector::vector();
    if (m_Id >= configs.size() || configs[m_Id] == nullptr) {
        return;
    }
    configs[m_Id] = nullptr;
    delete this;
}

bool Config::Init(const std::string& name, ConfigBackend backend) {
    if (m_Initialised) {
        return true;
    }
    m_Name = name;
    m_Implementation.reset();
    if (backend != CONFIG_BACKEND_XML) {
        return false;
    }
    m_Implementation = std::make_unique<ConfigImpl_XML>();
    m_Initialised = m_Implementation->Init(name);
    return m_Initialised;
}

bool Config::Init(const std::string& name) {
    return Init(name, CONFIG_BACKEND_XML);
}

bool Config::AddConfig(unsigned int id, ConfigType type, const std::string& key, const std::string& path,
                       SysType sys) {
    if (!m_Initialised) {
        return false;
    }
    m_Rows[id] = std::make_unique<sConfig>(sConfig{type, path, key, sys});
    return true;
}

bool Config::AddConfigs(unsigned int firstId, const sConfig* rows, int count) {
    if (!m_Initialised) {
        return false;
    }
    bool added = true;
    for (int index = 0; index < count; ++index) {
        const sConfig& row = rows[index];
        added = AddConfig(firstId + static_cast<unsigned int>(index), row.m_Type, row.m_Key, row.m_Path,
                          row.m_SysType) &&
                added;
    }
    return added;
}

sConfig* Config::GetConfigEntry(unsigned int id) const {
    const auto row = m_Rows.find(id);
    if (row == m_Rows.end()) {
        LibConfig::LogError("config entry is NULL");
        return nullptr;
    }
    return row->second.get();
}

sConfig* Config::RowOfStore(unsigned int id) const {
    return m_Implementation == nullptr ? nullptr : GetConfigEntry(id);
}

bool Config::SetInteger(unsigned int id, long value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->SetInteger(row, value);
}

bool Config::SetString(unsigned int id, const std::string& value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->SetString(row, value);
}

bool Config::SetBoolean(unsigned int id, bool value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->SetBoolean(row, value);
}

bool Config::SetBinary(unsigned int id, std::vector<unsigned char>& value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->SetBinary(row, value);
}

bool Config::GetInteger(unsigned int id, long& value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->GetInteger(row, value);
}

bool Config::GetString(unsigned int id, std::string& value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->GetString(row, value);
}

bool Config::GetBoolean(unsigned int id, bool& value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->GetBoolean(row, value);
}

bool Config::GetBinary(unsigned int id, std::vector<unsigned char>& value) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->GetBinary(row, value);
}

bool Config::SetStringBoolean(unsigned int id, bool value) {
    return SetString(id, value ? "YES" : "NO");
}

bool Config::GetStringBoolean(unsigned int id, bool& value) {
    std::string text;
    if (!GetString(id, text)) {
        return false;
    }
    value = false;
    for (const char* const word : {"YES", "JA", "Y", "TRUE"}) {
        if (EqualsIgnoringCase(text, word)) {
            value = true;
            break;
        }
    }
    return true;
}

std::vector<std::string> Config::EnumSubDirs(unsigned int id, const std::string& filter) {
    sConfig* const row = RowOfStore(id);
    return row == nullptr ? std::vector<std::string>() : m_Implementation->EnumSubDirs(row, filter);
}

bool Config::RemoveKey(unsigned int id) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->RemoveKey(row);
}

bool Config::RemovePath(unsigned int id) {
    sConfig* const row = RowOfStore(id);
    return row != nullptr && m_Implementation->RemovePath(row);
}

ConfigVector& ConfigVector::vector() {
    static ConfigVector* const instance = new ConfigVector;
    return *instance;
}

} // namespace Velmor
