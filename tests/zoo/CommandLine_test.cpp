// SPDX-License-Identifier: MIT
// The built command line over every library of the zoo: the stated end, and a result that is whole or none.
#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "tests/cli/Process.h"
#include "tests/support/SimDeck.h"
#include "tests/zoo/Animals.h"

using orseltest::CardOptions;
using orseltest::SimDeck;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class ACommandLineInTheZoo : public testing::Test {
protected:
    ACommandLineInTheZoo() { m_Deck.Add("acos-a04", CardOptions().Holder(HOLDER)); }

    /// A run over an animal, and the words of a sanitizer nowhere in it.
    void Run(const char* animal, const std::vector<std::string>& words) {
        Process process(m_Deck.Folder(), words, With(animal));
        m_Code = process.Wait();
        m_Out = process.Out();
        m_Error = process.Error();
        EXPECT_THAT(m_Error, Not(HasSubstr("Sanitizer")));
        EXPECT_THAT(m_Error, Not(HasSubstr("runtime error")));
    }
    static Process::Wish With(const char* animal) {
        Process::Wish wish;
        wish.m_Libraries = std::string(ORSEL_ZOO_DIR) + "/" + animal;
        return wish;
    }

    SimDeck m_Deck;
    int m_Code = 0;
    std::string m_Out;
    std::string m_Error;
};

class TheCommandLine : public ACommandLineInTheZoo, public testing::WithParamInterface<Animal> {};

INSTANTIATE_TEST_SUITE_P(Zoo, TheCommandLine, testing::ValuesIn(ANIMALS),
                         [](const auto& row) { return row.param.m_Name; });

} // namespace

TEST_P(TheCommandLine, ListsWhatCanBeListed) {
    Run(GetParam().m_Name, {"list"});
    EXPECT_EQ(m_Code, GetParam().m_ListCode) << m_Error;
    EXPECT_THAT(m_Out + m_Error, HasSubstr(GetParam().m_Listed));
}

TEST_P(TheCommandLine, PrintsTheWholeCertificateOrNothing) {
    Run(GetParam().m_Name, {"certificate", "@1", "signature"});
    EXPECT_EQ(m_Code, GetParam().m_CertificateCode) << m_Error;
    if (m_Code == 0) {
        EXPECT_THAT(m_Out, StartsWith("-----BEGIN CERTIFICATE-----\n"));
    } else {
        EXPECT_EQ(m_Out, "");
        EXPECT_THAT(m_Error, StartsWith("orselcards-cli: "));
    }
}

TEST_P(TheCommandLine, SaysTrueJsonOrNothing) {
    Run(GetParam().m_Name, {"infobox", "@1", "--json"});
    EXPECT_THAT(m_Code, testing::AnyOf(0, 1, 3, 4)) << m_Error;
    if (m_Code == 0) {
        EXPECT_THAT(m_Out, testing::AnyOf(StartsWith("{"), StartsWith("[")));
    } else {
        EXPECT_EQ(m_Out, "");
    }
}

TEST_F(ACommandLineInTheZoo, SaysWhatALibraryLacksThatIsOfUseAllTheSame) {
    Run("without_C_CardTransmit", {"doctor"});
    EXPECT_EQ(m_Code, 0) << m_Error;
    EXPECT_THAT(
        m_Out, HasSubstr("The token library lacks C_CardTransmit.\n    Numbers, PIN states, insurance data"));
}

TEST_F(ACommandLineInTheZoo, SaysWhatALibraryLacksThatIsOfNoUse) {
    Run("without_C_Sign", {"doctor"});
    EXPECT_EQ(m_Code, 1);
    EXPECT_THAT(m_Out, HasSubstr("The token library lacks C_Sign.\n"
                                 "    Install another version of the token library.\n"));
}

// The first signal is noted for when the library comes back, the second one ends the process.
TEST_F(ACommandLineInTheZoo, EndsByTheSecondSignalWhileTheLibraryDoesNotComeBack) {
    Process process(m_Deck.Folder(), {"list"}, With("NeverReturns"));
    while (m_Deck.GetTrace("C_GetSlotList").empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    for (int signal = 0; signal < 3; ++signal) { // two that come together are one
        process.Signal(SIGINT);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    EXPECT_EQ(process.Wait(), 128 + SIGINT);
    EXPECT_EQ(process.Out(), "");
}
