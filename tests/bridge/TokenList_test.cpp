// SPDX-License-Identifier: MIT
#include "bridge/TokenList.h"

#include <sstream>

#include "tests/bridge/ScriptTest.h"

using orseltest::ModuleScript;
using testing::HasSubstr;

class TheListOfTokens : public orseltest::ScriptTest {
protected:
    static std::string Printed(bool inGerman = false) {
        const auto runtime = orselbridge::StartRuntime();
        std::ostringstream out;
        orselbridge::PrintTokens(static_cast<orselbridge::Runtime&>(*runtime), out, inGerman);
        tokenlib::StopRuntime();
        return out.str();
    }
    static std::string Head(const std::string& word = "Library: ") {
        return word + ORSEL_SCRIPTED_MODULE + "\n";
    }
};

TEST_F(TheListOfTokens, SaysThatThereAreNone) {
    m_Script.m_Tokens.clear();
    EXPECT_EQ(Head() + "There are no tokens.\n", Printed());
    EXPECT_EQ(Head("Bibliothek: ") + "Es gibt keine Karten.\n", Printed(true));
}

TEST_F(TheListOfTokens, SaysThatATokenHasNoKeysThatMaySign) {
    Add(1, CKO_PUBLIC_KEY, "mute", {{CKA_ID, {1}}});
    EXPECT_EQ(Head() + "Script, 0123456789ABCDEF\n    no keys that may sign\n", Printed());
}

TEST_F(TheListOfTokens, NamesEachKeyWithItsRoleAndTheReason) {
    AddPair(1, 1, "first");
    AddPair(2, 2, "second");
    AddPair(3, 3, "third");
    EXPECT_EQ(
        Head() +
            "Script, 0123456789ABCDEF\n"
            "    signature   \"first\" (id 01): the first key that may sign; nothing marks a signature key\n"
            "    encryption  \"second\" (id 02): the first key that may sign beside the signature key\n"
            "    no role     \"third\" (id 03)\n",
        Printed());
    EXPECT_THAT(Printed(true), HasSubstr("    ohne Rolle    \"third\" (Id 03)\n"));
}

TEST_F(TheListOfTokens, LetsNoTokenCommandTheTerminal) {
    m_Script.m_Tokens[ModuleScript::SLOT].m_Label = "a\033[2Jb\x7F";
    AddPair(1, 1, "k\ney");
    const std::string list = Printed();
    EXPECT_THAT(list, HasSubstr("a?[2Jb?, 0123456789ABCDEF\n"));
    EXPECT_THAT(list, HasSubstr("\"k?ey\" (id 01)"));
}

TEST_F(TheListOfTokens, GoesOnBehindATokenThatCannotBeOpened) {
    m_Script.m_Tokens[6] = m_Script.m_Tokens[ModuleScript::SLOT];
    m_Script.m_Codes["C_OpenSession"] = {CKR_TOKEN_NOT_RECOGNIZED};
    AddPair(1, 1, "own");
    const std::string list = Printed();
    EXPECT_THAT(list, HasSubstr("    cannot be opened: CKR_TOKEN_NOT_RECOGNIZED\n"));
    EXPECT_THAT(list,
                HasSubstr("    signature   \"own\" (id 01): the only key that may sign plays both roles\n"));
}
