// SPDX-License-Identifier: MIT
#include "tokenlib/PinEntry.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/simulator/token/CardTest.h"
#include "tests/support/ScopedVariable.h"
#include "tokenlib/Pkcs11.h"

using orseltest::CardOptions;
using orseltest::Rv;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

} // namespace

/// A card with a program in place of pinentry that answers as it is told and notes what it hears.
class APinentry : public orseltest::CardTest {
protected:
    APinentry() { fs::create_directory(m_Deck.Folder() + "/bin"); }

    /// `onGetPin` is what the shell does for the command GETPIN.
    void AnswersWith(const std::string& onGetPin) {
        const std::string program = m_Deck.Folder() + "/bin/pinentry";
        std::ofstream(program) << "#!/bin/sh\n"
                                  "echo 'OK ready'\n"
                                  "while read -r line; do\n"
                                  "    echo \"$line\" >> '" +
                                      m_Deck.Folder() +
                                      "/heard'\n"
                                      "    case $line in\n"
                                      "    GETPIN) " +
                                      onGetPin +
                                      " ;;\n"
                                      "    OPTION*) echo 'ERR 83886254 unknown option' ;;\n"
                                      "    BYE) echo OK; exit ;;\n"
                                      "    *) echo OK ;;\n"
                                      "    esac\n"
                                      "done\n";
        fs::permissions(program, fs::perms::owner_all);
    }

    std::string Heard() const {
        std::ifstream file(m_Deck.Folder() + "/heard");
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    Rv ChangePin() { return Command(GetPrivateKey("SK.CH.SIG"), orselsim::CHANGE_PIN_COMMAND); }

    const ScopedVariable m_Script{"ORSELSIM_PIN_SCRIPT", nullptr};
    const FolderOnPath m_Path{m_Deck.Folder() + "/bin"};
};

TEST_F(APinentry, IsToldWhichCardAndWhichPin) {
    AnswersWith("echo 'D 1234'; echo OK");
    PutIn("ecard-g2", CardOptions().Serial("8004000112233445"));
    m_Deck.SetTries(m_Card, "encryption", 2);
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
    EXPECT_THAT(Heard(), HasSubstr("SETTITLE Orsel Kartenleser\n"));
    EXPECT_THAT(Heard(), HasSubstr("SETDESC Karte: Orsel Carta e-Card, 8004000112233445%0A"
                                   "Geheimhaltungs-PIN eingeben%0AVerbleibende Versuche: 2\n"));
    EXPECT_THAT(Heard(), HasSubstr("SETPROMPT Geheimhaltungs-PIN:\n"));
    EXPECT_THAT(Heard(), Not(HasSubstr("SETREPEAT")));
}

TEST_F(APinentry, GivesAPinWithEscapedCharacters) {
    AnswersWith("echo 'D %31%32'; echo 'D 34'; echo OK");
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
}

TEST_F(APinentry, IsCancelledByItsUser) {
    AnswersWith("echo 'ERR 83886179 Operation cancelled <Pinentry>'");
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), LoginByDialog());
    EXPECT_EQ(3U, m_Deck.TriesLeft(m_Card, "encryption"));
}

TEST_F(APinentry, ThatGivesAWrongPinCostsATry) {
    AnswersWith("echo OK"); // an empty entry
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), LoginByDialog());
    EXPECT_EQ(2U, m_Deck.TriesLeft(m_Card, "encryption"));
}

TEST_F(APinentry, IsAskedTwiceForANewPinThatItDoesNotRepeat) {
    AnswersWith("echo 'D 123456'; echo OK");
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), ChangePin());
    EXPECT_THAT(Heard(), HasSubstr("SETDESC Karte: Orsel Carta e-Card, "));
    EXPECT_THAT(Heard(), HasSubstr("%0ANeue Signatur-PIN eingeben, 6 bis 12 Ziffern\n"));
    EXPECT_THAT(Heard(), HasSubstr("SETPROMPT Neue PIN:\nSETREPEAT Wiederholung:\n"));
    EXPECT_THAT(Heard(), HasSubstr("SETPROMPT Wiederholung:\n"));
}

TEST_F(APinentry, ThatRepeatsANewPinItselfIsAskedOnce) {
    AnswersWith("echo 'S PIN_REPEATED'; echo 'D 123456'; echo OK");
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), ChangePin());
    EXPECT_THAT(Heard(), Not(HasSubstr("SETPROMPT Wiederholung:")));
}

TEST_F(APinentry, IsCancelledAtTheRepetition) {
    AnswersWith("if grep 'SETPROMPT Wiederholung:' '" + m_Deck.Folder() +
                "/heard' >/dev/null; then echo 'ERR 83886278 fully cancelled'; "
                "else echo 'S OTHER_STATUS'; echo 'D 123456'; echo OK; fi");
    PutIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), ChangePin());
}

TEST_F(APinentry, IsFoundBehindAnEmptyPartOfTheSearchPath) {
    AnswersWith("echo 'D 1234'; echo OK");
    PutIn("ecard-g2");
    const ScopedVariable path("PATH", std::string(":") + std::getenv("PATH"));
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
}

TEST_F(APinentry, IsNowhereWithoutASearchPath) {
    PutIn("ecard-g2");
    const ScopedVariable path("PATH", nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), LoginByDialog());
    EXPECT_EQ("OrselP11: cannot ask for a PIN: there is no program pinentry\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(APinentry, IsToldTheTerminalWhereThereIsOne) {
    AnswersWith("echo 'D 1234'; echo OK");
    PutIn("ecard-g2");
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(0, grantpt(master));
    ASSERT_EQ(0, unlockpt(master));
    const std::string name = ptsname(master);
    const int terminal = open(name.c_str(), O_RDWR | O_NOCTTY);
    const int before = dup(STDIN_FILENO);
    dup2(terminal, STDIN_FILENO);
    {
        const ScopedVariable type("TERM", "vt100");
        EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
    }
    EXPECT_THAT(Heard(), HasSubstr("OPTION ttyname=" + name + "\nOPTION ttytype=vt100\n"));
    fs::remove(m_Deck.Folder() + "/heard");
    dup2(before, STDIN_FILENO);
    const ScopedVariable noType("TERM", nullptr);
    (*m_Library)->C_Logout(m_Session);
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
    EXPECT_THAT(Heard(), Not(HasSubstr("OPTION ttytype=")));
    for (const int descriptor : {before, terminal, master}) {
        close(descriptor);
    }
}

TEST_F(APinentry, LeavesASignalBlockedThatWasBlocked) {
    AnswersWith("exit 1");
    PutIn("ecard-g2");
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), LoginByDialog());
    testing::internal::GetCapturedStderr();
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(1, sigismember(&after, SIGPIPE));
    const timespec noWait = {0, 0};
    sigtimedwait(&blocked, nullptr, &noWait);
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
}

TEST_F(APinentry, IsAskedForThePukByName) {
    AnswersWith("echo 'D 12345678'; echo OK");
    PutIn("acos-a03");
    EXPECT_EQ(Rv(CKR_OK), Command(GetPrivateKey("SK.CH.SIG"), orselsim::UNBLOCK_PIN_COMMAND));
    EXPECT_THAT(Heard(),
                HasSubstr("%0APUK zur Signatur-PIN eingeben%0AVerbleibende Versuche: 10\nSETPROMPT PUK:\n"));
}

TEST_F(APinentry, ThatDiesIsADeviceError) {
    AnswersWith("exit 1");
    PutIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), LoginByDialog());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                StartsWith("OrselP11: cannot ask for a PIN: pinentry: "));
}

TEST_F(APinentry, ThatIsNotThereIsADeviceError) {
    const ScopedVariable path("PATH", m_Deck.Folder() + "/bin");
    PutIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), LoginByDialog());
    EXPECT_EQ("OrselP11: cannot ask for a PIN: there is no program pinentry\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(APinentry, ThatSaysNothingSensibleIsADeviceError) {
    const std::string program = m_Deck.Folder() + "/bin/pinentry";
    std::ofstream(program) << "#!/bin/sh\nexit 0\n";
    fs::permissions(program, fs::perms::owner_all);
    PutIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), LoginByDialog());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("OrselP11: cannot ask for a PIN: "));
}

TEST_F(APinentry, DoesNotChangeWhatTheProgramDoesAboutSignals) {
    AnswersWith("exit 1");
    PutIn("ecard-g2");
    struct sigaction before = {};
    sigaction(SIGPIPE, nullptr, &before);
    testing::internal::CaptureStderr();
    LoginByDialog();
    testing::internal::GetCapturedStderr();
    struct sigaction after = {};
    sigaction(SIGPIPE, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
    sigset_t blocked;
    sigemptyset(&blocked);
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(0, sigismember(&blocked, SIGPIPE));
}

TEST_F(APinentry, LeavesNoPinOnStandardError) {
    AnswersWith("echo 'D 31415926'; echo OK");
    PutIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), LoginByDialog());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_THAT(m_Deck.TraceText(), Not(HasSubstr("31415926")));
}

class APinScript : public orseltest::CardTest {};

TEST_F(APinScript, AnswersALineAQuestion) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"0000", "cancel", "1234\r"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), LoginByDialog());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), LoginByDialog());
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
}

TEST_F(APinScript, BeginsAnewWithTheLibrary) {
    PutIn("ecard-g2");
    m_Deck.AnswerPins({"1234"});
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
    m_Library.reset();
    m_Library.emplace();
    m_Session = m_Library->OpenFirst();
    EXPECT_EQ(Rv(CKR_OK), LoginByDialog());
}

TEST_F(APinScript, ThatIsNotThereIsADeviceError) {
    const ScopedVariable script("ORSELSIM_PIN_SCRIPT", "/no/such/script");
    PutIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), LoginByDialog());
    EXPECT_EQ("OrselP11: no PIN script: /no/such/script: No such file or directory\n",
              testing::internal::GetCapturedStderr());
}
