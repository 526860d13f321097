// SPDX-License-Identifier: MIT
#include "foundation/ConfigImpl_XML.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>
#include <sstream>
#include <type_traits>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "foundation/Base64.h"
#include "foundation/FileAndDirectory.h"
#include "foundation/FileSystem.h"
#include "foundation/StringUtils.h"
#include "foundation/XmlNesting.h"

namespace Velmor {

namespace pt = boost::property_tree;

struct ConfigImpl_XML::Tree {
    pt::ptree m_Root;
};

namespace {

/// A file above these is no configuration. The parser calls itself for each level of elements.
constexpr std::uintmax_t LARGEST_FILE = std::uintmax_t{64} * 1024 * 1024; // bytes
constexpr int DEEPEST_TREE = 1000;

pt::path TreePath(const std::string& path) {
    return pt::path(path, '.');
}

/// What turns a value into text: a number without a locale's grouping of digits, since other processes read
/// it.
template <typename T>
auto TranslatorOf() {
    using Translator = typename pt::translator_between<std::string, T>::type;
    if constexpr (std::is_constructible_v<Translator, std::locale>) {
        return Translator(std::locale::classic());
    } else {
        return Translator();
    }
}

/// Makes the directories above `base`/`directory`/`name` and gives the path of the file in it.
std::string PrepareFile(const std::string& base, const std::string& directory, const std::string& name) {
    const std::string path = CombinePaths(CombinePaths(base, directory), name);
    CreateDirectories(path); // not `name` itself, since no "/" follows it
    return CombinePaths(path, "config");
}

/// The file's content up to a zero byte, where the parser ends too. Throws if the file cannot be read.
std::string ContentOf(const std::string& path) {
    if (std::filesystem::file_size(path) > LARGEST_FILE) {
        throw pt::xml_parser_error("too large", path, 0);
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw pt::xml_parser_error("cannot open file", path, 0);
    }
    const std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return content.c_str();
}

} // namespace

ConfigImpl_XML::ConfigImpl_XML()
    : m_UserTree(std::make_unique<Tree>()), m_SystemTree(std::make_unique<Tree>()) {}

ConfigImpl_XML::~ConfigImpl_XML() = default;

bool ConfigImpl_XML::DoInit() {
    m_SystemFile = PrepareFile(GetAllUsersDir(), VELMOR_PATH_SYS, m_Name);
    m_UserFile = PrepareFile(GetUserDir(), VELMOR_PATH_USR, m_Name);
    read(CONFIG_TYPE_SYSTEM);
    read(CONFIG_TYPE_USER);
    return true;
}

bool ConfigImpl_XML::DoDestroy() {
    const bool system = write(CONFIG_TYPE_SYSTEM);
    const bool user = write(CONFIG_TYPE_USER);
    return system && user;
}

ConfigImpl_XML::Tree& ConfigImpl_XML::GetPT(ConfigType type) {
    return type == CONFIG_TYPE_SYSTEM ? *m_SystemTree : *m_UserTree;
}

const std::string& ConfigImpl_XML::FileOf(ConfigType type) const {
    return type == CONFIG_TYPE_SYSTEM ? m_SystemFile : m_UserFile;
}

std::string ConfigImpl_XML::getPath(sConfig* row) const {
    const std::string parts[] = {m_Name.empty() ? "config" : m_Name, row->m_Path};
    std::string path = BuildRegPath(parts, 2);
    for (char& c : path) {
        if (c == SEPARATOR || c == '/') {
            c = '.';
        } else if (c == '.' || c == ' ') {
            c = '_';
        }
    }
    return path;
}

std::string ConfigImpl_XML::getPathKey(sConfig* row) const {
    return getPath(row) + row->m_Key;
}

template <typename T>
bool ConfigImpl_XML::getValue(sConfig* row, T& out) {
    try {
        const auto value = GetPT(row->m_Type).m_Root.template get_optional<T>(TreePath(getPathKey(row)));
        if (value) {
            out = *value;
        }
        return value.has_value();
    } catch (...) {
        return false;
    }
}

template <typename T>
bool ConfigImpl_XML::setValue(sConfig* row, const T& value) {
    try {
        const std::string path = getPathKey(row);
        if (path.back() == '.') {
            return false;
        }
        GetPT(row->m_Type).m_Root.put(TreePath(path), value, TranslatorOf<T>());
        return write(row->m_Type);
    } catch (...) {
        return false;
    }
}

bool ConfigImpl_XML::SetInteger(sConfig* row, long value) {
    return setValue(row, value);
}

bool ConfigImpl_XML::SetString(sConfig* row, const std::string& value) {
    return setValue(row, value);
}

bool ConfigImpl_XML::SetBoolean(sConfig* row, bool value) {
    return setValue(row, value);
}

bool ConfigImpl_XML::SetBinary(sConfig* row, std::vector<unsigned char>& value) {
    std::string text;
    b64encode(value, text, 0);
    return setValue(row, text);
}

bool ConfigImpl_XML::GetInteger(sConfig* row, long& value) {
    return getValue(row, value);
}

bool ConfigImpl_XML::GetString(sConfig* row, std::string& value) {
    return getValue(row, value);
}

bool ConfigImpl_XML::GetBoolean(sConfig* row, bool& value) {
    return getValue(row, value);
}

bool ConfigImpl_XML::GetBinary(sConfig* row, std::vector<unsigned char>& value) {
    std::string text;
    if (!getValue(row, text)) {
        return false;
    }
    b64decode(text, value);
    return true;
}

std::vector<std::string> ConfigImpl_XML::EnumSubDirs(sConfig* row, const std::string& filter) {
    std::vector<std::string> names;
    const auto node = GetPT(row->m_Type).m_Root.get_child_optional(TreePath(getPath(row)));
    if (!node) {
        return names;
    }
    for (const auto& child : *node) {
        if (StartsWith(child.first, filter)) {
            names.push_back(child.first);
        }
    }
    return names;
}

bool ConfigImpl_XML::RemoveKey(sConfig* row) {
    return remove(GetPT(row->m_Type), getPathKey(row)) && write(row->m_Type);
}

bool ConfigImpl_XML::RemovePath(sConfig* row) {
    return remove(GetPT(row->m_Type), getPath(row)) && write(row->m_Type);
}

bool ConfigImpl_XML::remove(Tree& tree, const std::string& path) {
    if (path == m_Name + ".") {
        tree.m_Root.clear();
        return true;
    }
    const auto node = tree.m_Root.get_child_optional(TreePath(path));
    if (!node) {
        return false;
    }
    node->clear();
    return true;
}

bool ConfigImpl_XML::read(ConfigType type) {
    if (type > CONFIG_TYPE_SYSTEM) {
        return false;
    }
    try {
        const std::string content = ContentOf(FileOf(type));
        if (XmlNestsDeeperThan(DEEPEST_TREE, content)) {
            return false;
        }
        std::istringstream stream(content);
        pt::read_xml(stream, GetPT(type).m_Root, 0);
        return true;
    } catch (...) {
        return false;
    }
}

bool ConfigImpl_XML::write(ConfigType type) {
    if (type > CONFIG_TYPE_SYSTEM) {
        return false;
    }
    try {
        std::ofstream stream(FileOf(type));
        pt::write_xml(stream, GetPT(type).m_Root, pt::xml_writer_make_settings<std::string>(' ', 0, "utf-8"));
        stream.close(); // so that a full disk shows now
        return stream.good();
    } catch (...) {
        return false;
    }
}

} // namespace Velmor
