// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_FILESYSTEM_H
#define ORSEL_FOUNDATION_FILESYSTEM_H

#include <map>
#include <memory>
#include <string>

namespace Velmor {

/// The per-user directory under the home directory, and the all-users directory under "/etc/".
inline constexpr char VELMOR_PATH_USR[] = ".velmor";
inline constexpr char VELMOR_PATH_SYS[] = "velmor";

/// The directory a row starts from. Any other number means the temp directory.
enum BasePath : int {
    BASE_PATH_USER = 0,
    BASE_PATH_ALL_USERS = 1,
    BASE_PATH_PROGRAM = 2,
    BASE_PATH_TEMP = 3,
};

/// One row of the path table.
struct _PathConfig { // NOLINT(bugprone-reserved-identifier): the name that the family shares
    BasePath m_Base = BASE_PATH_USER;
    std::string m_Path; ///< relative directory, with forward slashes once stored
    std::string m_File; ///< file name, may be empty
};

/// The process-wide table that turns small ids into directories and file names. It has no lock: it is filled
/// during the start and read afterwards.
class FileSystem {
public:
    FileSystem(const FileSystem&) = delete; // there is one table
    FileSystem& operator=(const FileSystem&) = delete;

    /// The one instance, made at the first call. It knows no directory before Initialize().
    static FileSystem* GetHandle();
    /// Frees the instance with all rows; the next GetHandle() starts afresh.
    static void Destroy();

    /// Finds out the base directories. `subDirectory` is joined onto the base of every row.
    void Initialize(std::string subDirectory);
    std::string GetProgramDirectory() const;
    std::string GetUserDirectory() const;
    std::string GetAllUserDirectory() const;
    std::string GetTempDirectory() const;

    /// Adds or replaces a row; true at all times. Rows are written with backslashes, which become slashes.
    bool AddConfig(unsigned int id, BasePath base, std::string path, std::string file);
    /// Adds rows under consecutive ids.
    bool AddConfigs(unsigned int firstId, const _PathConfig* rows, int count);
    /// The row, which stays the table's; null for an unknown id.
    _PathConfig* GetConfigEntry(unsigned int id) const;

    /// The directory of a row; empty for an unknown id. `create` makes what stands before its last "/".
    std::string GetPath(unsigned int id, bool create) const;
    /// The file of a row; empty for an unknown id. `create` makes its directory as well and leaves the file
    /// empty, each time.
    std::string GetFile(unsigned int id, bool create) const;

    /// A copy with each backslash replaced by a slash.
    static std::string toNativeFS(const std::string& path);

private:
    FileSystem() = default;
    ~FileSystem() = default;

    void InitIntern();
    const std::string& BaseDirectory(BasePath base) const;
    std::string BuildPath(const _PathConfig* row, bool create) const;

    static FileSystem* m_Handle;

    std::string m_ProgramDirectory;
    std::string m_UserDirectory;
    std::string m_AllUserDirectory;
    std::string m_TempDirectory;
    std::string m_SubDirectory;
    std::map<unsigned int, std::unique_ptr<_PathConfig>> m_Rows;
};

} // namespace Velmor

#endif
