// SPDX-License-Identifier: MIT
#include "foundation/FileSystem.h"

#include <algorithm>
#include <fstream>

#include <unistd.h>

#include "foundation/FileAndDirectory.h"

namespace Velmor {

namespace {

/// The directory of the running program, without "/" at its end; empty if it cannot be found out.
std::string DirectoryOfProgram() {
    char link[4096];
    const ssize_t length = readlink("/proc/self/exe", link, sizeof(link));
    const std::string program(link, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    const std::size_t last = program.rfind('/');
    return last == std::string::npos ? std::string() : program.substr(0, last);
}

} // namespace

FileSystem* FileSystem::m_Handle = nullptr;

FileSystem* FileSystem::GetHandle() {
    if (m_Handle == nullptr) {
        m_Handle = new FileSystem;
    }
    return m_Handle;
}

void FileSystem::Destroy() {
    delete m_Handle;
    m_Handle = nullptr;
}

void FileSystem::Initialize(std::string subDirectory) {
    m_SubDirectory = subDirectory;
    InitIntern();
}

void FileSystem::InitIntern() {
    m_AllUserDirectory = CombinePaths(GetAllUsersDir(), VELMOR_PATH_SYS);
    m_TempDirectory = GetTempDir();
    m_UserDirectory = CombinePaths(GetUserDir(), VELMOR_PATH_USR);
    m_ProgramDirectory = DirectoryOfProgram();
}

std::string FileSystem::GetProgramDirectory() const {
    return m_ProgramDirectory;
}

std::string FileSystem::GetUserDirectory() const {
    return m_UserDirectory;
}

std::string FileSystem::GetAllUserDirectory() const {
    return m_AllUserDirectory;
}

std::string FileSystem::GetTempDirectory() const {
    return m_TempDirectory;
}

bool FileSystem::AddConfig(unsigned int id, BasePath base, std::string path, std::string file) {
    m_Rows[id] = std::make_unique<_PathConfig>(_PathConfig{base, toNativeFS(path), file});
    return true;
}

bool FileSystem::AddConfigs(unsigned int firstId, const _PathConfig* rows, int count) {
    bool added = true;
    for (int index = 0; index < count; ++index) {
        const _PathConfig& row = rows[index];
        added = AddConfig(firstId + static_cast<unsigned int>(index), row.m_Base, row.m_Path, row.m_File) &&
                added;
    }
    return added;
}

_PathConfig* FileSystem::GetConfigEntry(unsigned int id) const {
    const auto row = m_Rows.find(id);
    return row == m_Rows.end() ? nullptr : row->second.get();
}

std::string FileSystem::GetPath(unsigned int id, bool create) const {
    const _PathConfig* const row = GetConfigEntry(id);
    return row == nullptr ? std::string() : BuildPath(row, create);
}

std::string FileSystem::GetFile(unsigned int id, bool create) const {
    const _PathConfig* const row = GetConfigEntry(id);
    if (row == nullptr) {
        return {};
    }
    const std::string directory = BuildPath(row, create);
    if (row->m_File.empty()) {
        return directory;
    }
    const std::string path = CombinePaths(directory, row->m_File);
    if (create) {
        std::ofstream(path, std::ios::binary | std::ios::trunc);
    }
    return path;
}

std::string FileSystem::toNativeFS(const std::string& path) {
    std::string native = path;
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

const std::string& FileSystem::BaseDirectory(BasePath base) const {
    switch (base) {
    case BASE_PATH_USER:
        return m_UserDirectory;
    case BASE_PATH_ALL_USERS:
        return m_AllUserDirectory;
    case BASE_PATH_PROGRAM:
        return m_ProgramDirectory;
    default:
        return m_TempDirectory;
    }
}

std::string FileSystem::BuildPath(const _PathConfig* row, bool create) const {
    std::string path = BaseDirectory(row->m_Base);
    if (!m_SubDirectory.empty()) {
        path = CombinePaths(path, m_SubDirectory);
    }
    if (!row->m_Path.empty()) {
        path = CombinePaths(path, row->m_Path);
    }
    if (create) {
        CreateDirectories(path);
    }
    return path;
}

} // namespace Velmor
