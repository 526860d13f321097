// SPDX-License-Identifier: MIT
#include "foundation/FileAndDirectory.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>

#include "foundation/FileHandle.h"
#include "foundation/Logging.h"

namespace Velmor {

namespace {

// With 32 bits neither a large file nor the entries of a large disk's directories can be looked at.
static_assert(sizeof(off_t) == 8, "build with _FILE_OFFSET_BITS=64");

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

void LogError(const std::string& text) {
    LibLogging::GetHandle(0)->LogError(text);
}

/// The size by seeking; the position is at the start afterwards. A directory opens like a file, but its size
/// says nothing: it counts as empty, as does what cannot seek.
std::uint64_t SizeOf(FILE* file) {
    struct stat status = {};
    if (fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode)) {
        return 0;
    }
    fseeko(file, 0, SEEK_END); // a long ends at 2 GiB on 32 bits
    const off_t size = ftello(file);
    std::rewind(file);
    return static_cast<std::uint64_t>(std::max<off_t>(size, 0));
}

bool StartsWithSeparator(const std::string& path) {
    return path.front() == '/' || path.front() == '\0';
}

bool EndsWithSeparator(const std::string& path) {
    return path.back() == '/' || path.back() == '\0';
}

std::string Variable(const char* name, const std::string& otherwise) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

void CopyBlocks(FILE* source, const std::string& from, FILE* target, const std::string& to) {
    std::array<char, 1024> block = {};
    for (std::uint64_t remaining = SizeOf(source); remaining > 0 && std::feof(source) == 0;) {
        const std::size_t length = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), remaining));
        if (std::fread(block.data(), length, 1, source) != 1) {
            for (const std::string& text :
                 {std::string("WARNING: error during copy from"), from, std::string("to"), to}) {
                LogError(text);
            }
        }
        std::fwrite(block.data(), length, 1, target); // also after a failed read: a copy keeps the length
        std::fflush(target);
        remaining -= length;
    }
}

bool ListEntries(const std::string& dir, unsigned char type, std::vector<std::string>& out) {
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(dir.c_str()));
    if (directory == nullptr) {
        return false;
    }
    while (const dirent* const entry = readdir(directory.get())) {
        if (entry->d_type == type) {
            out.push_back(CombinePaths(dir, entry->d_name));
        }
    }
    return true;
}

} // namespace

std::string CombinePaths(const std::string& a, const std::string& b) {
    std::string path = a;
    if (!path.empty() && !EndsWithSeparator(path)) {
        path += '/';
    }
    if (!b.empty()) {
        path.append(b, StartsWithSeparator(b) ? 1 : 0, std::string::npos);
    }
    return path;
}

std::string CombinePaths(const std::string* parts, int count) {
    std::string path;
    for (int index = 0; index < count; ++index) {
        path = index == 0 ? parts[0] : CombinePaths(path, parts[index]);
    }
    return path;
}

std::string RemoveLastPartFromPath(const std::string& path) {
    const bool endsInSlash = !path.empty() && path.back() == '/';
    const std::size_t last = path.substr(0, path.size() - (endsInSlash ? 1 : 0)).rfind('/');
    return last == std::string::npos ? path : path.substr(0, last + 1);
}

std::string GetFilenameFromPath(const std::string& path) {
    return path.substr(path.rfind('/') + 1); // without a "/" this is the start
}

bool FileExists(const std::string& path) {
    return OpenFile(path, "rb") != nullptr;
}

bool DirectoryExists(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool CreateOneDir(const std::string& path) {
    if (path.empty()) {
        return true;
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode);
    }
    return mkdir(path.c_str(), 0777) == 0 || errno == EEXIST;
}

bool CreateDirectories(const std::string& path) {
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        if (!CreateOneDir(path.substr(0, slash))) {
            return false;
        }
    }
    return true;
}

bool ReadCompleteFileBinary(const std::string& path, char*& data, unsigned long& size) {
    const FileHandle file = OpenFile(path, "rb");
    if (file == nullptr) {
        return false;
    }
    const std::uint64_t whole = SizeOf(file.get());
    size = whole <= PTRDIFF_MAX ? static_cast<unsigned long>(whole) : 0; // what no memory can hold fails
    data = new char[size];
    return std::fread(data, size, 1, file.get()) == 1;
}

std::string ReadCompleteFile(const std::string& path) {
    char* data = nullptr;
    unsigned long size = 0;
    const bool complete = ReadCompleteFileBinary(path, data, size);
    const std::unique_ptr<char[]> owner(data);
    return complete ? std::string(data, size) : std::string();
}

bool RenameFile(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0;
}

bool RemoveFile(const std::string& path) {
    return std::remove(path.c_str()) == 0;
}

bool CopyFile(const std::string& from, const std::string& to) {
    const FileHandle source = OpenFile(from, "rb");
    const FileHandle target = OpenFile(to, "wb");
    if (source == nullptr || target == nullptr) {
        LogError("copy: source or dest is NULL");
        return false;
    }
    CopyBlocks(source.get(), from, target.get(), to);
    return true;
}

bool WriteToFile(const std::string& path, const std::vector<unsigned char>& data, bool removeFirst) {
    if (removeFirst) {
        RemoveFile(path);
    }
    const FileHandle file = OpenFile(path, "wb");
    if (file == nullptr) {
        LogError("WriteToFile: cannot open file");
        return false;
    }
    std::setvbuf(file.get(), nullptr, _IONBF, 0); // so that a full disk shows in the count, not at the close
    if (!data.empty() && std::fwrite(data.data(), 1, data.size(), file.get()) != data.size()) {
        LogError("fwrite retval != 1");
        return false;
    }
    return true;
}

bool WriteToFile(const std::string& path, const std::string& data, bool removeFirst) {
    return WriteToFile(path, std::vector<unsigned char>(data.begin(), data.end()), removeFirst);
}

std::string GetTempDir() {
    return Variable("TMPDIR", "/tmp/");
}

std::string GetUserDir() {
    return Variable("HOME", "");
}

std::string GetAllUsersDir() {
    return "/etc/";
}

std::string GetSystemLogDir() {
    return "/var/log/";
}

std::string GenerateFilenameWithTimestamp(std::string name, std::string ext) {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    char stamp[32];
    std::strftime(stamp, sizeof(stamp), "%Y-%m-%d-%H-%M-%S", &local);
    return name + "_" + stamp + "." + ext;
}

std::string GenerateTempFilename(std::string& dir, std::string prefix) {
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    const std::string number = std::to_string(std::rand() % 100000);
    return CombinePaths(dir, prefix + std::string(6 - number.size(), '0') + number + ".tmp");
}

bool ListAllSubDirectories(const std::string& dir, std::vector<std::string>& out) {
    return ListEntries(dir, DT_DIR, out);
}

bool ListAllFilesInDirectory(const std::string& dir, std::vector<std::string>& out) {
    return ListEntries(dir, DT_REG, out);
}

} // namespace Velmor
