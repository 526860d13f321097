// SPDX-License-Identifier: MIT
#include "tests/cli/CliTest.h"

#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "cli/Console.h"
#include "cli/Interruption.h"
#include "cli/Program.h"

namespace {

/// A file in memory that a run writes to.
class MemoryFile {
public:
    MemoryFile() : m_Descriptor(memfd_create("output", 0)) {}
    ~MemoryFile() { close(m_Descriptor); }
    MemoryFile(const MemoryFile&) = delete; // one owner
    MemoryFile& operator=(const MemoryFile&) = delete;

    int Descriptor() const { return m_Descriptor; }
    std::string Content() const {
        std::string content(static_cast<size_t>(lseek(m_Descriptor, 0, SEEK_END)), '\0');
        lseek(m_Descriptor, 0, SEEK_SET);
        const ssize_t count = read(m_Descriptor, content.data(), content.size());
        content.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return content;
    }

private:
    int m_Descriptor;
};

} // namespace

CliResult RunCli(const std::vector<std::string>& arguments) {
    const MemoryFile out;
    CliResult result = RunCliInto(out.Descriptor(), arguments);
    result.m_Out = out.Content();
    return result;
}

CliResult RunCliInto(int out, const std::vector<std::string>& arguments) {
    const MemoryFile in;
    const MemoryFile error;
    orselcli::Interruption::Forget();
    orselcli::Console console(in.Descriptor(), out, error.Descriptor());
    const int code = orselcli::RunProgram(arguments, console);
    return {code, "", error.Content()};
}

std::string CliTest::Good(const std::vector<std::string>& arguments) {
    const CliResult result = RunCli(arguments);
    EXPECT_EQ(result.m_Code, 0) << result.m_Error;
    return result.m_Out;
}

std::string CliTest::FileOf(const std::string& name, const std::string& content) {
    std::ofstream(PathOf(name), std::ios::binary) << content;
    return PathOf(name);
}

std::vector<std::string> CliTest::Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_Deck.Folder())) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}
