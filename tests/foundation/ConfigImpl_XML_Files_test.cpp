// SPDX-License-Identifier: MIT
#include "foundation/ConfigImpl_XML.h"

#include "tests/foundation/StoreFixture.h"

using namespace Velmor;

TEST_F(AStore, CountsADamagedFileAsEmptyAndOverwritesItAtTheNextWrite) {
    struct Damage {
        const char* m_Name;
        std::string m_Content;
    };
    const std::string start = "<orselclient><a><b>x</b>";
    for (const Damage& damage : {
             Damage{"empty", ""},
             Damage{"declaration alone", DECLARATION},
             Damage{"truncated", start},
             Damage{"truncated in a tag", start + "</a"},
             Damage{"truncated in an attribute", "<orselclient><a x=\"1"},
             Damage{"no XML", "Version=2.1.0.3"},
             Damage{"text before the root", "x" + start + "</a></orselclient>"},
             Damage{"bad attribute", "<orselclient><a x><b>x</b></a></orselclient>"},
             Damage{"UTF-16", std::string("\xFF\xFE<\0o\0/\0>\0", 10)},
             Damage{"zero bytes", std::string(100, '\0')},
         }) {
        ConfigImpl_XML store;
        WriteUserFile(damage.m_Content);
        EXPECT_TRUE(store.Init("orselclient")) << damage.m_Name;
        EXPECT_EQ("(nothing)", TextAt(store, Row("a", "b"))) << damage.m_Name;
        EXPECT_EQ(damage.m_Content, ContentOf(UserFile())) << "it stays until the next write";
        sConfig row = Row("a", "c");
        EXPECT_TRUE(store.SetString(&row, "y"));
        EXPECT_EQ(DECLARATION + "<orselclient><a><c>y</c></a></orselclient>", ContentOf(UserFile()));
    }
}

TEST_F(AStore, SaysWhetherAFileCouldBeRead) {
    OpenedEmpty();
    EXPECT_FALSE(m_Store.read(CONFIG_TYPE_USER)) << "missing";
    WriteUserFile("<a");
    EXPECT_FALSE(m_Store.read(CONFIG_TYPE_USER)) << "malformed";
    WriteUserFile("<orselclient/>");
    EXPECT_TRUE(m_Store.read(CONFIG_TYPE_USER));
    WriteUserFile("");
    EXPECT_TRUE(m_Store.read(CONFIG_TYPE_USER));
    EXPECT_FALSE(m_Store.read(static_cast<ConfigType>(2)));
    EXPECT_FALSE(m_Store.write(static_cast<ConfigType>(2)));
}

TEST_F(AStore, PassesBytesThroughThatAreNoUtf8) {
    OpenedOn("<orselclient><a><b>\xE4\xFF</b></a></orselclient>");
    EXPECT_EQ("\xE4\xFF", TextAt(m_Store, Row("a", "b")));
}

TEST_F(AStore, CountsAFileThatNestsTooDeeplyAsEmpty) {
    for (const int levels : {1001, 1000000}) {
        ConfigImpl_XML store;
        std::string content;
        for (int level = 0; level < levels; ++level) {
            content += "<a>";
        }
        WriteUserFile(content);
        EXPECT_TRUE(store.Init("orselclient"));
        EXPECT_FALSE(store.read(CONFIG_TYPE_USER));
    }
}

TEST_F(AStore, ReadsAFileThatNestsDeeply) {
    std::string content = "<orselclient>";
    for (int level = 0; level < 999; ++level) {
        content += "<a>";
    }
    content += "x";
    for (int level = 0; level < 999; ++level) {
        content += "</a>";
    }
    OpenedOn(content + "</orselclient>");
    std::string path = "a";
    for (int level = 1; level < 998; ++level) {
        path += "\\a";
    }
    EXPECT_EQ("x", TextAt(m_Store, Row(path, "a")));
}

TEST_F(AStore, ReadsALargeFile) {
    std::string content = "<orselclient>";
    for (int element = 0; element < 100000; ++element) {
        content += "<a" + std::to_string(element) + "><b>x</b></a" + std::to_string(element) + ">";
    }
    OpenedOn(content + "</orselclient>");
    EXPECT_EQ("x", TextAt(m_Store, Row("a99999", "b")));
}

TEST_F(AStore, CountsAHugeFileAsEmpty) {
    WriteUserFile("<orselclient><a><b>x</b></a></orselclient>");
    constexpr std::uintmax_t LARGEST = std::uintmax_t{64} << 20;
    std::filesystem::resize_file(UserFile(), LARGEST + 1); // sparse
    Opened();
    EXPECT_EQ("(nothing)", TextAt(m_Store, Row("a", "b")));
    std::filesystem::resize_file(UserFile(), LARGEST);
    EXPECT_TRUE(m_Store.read(CONFIG_TYPE_USER)) << "the largest file; the zero bytes end its text";
    EXPECT_EQ("x", TextAt(m_Store, Row("a", "b")));
}

TEST_F(AStore, CountsWhatIsNoFileAsEmpty) {
    std::filesystem::create_directories(UserFile());
    EXPECT_EQ("(nothing)", TextAt(Opened(), Row("a", "b")));
    sConfig row = Row("a", "b");
    EXPECT_FALSE(m_Store.SetString(&row, "x"));
}

TEST_F(AStore, CountsAnUnreadableFileAsEmpty) {
    WriteUserFile("<orselclient><a><b>x</b></a></orselclient>");
    std::filesystem::permissions(m_Dir.Path(), std::filesystem::perms::all);
    std::filesystem::permissions(UserFile(), std::filesystem::perms::none);
    const Unprivileged unprivileged;
    EXPECT_EQ("(nothing)", TextAt(Opened(), Row("a", "b")));
}

TEST_F(AStore, KeepsAChangeInMemoryThatCannotBeWritten) {
    SystemConfig::Write("<orselclient><a><b>x</b></a></orselclient>");
    std::filesystem::permissions(SystemConfig::File(),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::others_read);
    Opened();
    sConfig row = SystemRow("a", "b");
    {
        const Unprivileged unprivileged;
        EXPECT_FALSE(m_Store.SetString(&row, "changed"));
    }
    EXPECT_EQ("changed", TextAt(m_Store, row));
    EXPECT_EQ("<orselclient><a><b>x</b></a></orselclient>", ContentOf(SystemConfig::File()));
}

TEST_F(AStore, CannotWriteWithoutTheDirectoryOfTheName) {
    Opened();
    sConfig user = Row("a", "b");
    sConfig system = SystemRow("a", "b");
    EXPECT_FALSE(m_Store.SetString(&user, "x"));
    EXPECT_FALSE(m_Store.SetString(&system, "y"));
    EXPECT_EQ("x", TextAt(m_Store, user));
    EXPECT_EQ("y", TextAt(m_Store, system));
    EXPECT_FALSE(std::filesystem::exists(m_Dir.Path("home/.velmor/orselclient")));
}

TEST_F(AStore, NoticesAFullDisk) {
    MakeUserDirectory();
    std::filesystem::create_symlink("/dev/full", UserFile());
    Opened();
    sConfig row = Row("a", "b");
    EXPECT_FALSE(m_Store.SetString(&row, "x"));
    EXPECT_EQ("x", TextAt(m_Store, row));
}

TEST_F(AStore, WritesBothFilesAtItsEnd) {
    OpenedEmpty();
    EXPECT_TRUE(m_Store.Destroy());
    EXPECT_EQ(DECLARATION, ContentOf(UserFile()));
    EXPECT_EQ(DECLARATION, ContentOf(SystemConfig::File()));
}

TEST_F(AStore, WritesTheUsersFileAtItsEndEvenIfTheSystemsFails) {
    MakeUserDirectory();
    Opened();
    EXPECT_FALSE(m_Store.Destroy());
    EXPECT_EQ(DECLARATION, ContentOf(UserFile()));
}

TEST_F(AStore, KeepsItsOwnCopyBesideAnotherStoreOfTheName) {
    OpenedEmpty();
    ConfigImpl_XML other;
    other.Init("orselclient");
    sConfig first = Row("a", "b");
    sConfig second = Row("a", "c");
    EXPECT_TRUE(m_Store.SetString(&first, "x"));
    EXPECT_EQ("(nothing)", TextAt(other, first));
    EXPECT_TRUE(other.SetString(&second, "y"));
    EXPECT_EQ(DECLARATION + "<orselclient><a><c>y</c></a></orselclient>", ContentOf(UserFile()))
        << "the last to write wins for the whole file";
}
