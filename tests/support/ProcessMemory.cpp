// SPDX-License-Identifier: MIT
#include "tests/support/ProcessMemory.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::size_t PIECE = 1 << 20;

struct Mapping {
    off_t m_Start = 0;
    off_t m_End = 0;
    std::string m_Rights;
    std::string m_Name;
};

/// A line such as "7f00-7f08 rw-p 0000 00:00 0  [heap]"; nothing of the others.
bool IsHead(const std::string& line, Mapping& mapping) {
    std::istringstream words(line);
    char dash = 0;
    std::string offset;
    std::string device;
    std::string inode;
    mapping = {};
    if (!(words >> std::hex >> mapping.m_Start >> dash >> mapping.m_End >> mapping.m_Rights) || dash != '-') {
        return false;
    }
    words >> offset >> device >> inode >> mapping.m_Name;
    return true;
}

/// Those that may be written to and are not left out of core files (proc(5), VmFlags: "dd"), as the shadow of
/// a sanitizer is.
std::vector<Mapping> MappingsOfACore(const std::string& process) {
    std::vector<Mapping> found;
    std::ifstream lines(process + "/smaps");
    Mapping mapping;
    Mapping head;
    for (std::string line; std::getline(lines, line);) {
        if (IsHead(line, head)) {
            mapping = head;
        } else if (line.rfind("VmFlags:", 0) == 0 && mapping.m_Rights.rfind("rw", 0) == 0 &&
                   line.find(" dd") == std::string::npos) {
            found.push_back(mapping);
        }
    }
    return found;
}

/// A file descriptor that closes itself.
class Memory {
public:
    explicit Memory(const std::string& process)
        : m_File(open((process + "/mem").c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Memory() { close(m_File); }
    Memory(const Memory&) = delete; // closes once
    Memory& operator=(const Memory&) = delete;

    /// Fewer bytes than asked for where the mapping has gone meanwhile.
    std::string Read(off_t place, std::size_t size) const {
        std::string bytes(size, '\0');
        const ssize_t got = pread(m_File, bytes.data(), size, place);
        bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return bytes;
    }

private:
    int m_File;
};

} // namespace

std::vector<std::string> MemoryWith(pid_t process, const std::vector<std::string>& texts) {
    const std::string folder = "/proc/" + std::to_string(process);
    const Memory memory(folder);
    std::vector<std::string> found;
    std::size_t all = 0;
    for (const Mapping& mapping : MappingsOfACore(folder)) {
        std::string bytes;
        for (off_t place = mapping.m_Start; place < mapping.m_End; place += PIECE) {
            bytes += memory.Read(place, std::min<std::size_t>(PIECE, mapping.m_End - place));
        }
        all += bytes.size();
        for (const std::string& text : texts) {
            for (std::size_t at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
                found.push_back(text + " in " + mapping.m_Name);
            }
        }
    }
    if (all == 0) {
        throw std::runtime_error("the memory of a child cannot be read");
    }
    return found;
}
