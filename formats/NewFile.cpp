// SPDX-License-Identifier: MIT
#include "formats/NewFile.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "foundation/FileHandle.h"

namespace Velmor {

namespace {

FileHandle MakeFile(const std::string& path) {
    constexpr mode_t OWNER_ALONE = 0600;
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, OWNER_ALONE);
    if (descriptor == -1) {
        return nullptr;
    }
    FileHandle file(fdopen(descriptor, "wb"));
    if (file == nullptr) {
        close(descriptor);
    }
    return file;
}

} // namespace

bool WriteNewFile(const std::string& path, const unsigned char* bytes, std::size_t size) {
    FileHandle file = MakeFile(path);
    if (file == nullptr || std::fwrite(bytes, 1, size, file.get()) != size) {
        return false;
    }
    return std::fclose(file.release()) == 0;
}

} // namespace Velmor
