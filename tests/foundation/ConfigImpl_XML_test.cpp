// SPDX-License-Identifier: MIT
#include "foundation/ConfigImpl_XML.h"

#include "tests/foundation/StoreFixture.h"

using namespace Velmor;

namespace {

const std::string SYSTEM_EXAMPLE =
    DECLARATION + "<orselclient><orsel_Client><Version>2.1.0.3</Version><Language>0</Language>"
                  "<Trace><LogLevel>3</LogLevel></Trace></orsel_Client></orselclient>";

} // namespace

TEST_F(AStore, MapsARowToATreePath) {
    struct PathRow {
        const char* m_Name;
        const char* m_Path;
        const char* m_Key;
        const char* m_Expected;
    };
    for (const PathRow& row : {
             PathRow{"orselclient", "orsel Client", "Version", "orselclient.orsel_Client.Version"},
             PathRow{"orselclient", "orsel Client\\Trace", "LogLevel",
                     "orselclient.orsel_Client.Trace.LogLevel"},
             PathRow{"orselclient", "OrselMiniDriver", "EnableLogging",
                     "orselclient.OrselMiniDriver.EnableLogging"},
             PathRow{"", "a/b", "c", "config.a.b.c"},
             PathRow{"orselclient", "a.b c\\d/e", "f.g h\\i", "orselclient.a_b_c.d.e.f.g h\\i"},
             PathRow{"na.me", "a", "b", "na_me.a.b"},
             PathRow{"orselclient", "", "b", "orselclient.b"},
             PathRow{"orselclient", "\\a\\", "b", "orselclient.a.b"},
             PathRow{"orselclient", "a", "", "orselclient.a."},
         }) {
        ConfigImpl_XML store;
        store.Init(row.m_Name);
        sConfig config = Row(row.m_Path, row.m_Key);
        EXPECT_EQ(row.m_Expected, store.getPathKey(&config));
        EXPECT_EQ(row.m_Expected, store.getPath(&config) + row.m_Key);
    }
    EXPECT_EQ('\\', ConfigImpl_XML::SEPARATOR);
}

TEST_F(AStore, MakesTheDirectoryOfTheFamilyButNotTheOneOfTheName) {
    Opened();
    EXPECT_TRUE(std::filesystem::is_directory("/etc/velmor"));
    EXPECT_FALSE(std::filesystem::exists("/etc/velmor/orselclient"));
    EXPECT_TRUE(std::filesystem::is_directory(m_Dir.Path("home/.velmor")));
    EXPECT_FALSE(std::filesystem::exists(m_Dir.Path("home/.velmor/orselclient")));
}

TEST_F(AStore, OpensWhateverTheFilesAreLike) {
    const ScopedVariable nowhere("HOME", m_Dir.Path("missing/home").c_str());
    EXPECT_TRUE(m_Store.Init("orselclient"));
    EXPECT_EQ("(nothing)", TextAt(m_Store, Row("a", "b")));
}

TEST_F(AStore, ReadsTheExampleOfTheSystemFile) {
    SystemConfig::Write(SYSTEM_EXAMPLE);
    Opened();
    EXPECT_EQ("2.1.0.3", TextAt(m_Store, SystemRow("orsel Client", "Version")));
    EXPECT_EQ("0", TextAt(m_Store, SystemRow("orsel Client", "Language")));
    EXPECT_EQ("3", TextAt(m_Store, SystemRow("orsel Client\\Trace", "LogLevel")));
}

TEST_F(AStore, WritesTheExampleOfTheSystemFile) {
    OpenedEmpty();
    sConfig version = SystemRow("orsel Client", "Version");
    sConfig language = SystemRow("orsel Client", "Language");
    sConfig level = SystemRow("orsel Client\\Trace", "LogLevel");
    EXPECT_TRUE(m_Store.SetString(&version, "2.1.0.3"));
    EXPECT_TRUE(m_Store.SetInteger(&language, 0));
    EXPECT_TRUE(m_Store.SetInteger(&level, 3));
    EXPECT_EQ(SYSTEM_EXAMPLE, ContentOf(SystemConfig::File()));
    EXPECT_FALSE(std::filesystem::exists(UserFile())) << "only the written file changes";
}

TEST_F(AStore, ReadsTheFilenameOfTheTrace) {
    OpenedOn("<orselclient><orsel_Client><Trace><Filename>x</Filename></Trace></orsel_Client></orselclient>");
    EXPECT_EQ("x", TextAt(m_Store, Row("orsel Client\\Trace", "Filename")));
}

TEST_F(AStore, LooksForARowInTheFileOfItsTypeAlone) {
    SystemConfig::Write("<orselclient><a><s>system</s></a></orselclient>");
    OpenedOn("<orselclient><a><u>user</u></a></orselclient>");
    EXPECT_EQ("user", TextAt(m_Store, Row("a", "u")));
    EXPECT_EQ("(nothing)", TextAt(m_Store, SystemRow("a", "u")));
    EXPECT_EQ("system", TextAt(m_Store, SystemRow("a", "s")));
    EXPECT_EQ("(nothing)", TextAt(m_Store, Row("a", "s")));
}

TEST_F(AStore, TakesAnyOtherTypeForReadingAsTheUsers) {
    OpenedOn("<orselclient><a><b>user</b></a></orselclient>");
    EXPECT_EQ("user", TextAt(m_Store, Row("a", "b", static_cast<ConfigType>(2))));
    sConfig row = Row("a", "b", static_cast<ConfigType>(2));
    EXPECT_FALSE(m_Store.SetString(&row, "changed")); // there is no third file to write
    EXPECT_EQ("changed", TextAt(m_Store, Row("a", "b")));
}

TEST_F(AStore, ReadsAFileWithLineBreaksTheSame) {
    OpenedOn(DECLARATION + "<orselclient>\n  <a>\n    <b>x</b>\n  </a>\n</orselclient>\n");
    EXPECT_EQ("x", TextAt(m_Store, Row("a", "b")));
}

TEST_F(AStore, TakesTheTextOfALeafAsItStands) {
    OpenedOn("<orselclient><a><b> x\n y </b><c>&lt;&amp;&#228;</c></a></orselclient>");
    EXPECT_EQ(" x\n y ", TextAt(m_Store, Row("a", "b")));
    EXPECT_EQ("<&\xC3\xA4", TextAt(m_Store, Row("a", "c")));
}

TEST_F(AStore, WritesTextThatReadsBack) {
    OpenedEmpty();
    sConfig row = Row("a", "b");
    for (const std::string text : {" x\n y ", "<&>\"'", "\xC3\xA4", ""}) {
        EXPECT_TRUE(m_Store.SetString(&row, text));
        ConfigImpl_XML other;
        other.Init("orselclient");
        EXPECT_EQ(text, TextAt(other, row));
    }
}

TEST_F(AStore, ReadsTheTextOfThePathWithAnEmptyKey) {
    OpenedOn("<orselclient><a>text<b>x</b></a></orselclient>");
    EXPECT_EQ("text", TextAt(m_Store, Row("a", "")));
}

TEST_F(AStore, ConvertsTextToNumbersAndTruthValues) {
    struct NumberRow {
        const char* m_Text;
        bool m_IsNumber;
        long m_Number;
    };
    for (const NumberRow& row : {
             NumberRow{"7", true, 7},
             NumberRow{"-7", true, -7},
             NumberRow{" 7 ", true, 7},
             NumberRow{"abc", false, 0},
             NumberRow{"7x", false, 0},
             NumberRow{"", false, 0},
             NumberRow{"99999999999999999999999", false, 0},
         }) {
        ConfigImpl_XML store;
        WriteUserFile("<orselclient><a><b>" + std::string(row.m_Text) + "</b></a></orselclient>");
        store.Init("orselclient");
        sConfig config = Row("a", "b");
        long number = 4711;
        EXPECT_EQ(row.m_IsNumber, store.GetInteger(&config, number)) << row.m_Text;
        EXPECT_EQ(row.m_IsNumber ? row.m_Number : 4711, number) << row.m_Text;
    }
    struct TruthRow {
        const char* m_Text;
        bool m_IsTruth;
        bool m_Truth;
    };
    for (const TruthRow& row :
         {TruthRow{"true", true, true}, TruthRow{"false", true, false}, TruthRow{"1", true, true},
          TruthRow{"0", true, false}, TruthRow{"YES", false, false}, TruthRow{"2", false, false}}) {
        ConfigImpl_XML store;
        WriteUserFile("<orselclient><a><b>" + std::string(row.m_Text) + "</b></a></orselclient>");
        store.Init("orselclient");
        sConfig config = Row("a", "b");
        bool truth = !row.m_Truth;
        EXPECT_EQ(row.m_IsTruth, store.GetBoolean(&config, truth)) << row.m_Text;
        EXPECT_EQ(row.m_IsTruth ? row.m_Truth : !row.m_Truth, truth) << row.m_Text;
    }
}

TEST_F(AStore, KeepsTheCallersValueWhenAKeyIsMissing) {
    Opened();
    sConfig row = Row("a", "b");
    long number = 5;
    bool truth = true;
    std::string text = "default";
    Bytes bytes = {1, 2};
    EXPECT_FALSE(m_Store.GetInteger(&row, number));
    EXPECT_FALSE(m_Store.GetBoolean(&row, truth));
    EXPECT_FALSE(m_Store.GetString(&row, text));
    EXPECT_FALSE(m_Store.GetBinary(&row, bytes));
    EXPECT_EQ(5, number);
    EXPECT_TRUE(truth);
    EXPECT_EQ("default", text);
    EXPECT_EQ(Bytes({1, 2}), bytes);
}

TEST_F(AStore, StoresBinaryDataAsOneLineOfBase64) {
    OpenedEmpty();
    sConfig row = Row("a", "b");
    Bytes data(100, 'x');
    EXPECT_TRUE(m_Store.SetBinary(&row, data));
    const std::string text = TextAt(m_Store, row);
    EXPECT_EQ(136U, text.size());
    EXPECT_EQ(std::string::npos, text.find_first_of("\r\n"));
    Bytes back;
    EXPECT_TRUE(m_Store.GetBinary(&row, back));
    EXPECT_EQ(data, back);
}

TEST_F(AStore, ReadsTextThatIsNoBase64AsNoData) {
    OpenedOn("<orselclient><a><b>!</b></a></orselclient>");
    sConfig row = Row("a", "b");
    Bytes bytes = {1, 2};
    EXPECT_TRUE(m_Store.GetBinary(&row, bytes));
    EXPECT_TRUE(bytes.empty());
}

TEST_F(AStore, DoesNotWriteARowWithAnEmptyKey) {
    OpenedEmpty();
    sConfig row = Row("a", "");
    EXPECT_FALSE(m_Store.SetString(&row, "x"));
    EXPECT_FALSE(m_Store.SetInteger(&row, 1));
    EXPECT_FALSE(m_Store.SetBoolean(&row, true));
    EXPECT_FALSE(std::filesystem::exists(UserFile()));
    EXPECT_EQ("(nothing)", TextAt(m_Store, row));
}

TEST_F(AStore, WritesOneFileWholeAtEachChange) {
    OpenedOn("<orselclient><a><b>x</b><c>y</c></a></orselclient>");
    sConfig row = Row("a", "b");
    EXPECT_TRUE(m_Store.SetString(&row, "z"));
    EXPECT_EQ(DECLARATION + "<orselclient><a><b>z</b><c>y</c></a></orselclient>", ContentOf(UserFile()));
    EXPECT_FALSE(std::filesystem::exists(SystemConfig::File()));
}

TEST_F(AStore, LeavesAnEmptyElementWhereAKeyIsRemoved) {
    OpenedOn("<orselclient><a><b>x</b><c>y</c></a></orselclient>");
    sConfig row = Row("a", "b");
    EXPECT_TRUE(m_Store.RemoveKey(&row));
    EXPECT_EQ("", TextAt(m_Store, row));
    EXPECT_EQ(DECLARATION + "<orselclient><a><b/><c>y</c></a></orselclient>", ContentOf(UserFile()));
}

TEST_F(AStore, LeavesAnEmptyElementWhereAPathIsRemoved) {
    OpenedOn("<orselclient><a><b>x</b></a><d>z</d></orselclient>");
    sConfig row = Row("a", "b");
    EXPECT_TRUE(m_Store.RemovePath(&row));
    EXPECT_EQ("(nothing)", TextAt(m_Store, row));
    EXPECT_EQ(DECLARATION + "<orselclient><a/><d>z</d></orselclient>", ContentOf(UserFile()));
}

TEST_F(AStore, RemovesEverythingAtItsRoot) {
    for (const bool byKey : {false, true}) {
        ConfigImpl_XML store;
        WriteUserFile("<orselclient><a>x</a></orselclient>");
        store.Init("orselclient");
        sConfig root = Row("", "");
        EXPECT_TRUE(byKey ? store.RemoveKey(&root) : store.RemovePath(&root));
        EXPECT_EQ(DECLARATION, ContentOf(UserFile()));
    }
}

TEST_F(AStore, RemovesNothingThatIsMissing) {
    OpenedOn("<orselclient><a>x</a></orselclient>");
    sConfig row = Row("missing", "b");
    EXPECT_FALSE(m_Store.RemoveKey(&row));
    EXPECT_FALSE(m_Store.RemovePath(&row));
    EXPECT_EQ("<orselclient><a>x</a></orselclient>", ContentOf(UserFile())) << "nothing is written";
}

TEST_F(AStore, ListsTheNamesUnderAPathInTheirOrder) {
    OpenedOn("<orselclient><a><Abc/><Xy>1</Xy><Abd><e/></Abd></a></orselclient>");
    sConfig row = Row("a", "ignored");
    EXPECT_EQ((Texts{"Abc", "Abd"}), m_Store.EnumSubDirs(&row, "Ab"));
    EXPECT_EQ((Texts{"Abc", "Xy", "Abd"}), m_Store.EnumSubDirs(&row, ""));
    EXPECT_EQ((Texts{"Abc", "Xy", "Abd"}), m_Store.EnumSubDirs(&row));
    EXPECT_EQ(Texts(), m_Store.EnumSubDirs(&row, "ab"));
    EXPECT_EQ(Texts(), m_Store.EnumSubDirs(&row, "Abcd"));
    sConfig missing = Row("missing", "");
    EXPECT_EQ(Texts(), m_Store.EnumSubDirs(&missing, ""));
}
