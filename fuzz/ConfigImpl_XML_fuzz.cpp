// SPDX-License-Identifier: MIT
// The input is the user's configuration file.
#include "foundation/ConfigImpl_XML.h"

#include <filesystem>
#include <fstream>

#include "fuzz/FuzzInput.h"

using namespace Velmor;

namespace {

/// A home directory of its own for the whole run.
class Home {
public:
    Home() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orsel_fuzz_XXXXXX").string();
        Require(mkdtemp(pattern.data()) != nullptr);
        m_Path = pattern;
        std::filesystem::create_directories(m_Path / ".velmor/orselclient");
        setenv("HOME", m_Path.c_str(), 1);
    }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    ~Home() {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    void WriteConfig(const std::string& content) const {
        std::ofstream(m_Path / ".velmor/orselclient/config", std::ios::binary) << content;
    }

private:
    std::filesystem::path m_Path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Home home;
    home.WriteConfig(TextOf(data, size));
    ConfigImpl_XML store;
    store.Init("orselclient");
    sConfig row{CONFIG_TYPE_USER, "orsel Client\\Trace", "LogLevel", SYS_TYPE_0};
    long number = 0;
    bool flag = false;
    std::string text;
    Bytes binary;
    store.GetInteger(&row, number);
    store.GetBoolean(&row, flag);
    store.GetBinary(&row, binary);
    store.EnumSubDirs(&row, "");
    Require(store.SetInteger(&row, 42) && store.GetInteger(&row, number) && number == 42);
    store.RemovePath(&row);
    store.GetString(&row, text);
    store.DoDestroy();
    return 0;
}
