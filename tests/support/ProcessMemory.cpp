// SPDX-License-Identifier: MIT
#include "tests/support/ProcessMemory.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace {

struct Mapping {
    std::streamoff m_Start = 0; // has 64 bits where addresses have 32, too
    std::streamoff m_End = 0;
    std::string m_Rights;
    std::string m_Name;
};

/// Of a line such as "7f00-7f08 rw-p 0000 00:00 0  [heap]"; nothing of the others.
std::optional<Mapping> HeadIn(const std::string& line) {
    std::istringstream words(line);
    Mapping mapping;
    char dash = 0;
    words >> std::hex >> mapping.m_Start >> dash >> mapping.m_End >> mapping.m_Rights;
    if (!words || dash != '-') {
        return std::nullopt;
    }
    std::string offset, device, inode;
    words >> offset >> device >> inode >> mapping.m_Name;
    return mapping;
}

/// Those that may be written to and are not left out of core files (proc(5), VmFlags: "dd"), as the shadow of
/// a sanitizer is.
std::vector<Mapping> MappingsOfACore(const std::string& process) {
    std::vector<Mapping> found;
    std::ifstream lines(process + "/smaps");
    Mapping mapping;
    for (std::string line; std::getline(lines, line);) {
        if (const std::optional<Mapping> head = HeadIn(line)) {
            mapping = *head;
        } else if (line.rfind("VmFlags:", 0) == 0 && mapping.m_Rights.rfind("rw", 0) == 0 &&
                   line.find(" dd") == std::string::npos) {
            found.push_back(mapping);
        }
    }
    return found;
}

/// Fewer bytes than the mapping has where it is gone meanwhile.
std::string Read(std::ifstream& memory, const Mapping& mapping) {
    std::string bytes(static_cast<std::size_t>(mapping.m_End - mapping.m_Start), '\0');
    memory.clear();
    memory.seekg(mapping.m_Start);
    memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(memory.gcount(), 0)));
    return bytes;
}

} // namespace

std::vector<std::string> MemoryWith(pid_t process, const std::vector<std::string>& texts) {
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream memory(folder + "/mem", std::ios::binary);
    std::vector<std::string> found;
    std::size_t all = 0;
    for (const Mapping& mapping : MappingsOfACore(folder)) {
        const std::string bytes = Read(memory, mapping);
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
