// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_CONFIGIMPL_XML_H
#define ORSEL_FOUNDATION_CONFIGIMPL_XML_H

#include <memory>
#include <string>
#include <vector>

#include "foundation/Config.h"

namespace Velmor {

/// Settings in two small XML files, one of the system and one of the user. Both are read once, by DoInit();
/// reads are served from memory, and each change rewrites its whole file at once. A row's type decides which
/// file it lives in, and the other one is never looked at for it.
///
/// A missing, unreadable or malformed file counts as an empty one. A write fails as long as nobody has made
/// the directory of the configuration's name; a change that cannot be written stays in memory. Nothing is
/// logged, and there is no lock.
class ConfigImpl_XML : public iConfigImpl {
public:
    /// The level separator of row paths.
    static constexpr char SEPARATOR = '\\';

    ConfigImpl_XML();
    ~ConfigImpl_XML() override;

    bool SetInteger(sConfig* row, long value) override;
    bool SetString(sConfig* row, const std::string& value) override;
    bool SetBoolean(sConfig* row, bool value) override;
    /// Stored as base64 text.
    bool SetBinary(sConfig* row, std::vector<unsigned char>& value) override;
    bool GetInteger(sConfig* row, long& value) override;
    bool GetString(sConfig* row, std::string& value) override;
    bool GetBoolean(sConfig* row, bool& value) override;
    /// Text that is no base64 gives an empty value, not a failure.
    bool GetBinary(sConfig* row, std::vector<unsigned char>& value) override;
    using iConfigImpl::EnumSubDirs;
    std::vector<std::string> EnumSubDirs(sConfig* row, const std::string& filter) override;
    /// Both empty an element and leave it in the file, so a removed key reads as an empty text.
    bool RemoveKey(sConfig* row) override;
    bool RemovePath(sConfig* row) override;
    /// True, whatever the files are like.
    bool DoInit() override;
    bool DoDestroy() override;

    /// The tree path of a row's directory, which ends in ".", and of its key. Dots and blanks of a path
    /// become underscores; a key is taken as it stands.
    std::string getPath(sConfig* row) const;
    std::string getPathKey(sConfig* row) const;
    /// Load and save one file.
    bool read(ConfigType type);
    bool write(ConfigType type);

private:
    struct Tree; // keeps the library that parses the files out of this header

    Tree& GetPT(ConfigType type);
    const std::string& FileOf(ConfigType type) const;
    template <typename T>
    bool getValue(sConfig* row, T& out);
    template <typename T>
    bool setValue(sConfig* row, const T& value);
    bool remove(Tree& tree, const std::string& path);

    std::unique_ptr<Tree> m_UserTree;
    std::unique_ptr<Tree> m_SystemTree;
    std::string m_SystemFile;
    std::string m_UserFile;
};

} // namespace Velmor

#endif
