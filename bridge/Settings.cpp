// SPDX-License-Identifier: MIT
#include "bridge/Settings.h"

#include <iostream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "tokenlib/Environment.h"
#include "tokenlib/Files.h"

namespace orselbridge {

namespace {

using Json = nlohmann::json;

constexpr const char* SYSTEM_FILE = "/etc/orselcards/bridge.json";

/// Reads the members of one object; a name that nothing knows is a mistake that its writer wants to hear of.
class Reader {
public:
    Reader(const Json& json, std::string where) : m_Json(json), m_Where(std::move(where)) {
        if (!json.is_object()) {
            throw std::runtime_error(m_Where + " is no object");
        }
    }

    void Allow(std::initializer_list<const char*> names) const {
        for (const auto& member : m_Json.items()) {
            bool isKnown = false;
            for (const char* name : names) {
                isKnown = isKnown || member.key() == name;
            }
            if (!isKnown) {
                throw std::runtime_error(m_Where + " has no \"" + member.key() + "\"");
            }
        }
    }

    std::optional<std::string> Text(const char* name) const {
        const auto member = m_Json.find(name);
        if (member == m_Json.end()) {
            return std::nullopt;
        }
        if (!member->is_string()) {
            throw std::runtime_error(std::string("\"") + name + "\" is no text");
        }
        return member->get<std::string>();
    }

    bool Flag(const char* name, bool otherwise) const {
        const auto member = m_Json.find(name);
        if (member == m_Json.end()) {
            return otherwise;
        }
        if (!member->is_boolean()) {
            throw std::runtime_error(std::string("\"") + name + "\" is neither true nor false");
        }
        return member->get<bool>();
    }

    const Json& Member(const char* name) const {
        static const Json nothing = Json::object();
        const auto member = m_Json.find(name);
        return member == m_Json.end() ? nothing : *member;
    }

private:
    const Json& m_Json;
    std::string m_Where;
};

KeyName ReadKey(const Json& json, const char* where) {
    const Reader reader(json, where);
    reader.Allow({"label", "id"});
    KeyName name;
    name.m_Label = reader.Text("label");
    if (const auto id = reader.Text("id")) {
        name.m_Id = tokenlib::FromHex(*id);
        if (!name.m_Id) {
            throw std::runtime_error("\"id\" is not in hexadecimal digits");
        }
    }
    return name;
}

RoleNames ReadRoles(const Json& json) {
    const Reader reader(json, "\"roles\"");
    reader.Allow({"signature", "encryption"});
    return {ReadKey(reader.Member("signature"), "\"signature\""),
            ReadKey(reader.Member("encryption"), "\"encryption\"")};
}

TokenRoles ReadToken(const Json& json) {
    const Reader reader(json, "an entry of \"tokens\"");
    reader.Allow({"label", "serial", "roles"});
    return {reader.Text("label"), reader.Text("serial"), ReadRoles(reader.Member("roles"))};
}

std::string UsersFile() {
    std::string folder = tokenlib::Variable("XDG_CONFIG_HOME");
    if (folder.empty()) {
        const std::string home = tokenlib::Variable("HOME");
        folder = home.empty() ? "" : home + "/.config";
    }
    return folder.empty() ? "" : folder + "/orselcards/bridge.json";
}

/// Nothing when the file does not decide: it is not there, or it makes no sense.
std::optional<Settings> ReadSettings(const std::string& path) {
    if (path.empty() || !tokenlib::StampOf(path)) {
        return std::nullopt;
    }
    try {
        return Settings::Parse(tokenlib::TextOf(tokenlib::ReadFile(path)));
    } catch (const tokenlib::FileError& error) {
        std::cerr << std::string("OrselP11: no settings: ") + error.what() + "\n";
    } catch (const std::exception& error) {
        std::cerr << "OrselP11: no settings: " + path + ": " + error.what() + "\n";
    }
    return std::nullopt;
}

} // namespace

bool KeyName::Names(const std::string& label, const Bytes& id) const {
    return !IsEmpty() && (!m_Label || *m_Label == label) && (!m_Id || *m_Id == id);
}

const RoleNames& Settings::RolesFor(const std::string& label, const std::string& serial) const {
    for (const TokenRoles& token : m_Tokens) {
        if ((!token.m_Label || *token.m_Label == label) && (!token.m_Serial || *token.m_Serial == serial)) {
            return token.m_Roles;
        }
    }
    return m_Roles;
}

Settings Settings::Parse(const std::string& json) {
    const Json parsed = Json::parse(json, nullptr, false);
    if (parsed.is_discarded()) {
        throw std::runtime_error("it is no JSON");
    }
    const Reader reader(parsed, "the file");
    reader.Allow({"module", "showFixedSlots", "model", "roles", "tokens"});
    Settings settings;
    if (const auto module = reader.Text("module")) {
        settings.m_Modules = {*module};
    }
    settings.m_ShowsFixedSlots = reader.Flag("showFixedSlots", true);
    settings.m_Model = reader.Text("model").value_or("");
    settings.m_Roles = ReadRoles(reader.Member("roles"));
    if (const auto tokens = parsed.find("tokens"); tokens != parsed.end()) {
        if (!tokens->is_array()) {
            throw std::runtime_error("\"tokens\" is no list");
        }
        for (const Json& token : *tokens) {
            settings.m_Tokens.push_back(ReadToken(token));
        }
    }
    return settings;
}

Settings Settings::Read() {
    std::optional<Settings> found = ReadSettings(UsersFile());
    if (!found) {
        found = ReadSettings(SYSTEM_FILE);
    }
    Settings settings = found.value_or(Settings());
    const std::string module = tokenlib::Variable("ORSELBRIDGE_MODULE");
    if (!module.empty()) {
        settings.m_Modules = {module};
    }
    if (settings.m_Model.empty()) {
        settings.m_Model = tokenlib::Variable("ORSELBRIDGE_MODEL");
    }
    if (settings.m_Modules.empty()) {
        settings.m_Modules = {"p11-kit-proxy.so", "opensc-pkcs11.so"};
    }
    return settings;
}

} // namespace orselbridge
