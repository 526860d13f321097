// SPDX-License-Identifier: MIT
#include "foundation/Config.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "tests/foundation/ConfigFixture.h"
#include "tests/foundation/GlobalLocale.h"
#include "tests/foundation/UsedMemory.h"

using namespace Velmor;

namespace {

/// The default instance over empty files that can be written.
class AConfiguration : public NoConfiguration {
protected:
    void SetUp() override {
        NoConfiguration::SetUp();
        if (IsSkipped()) {
            return;
        }
        MakeUserDirectory();
        SystemConfig::MakeDirectory();
        ASSERT_TRUE(Default().Init("orselclient"));
    }

    static Config& Default() { return *Config::GetHandle(0); }

    /// The text of row 1 after writing it to the store as it stands.
    static std::string Stored() {
        std::string text;
        return Default().GetString(1, text) ? text : "(nothing)";
    }
};

/// The slot of a virtual operation, which its member pointer holds: the offset in the table, and a mark in
/// the lowest bit on some platforms.
template <typename Operation>
std::size_t SlotOf(Operation iConfigImpl::*operation) {
    std::size_t offset = 0;
    std::memcpy(&offset, &operation, sizeof(offset));
    return (offset & ~std::size_t{1}) / sizeof(void*);
}

/// A locale in which a small letter stays what it is.
class WithoutCapitals : public std::ctype<char> {
protected:
    char do_toupper(char letter) const override { return letter; }
};

} // namespace

TEST(ConfigTypes, TakeAnyNumber) {
    static_assert(std::is_same_v<std::underlying_type_t<ConfigType>, int>);
    static_assert(std::is_same_v<std::underlying_type_t<SysType>, int>);
    static_assert(std::is_same_v<std::underlying_type_t<ConfigBackend>, int>);
    EXPECT_EQ(0, CONFIG_TYPE_USER);
    EXPECT_EQ(1, CONFIG_TYPE_SYSTEM);
    EXPECT_EQ(1, CONFIG_BACKEND_XML);
}

TEST(ConfigRow, IsMadeOfTypePathKeyAndSysType) {
    const sConfig row = {CONFIG_TYPE_SYSTEM, "path", "key", SYS_TYPE_1};
    EXPECT_EQ(CONFIG_TYPE_SYSTEM, row.m_Type);
    EXPECT_EQ("path", row.m_Path);
    EXPECT_EQ("key", row.m_Key);
    EXPECT_EQ(SYS_TYPE_1, row.m_SysType);
}

TEST(ConfigRow, StartsAtZeroAndKeepsItsOrder) {
    static_assert(offsetof(sConfig, m_Type) == 0);
    static_assert(offsetof(sConfig, m_Type) < offsetof(sConfig, m_Path));
    static_assert(offsetof(sConfig, m_Path) < offsetof(sConfig, m_Key));
    static_assert(offsetof(sConfig, m_Key) < offsetof(sConfig, m_SysType));
    const OnUsedMemory<sConfig> row;
    EXPECT_EQ(CONFIG_TYPE_USER, row->m_Type);
    EXPECT_EQ(SYS_TYPE_0, row->m_SysType);
}

TEST(TheInterfaceOfAStore, HasItsOperationsInTheirOrder) {
    using Store = iConfigImpl;
    // Behind the destructor, which takes two slots.
    EXPECT_EQ(2U, SlotOf(&Store::SetInteger));
    EXPECT_EQ(3U, SlotOf(&Store::SetString));
    EXPECT_EQ(4U, SlotOf(&Store::SetBoolean));
    EXPECT_EQ(5U, SlotOf(&Store::SetBinary));
    EXPECT_EQ(6U, SlotOf(&Store::GetInteger));
    EXPECT_EQ(7U, SlotOf(&Store::GetString));
    EXPECT_EQ(8U, SlotOf(&Store::GetBoolean));
    EXPECT_EQ(9U, SlotOf(&Store::GetBinary));
    EXPECT_EQ(10U, SlotOf<Texts(sConfig*, const std::string&)>(&Store::EnumSubDirs));
    EXPECT_EQ(11U, SlotOf(&Store::RemoveKey));
    EXPECT_EQ(12U, SlotOf(&Store::RemovePath));
    EXPECT_EQ(13U, SlotOf(&Store::DoInit));
    EXPECT_EQ(14U, SlotOf(&Store::DoDestroy));
}

TEST(BuildRegPath, JoinsPartsWithBackslashes) {
    struct Row {
        Texts m_Parts;
        const char* m_Expected;
    };
    for (const Row& row : {
             Row{{}, ""},
             Row{{"a"}, "a\\"},
             Row{{"a", "b"}, "a\\b\\"},
             Row{{"a\\", "\\b"}, "a\\b\\"},
             Row{{"a", "", "b"}, "a\\b\\"},
             Row{{"", ""}, ""},
             Row{{"\\\\a"}, "\\a\\"}, // one leading backslash is dropped
             Row{{"\\"}, "\\"},
             Row{{"a", "\\"}, "a\\"},
             Row{{"a\\\\"}, "a\\\\"},
         }) {
        EXPECT_EQ(row.m_Expected,
                  iConfigImpl::BuildRegPath(row.m_Parts.data(), static_cast<int>(row.m_Parts.size())));
    }
    EXPECT_EQ("", iConfigImpl::BuildRegPath(nullptr, -1));
}

TEST_F(NoConfiguration, GivesId1FirstAndKeepsSlot0ForTheDefault) {
    EXPECT_EQ(1U, Config::Register());
    EXPECT_EQ(nullptr, ConfigVector::vector()[0]);
    Config* const config = Config::GetHandle(0);
    ASSERT_NE(nullptr, config);
    EXPECT_EQ(config, ConfigVector::vector()[0]);
    EXPECT_EQ(config, Config::GetHandle());
    EXPECT_EQ(2U, Config::Register());
    EXPECT_NE(Config::GetHandle(1), Config::GetHandle(2));
}

TEST_F(NoConfiguration, MakesTheDefaultAtTheFirstRequest) {
    EXPECT_NE(nullptr, Config::GetHandle());
    EXPECT_EQ(1U, ConfigVector::vector().size());
}

TEST_F(NoConfiguration, GivesNullForAnIdThatNobodyRegistered) {
    EXPECT_EQ(nullptr, Config::GetHandle(1));
    EXPECT_EQ(nullptr, Config::GetHandle(5));
    EXPECT_TRUE(ConfigVector::vector().empty());
    Config::GetHandle(0);
    EXPECT_EQ(nullptr, Config::GetHandle(1));
    EXPECT_EQ(nullptr, Config::GetHandle(2));
}

TEST_F(NoConfiguration, LeavesAnInstanceAloneWhoseSlotIsNull) {
    const unsigned int id = Config::Register();
    Config* const config = Config::GetHandle(id);
    ConfigVector::vector()[id] = nullptr;
    config->Destroy();
    ConfigVector::vector()[id] = config;
    EXPECT_FALSE(config->AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0)); // and is still there
}

TEST_F(AConfiguration, IsEmptyAgainAfterDestroy) {
    const unsigned int id = Config::Register();
    Config::GetHandle(id)->Init("orselclient");
    EXPECT_TRUE(Config::GetHandle(id)->AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0));
    Config::GetHandle(id)->Destroy();
    EXPECT_EQ(nullptr, ConfigVector::vector()[id]);
    ASSERT_NE(nullptr, Config::GetHandle(id));
    EXPECT_EQ(nullptr, Config::GetHandle(id)->GetConfigEntry(1));
    EXPECT_FALSE(Config::GetHandle(id)->AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0));
}

TEST_F(AConfiguration, WritesNothingWhenDestroyed) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    Default().Destroy();
    EXPECT_FALSE(std::filesystem::exists(UserFile()));
    EXPECT_FALSE(std::filesystem::exists(SystemConfig::File()));
}

TEST_F(NoConfiguration, AddsNoRowBeforeInit) {
    Config& config = *Config::GetHandle();
    const sConfig row = {CONFIG_TYPE_USER, "path", "key", SYS_TYPE_0};
    EXPECT_FALSE(config.AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0));
    EXPECT_FALSE(config.AddConfigs(1, &row, 1));
    EXPECT_FALSE(config.AddConfigs(1, &row, 0));
    EXPECT_EQ(nullptr, config.GetConfigEntry(1));
}

TEST_F(AConfiguration, TakesTheKeyBeforeThePath) {
    EXPECT_TRUE(Default().AddConfig(3, CONFIG_TYPE_SYSTEM, "key", "path", SYS_TYPE_1));
    const sConfig* const row = Default().GetConfigEntry(3);
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(CONFIG_TYPE_SYSTEM, row->m_Type);
    EXPECT_EQ("path", row->m_Path);
    EXPECT_EQ("key", row->m_Key);
    EXPECT_EQ(SYS_TYPE_1, row->m_SysType);
}

TEST_F(AConfiguration, KeepsTheLaterRowOfOneId) {
    Default().AddConfig(3, CONFIG_TYPE_USER, "first", "path", SYS_TYPE_0);
    Default().AddConfig(3, CONFIG_TYPE_USER, "second", "path", SYS_TYPE_0);
    EXPECT_EQ("second", Default().GetConfigEntry(3)->m_Key);
}

TEST_F(AConfiguration, AddsRowsUnderConsecutiveIds) {
    const sConfig rows[] = {{CONFIG_TYPE_USER, "p1", "k1", SYS_TYPE_0},
                            {CONFIG_TYPE_SYSTEM, "p2", "k2", SYS_TYPE_1}};
    EXPECT_TRUE(Default().AddConfigs(7, rows, 2));
    EXPECT_EQ("k1", Default().GetConfigEntry(7)->m_Key);
    EXPECT_EQ("p2", Default().GetConfigEntry(8)->m_Path);
    EXPECT_EQ(SYS_TYPE_1, Default().GetConfigEntry(8)->m_SysType);
    EXPECT_EQ(nullptr, Default().GetConfigEntry(9));
}

TEST_F(AConfiguration, AddsNothingForACountBelow1) {
    EXPECT_TRUE(Default().AddConfigs(7, nullptr, 0));
    EXPECT_TRUE(Default().AddConfigs(7, nullptr, -1));
    EXPECT_EQ(nullptr, Default().GetConfigEntry(7));
}

TEST_F(AConfiguration, LogsAnUnknownId) {
    std::string text = "default";
    EXPECT_EQ(nullptr, Default().GetConfigEntry(9));
    EXPECT_FALSE(Default().GetString(9, text));
    EXPECT_EQ("default", text);
    EXPECT_EQ(Texts(2, "config entry is NULL"), LoggedErrors());
}

TEST_F(AConfiguration, RefusesEveryOperationOnAnUnknownId) {
    long number = 5;
    std::string text = "default";
    bool flag = true;
    Bytes bytes = {1};
    EXPECT_FALSE(Default().SetInteger(9, 1));
    EXPECT_FALSE(Default().SetString(9, "x"));
    EXPECT_FALSE(Default().SetBoolean(9, true));
    EXPECT_FALSE(Default().SetBinary(9, bytes));
    EXPECT_FALSE(Default().SetStringBoolean(9, true));
    EXPECT_FALSE(Default().GetInteger(9, number));
    EXPECT_FALSE(Default().GetString(9, text));
    EXPECT_FALSE(Default().GetBoolean(9, flag));
    EXPECT_FALSE(Default().GetBinary(9, bytes));
    EXPECT_FALSE(Default().GetStringBoolean(9, flag));
    EXPECT_TRUE(Default().EnumSubDirs(9, "").empty());
    EXPECT_FALSE(Default().RemoveKey(9));
    EXPECT_FALSE(Default().RemovePath(9));
    EXPECT_EQ(5, number);
    EXPECT_EQ("default", text);
    EXPECT_TRUE(flag);
    EXPECT_EQ(Bytes({1}), bytes);
    EXPECT_EQ(Texts(13, "config entry is NULL"), LoggedErrors());
}

TEST_F(AConfiguration, PassesOnThatItsStoreHasRefused) {
    ASSERT_TRUE(Default().AddConfig(7, CONFIG_TYPE_USER, "", "path", SYS_TYPE_0)); // no key to write to
    ASSERT_TRUE(Default().AddConfig(8, CONFIG_TYPE_USER, "missing", "nowhere", SYS_TYPE_0));
    long number = 5;
    std::string text = "default";
    bool flag = true;
    Bytes bytes = {1};
    EXPECT_FALSE(Default().SetInteger(7, 1));
    EXPECT_FALSE(Default().SetString(7, "x"));
    EXPECT_FALSE(Default().SetBoolean(7, true));
    EXPECT_FALSE(Default().SetBinary(7, bytes));
    EXPECT_FALSE(Default().GetInteger(8, number));
    EXPECT_FALSE(Default().GetString(8, text));
    EXPECT_FALSE(Default().GetBoolean(8, flag));
    EXPECT_FALSE(Default().GetBinary(8, bytes));
    EXPECT_FALSE(Default().RemoveKey(8));
    EXPECT_FALSE(Default().RemovePath(8));
    EXPECT_EQ(5, number);
    EXPECT_EQ("default", text);
    EXPECT_TRUE(flag);
    EXPECT_EQ(Bytes({1}), bytes);
}

TEST_F(NoConfiguration, RefusesEveryOperationWithoutAStore) {
    Config& config = *Config::GetHandle();
    EXPECT_FALSE(config.Init("name", static_cast<ConfigBackend>(0)));
    EXPECT_FALSE(config.AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0));
    long number = 5;
    std::string text = "default";
    bool flag = true;
    Bytes bytes = {1};
    EXPECT_FALSE(config.SetInteger(1, 1));
    EXPECT_FALSE(config.SetString(1, "x"));
    EXPECT_FALSE(config.SetBoolean(1, true));
    EXPECT_FALSE(config.SetBinary(1, bytes));
    EXPECT_FALSE(config.SetStringBoolean(1, true));
    EXPECT_FALSE(config.GetInteger(1, number));
    EXPECT_FALSE(config.GetString(1, text));
    EXPECT_FALSE(config.GetBoolean(1, flag));
    EXPECT_FALSE(config.GetBinary(1, bytes));
    EXPECT_FALSE(config.GetStringBoolean(1, flag));
    EXPECT_TRUE(config.EnumSubDirs(1, "").empty());
    EXPECT_FALSE(config.RemoveKey(1));
    EXPECT_FALSE(config.RemovePath(1));
    EXPECT_EQ(5, number);
    EXPECT_EQ("default", text);
    EXPECT_TRUE(flag);
    EXPECT_EQ(Bytes({1}), bytes);
    EXPECT_TRUE(LoggedErrors().empty());
}

TEST_F(NoConfiguration, KnowsNoBackEndButXml) {
    Config& config = *Config::GetHandle();
    for (const int backend : {0, 2, -1}) {
        EXPECT_FALSE(config.Init("orselclient", static_cast<ConfigBackend>(backend))) << backend;
    }
    EXPECT_TRUE(config.Init("orselclient", CONFIG_BACKEND_XML));
}

TEST_F(AConfiguration, IgnoresASecondInit) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    EXPECT_TRUE(Default().Init("other"));
    EXPECT_TRUE(Default().Init("other", static_cast<ConfigBackend>(0)));
    EXPECT_NE(nullptr, Default().GetConfigEntry(1));
    EXPECT_TRUE(Default().SetString(1, "x"));
    EXPECT_EQ(DECLARATION + "<orselclient><path><key>x</key></path></orselclient>", ContentOf(UserFile()));
}

TEST_F(AConfiguration, ReadsBackWhatItWrites) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    long number = 0;
    bool flag = false;
    Bytes bytes = {'a', 0, 0xFF};
    Bytes back;
    EXPECT_TRUE(Default().SetInteger(1, -42));
    EXPECT_TRUE(Default().GetInteger(1, number));
    EXPECT_EQ(-42, number);
    EXPECT_EQ("-42", Stored());
    EXPECT_TRUE(Default().SetBoolean(1, true));
    EXPECT_TRUE(Default().GetBoolean(1, flag));
    EXPECT_TRUE(flag);
    EXPECT_EQ("true", Stored());
    EXPECT_TRUE(Default().SetBinary(1, bytes));
    EXPECT_TRUE(Default().GetBinary(1, back));
    EXPECT_EQ(bytes, back);
    EXPECT_EQ("YQD/", Stored());
    EXPECT_TRUE(Default().SetString(1, "text"));
    EXPECT_EQ("text", Stored());
}

TEST_F(AConfiguration, WritesABooleanAsAWord) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    EXPECT_TRUE(Default().SetStringBoolean(1, true));
    EXPECT_EQ("YES", Stored());
    EXPECT_TRUE(Default().SetStringBoolean(1, false));
    EXPECT_EQ("NO", Stored());
}

TEST_F(AConfiguration, ReadsABooleanFromAWord) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    struct Row {
        const char* m_Text;
        bool m_Expected;
    };
    for (const Row& row :
         {Row{"ja", true}, Row{"Yes", true}, Row{"y", true}, Row{"true", true}, Row{"YES", true},
          Row{"JA", true}, Row{"TrUe", true}, Row{"j", false}, Row{"on", false}, Row{"1", false},
          Row{"", false}, Row{"NO", false}, Row{"yes ", false}, Row{"yess", false}, Row{"ye", false}}) {
        ASSERT_TRUE(Default().SetString(1, row.m_Text));
        bool value = !row.m_Expected;
        EXPECT_TRUE(Default().GetStringBoolean(1, value)) << row.m_Text;
        EXPECT_EQ(row.m_Expected, value) << row.m_Text;
    }
}

TEST_F(AConfiguration, ReadsABooleanByTheLettersOfTheGlobalLocale) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    const GlobalLocale locale(new WithoutCapitals);
    for (const auto& [text, expected] : {std::pair("YES", true), std::pair("yes", false)}) {
        ASSERT_TRUE(Default().SetString(1, text));
        bool value = !expected;
        EXPECT_TRUE(Default().GetStringBoolean(1, value));
        EXPECT_EQ(expected, value) << text;
    }
}

TEST_F(AConfiguration, WritesAndReadsANumberTheSameInEveryLocale) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    const GlobalLocale locale(new PointsBetweenDigits<char>);
    long number = 0;
    EXPECT_TRUE(Default().SetInteger(1, 1031));
    EXPECT_EQ("1031", Stored());
    EXPECT_TRUE(Default().GetInteger(1, number));
    EXPECT_EQ(1031, number);
}

TEST_F(AConfiguration, LeavesABooleanAloneWhenItCannotBeRead) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    bool value = true;
    EXPECT_FALSE(Default().GetStringBoolean(1, value));
    EXPECT_TRUE(value);
}

TEST_F(AConfiguration, ForwardsRemovalAndEnumeration) {
    Default().AddConfig(1, CONFIG_TYPE_USER, "key", "path", SYS_TYPE_0);
    Default().AddConfig(2, CONFIG_TYPE_USER, "other", "path", SYS_TYPE_0);
    Default().SetString(1, "x");
    Default().SetString(2, "y");
    EXPECT_EQ((Texts{"key", "other"}), Default().EnumSubDirs(1, ""));
    EXPECT_EQ((Texts{"other"}), Default().EnumSubDirs(1, "o"));
    EXPECT_TRUE(Default().RemoveKey(1));
    EXPECT_EQ("", Stored());
    EXPECT_TRUE(Default().RemovePath(1));
    EXPECT_TRUE(Default().EnumSubDirs(1, "").empty());
    EXPECT_EQ("(nothing)", Stored());
}
