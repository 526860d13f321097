// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_CONFIG_H
#define ORSEL_FOUNDATION_CONFIG_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Velmor {

/// The store a key lives in.
enum ConfigType : int {
    CONFIG_TYPE_USER = 0,
    CONFIG_TYPE_SYSTEM = 1,
};

/// Table rows come in pairs that differ in this number and in their id. The XML store never looks at it.
enum SysType : int {
    SYS_TYPE_0 = 0,
    SYS_TYPE_1 = 1,
};

/// No other value has a back end.
enum ConfigBackend : int {
    CONFIG_BACKEND_XML = 1,
};

/// One row of the key table: where a setting lives.
struct sConfig {
    ConfigType m_Type = CONFIG_TYPE_USER;
    std::string m_Path; ///< the key's directory, with a backslash between levels
    std::string m_Key;  ///< the name under the path, may be empty
    SysType m_SysType = SYS_TYPE_0;
};

/// What a configuration is stored in. The order of the virtual operations is part of the interface.
/// A failing read leaves its output as it was.
class iConfigImpl {
public:
    iConfigImpl() = default;
    iConfigImpl(const iConfigImpl&) = delete; // a store stands for its files
    iConfigImpl& operator=(const iConfigImpl&) = delete;

    virtual ~iConfigImpl() = default;
    virtual bool SetInteger(sConfig* row, long value) = 0;
    virtual bool SetString(sConfig* row, const std::string& value) = 0;
    virtual bool SetBoolean(sConfig* row, bool value) = 0;
    virtual bool SetBinary(sConfig* row, std::vector<unsigned char>& value) = 0;
    virtual bool GetInteger(sConfig* row, long& value) = 0;
    virtual bool GetString(sConfig* row, std::string& value) = 0;
    virtual bool GetBoolean(sConfig* row, bool& value) = 0;
    virtual bool GetBinary(sConfig* row, std::vector<unsigned char>& value) = 0;
    /// The names directly under the row's path that begin with `filter`.
    virtual std::vector<std::string> EnumSubDirs(sConfig* row, const std::string& filter) = 0;
    virtual bool RemoveKey(sConfig* row) = 0;
    virtual bool RemovePath(sConfig* row) = 0;
    virtual bool DoInit() = 0;
    virtual bool DoDestroy() = 0;

    /// Stores the name and opens the store.
    bool Init(const std::string& name);
    /// Writes everything that the store holds.
    bool Destroy();
    std::vector<std::string> EnumSubDirs(sConfig* row);
    /// Joins the parts that are not empty with one backslash, another one at the end.
    static std::string BuildRegPath(const std::string* parts, int count);

protected:
    std::string m_Name;
};

/// Settings asked for by small ids. The caller's variable holds the default: a failed read leaves it alone.
///
/// Several instances stand side by side, each with a table of its own over the same files. There is no lock:
/// an instance must not be shared between threads while rows are added.
class Config {
public:
    Config(const Config&) = delete; // the registry holds each instance once
    Config& operator=(const Config&) = delete;

    /// Makes an instance and returns its id, 1 for the first: slot 0 is kept for the default instance.
    static unsigned int Register();
    /// The instance of an id from Register(), made anew after Destroy(), or the default one of id 0. Null for
    /// any other id.
    static Config* GetHandle(unsigned int id = 0);
    /// Frees the instance and its rows; writes nothing. Its id may be asked for again.
    void Destroy();

    /// Opens the store of this name. An instance that is initialised already ignores the new name.
    bool Init(const std::string& name, ConfigBackend backend);
    bool Init(const std::string& name);

    /// Adds or replaces a row; false before Init(). The key comes before the path here, unlike in the row.
    bool AddConfig(unsigned int id, ConfigType type, const std::string& key, const std::string& path,
                   SysType sys);
    /// Adds rows under consecutive ids.
    bool AddConfigs(unsigned int firstId, const sConfig* rows, int count);
    /// The row, which stays the instance's. Null for an unknown id, which is logged.
    sConfig* GetConfigEntry(unsigned int id) const;

    // False without a store and for an unknown id.
    bool SetInteger(unsigned int id, long value);
    bool SetString(unsigned int id, const std::string& value);
    bool SetBoolean(unsigned int id, bool value);
    bool SetBinary(unsigned int id, std::vector<unsigned char>& value);
    bool GetInteger(unsigned int id, long& value);
    bool GetString(unsigned int id, std::string& value);
    bool GetBoolean(unsigned int id, bool& value);
    bool GetBinary(unsigned int id, std::vector<unsigned char>& value);
    /// Writes "YES" or "NO".
    bool SetStringBoolean(unsigned int id, bool value);
    /// "YES", "JA", "Y" and "TRUE" in any case are true, any other text is false.
    bool GetStringBoolean(unsigned int id, bool& value);
    /// Empty without a store and for an unknown id.
    std::vector<std::string> EnumSubDirs(unsigned int id, const std::string& filter);
    bool RemoveKey(unsigned int id);
    bool RemovePath(unsigned int id);

protected:
    explicit Config(unsigned int id);
    virtual ~Config();

private:
    /// The row if there is a store as well, else null.
    sConfig* RowOfStore(unsigned int id) const;

    std::string m_Name;
    std::map<unsigned int, std::unique_ptr<sConfig>> m_Rows;
    std::unique_ptr<iConfigImpl> m_Implementation;
    std::uint32_t m_Id; ///< index in ConfigVector
    bool m_Initialised = false;
};

/// The registry of configurations: the index is the instance's id, a null slot an id without an instance.
class ConfigVector : public std::vector<Config*> {
public:
    /// The one instance, made at the first call and never freed.
    static ConfigVector& vector();

private:
    ConfigVector() = default;
};

} // namespace Velmor

#endif
