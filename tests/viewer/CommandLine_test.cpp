// SPDX-License-Identifier: MIT
#include "viewer/CommandLine.h"

#include <gtest/gtest.h>

using viewer::Action;
using viewer::CommandLine;

TEST(CommandLine, ShowsTheOneFile) {
    const CommandLine command = CommandLine::Of({"a b.cer"});
    EXPECT_EQ(Action::SHOW, command.m_Action);
    EXPECT_EQ("a b.cer", command.m_Path);
}

TEST(CommandLine, TakesOptionsBeforeAndBehindTheFile) {
    for (const auto& arguments :
         {std::vector<std::string>{"--text", "f"}, {"f", "--text"}, {"--text", "--", "f"}}) {
        EXPECT_EQ(Action::TEXT, CommandLine::Of(arguments).m_Action);
        EXPECT_EQ("f", CommandLine::Of(arguments).m_Path);
    }
    EXPECT_EQ(Action::HELP, CommandLine::Of({"f", "--help"}).m_Action);
    EXPECT_EQ(Action::HELP, CommandLine::Of({"-h"}).m_Action);
    EXPECT_EQ(Action::VERSION, CommandLine::Of({"--version"}).m_Action);
}

TEST(CommandLine, EndsOptionsAtTwoDashes) {
    EXPECT_EQ("--text", CommandLine::Of({"--", "--text"}).m_Path);
    EXPECT_EQ("-", CommandLine::Of({"-"}).m_Path);
}

TEST(CommandLine, MakesNoSenseWithoutOrWithTwoFilesOrAnUnknownOption) {
    for (const auto& arguments :
         {std::vector<std::string>{}, {"a", "b"}, {"--text"}, {"--txt", "a"}, {"-x", "a"}}) {
        EXPECT_EQ(Action::MISUSE, CommandLine::Of(arguments).m_Action);
    }
}
