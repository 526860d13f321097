// SPDX-License-Identifier: MIT
#include "simulator/token/PinEntry.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

#include "simulator/token/Pkcs11.h"
#include "tests/simulator/token/CardTest.h"

using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

} // namespace

/// A card with a program in place of pinentry that answers as it is told and notes what it hears.
class APinentry : public orseltest::CardTest {
protected:
    APinentry() : pathBefore(std::getenv("PATH")) {
        fs::create_directory(deck.folder() + "/bin");
        unsetenv("ORSELSIM_PIN_SCRIPT");
        setenv("PATH", (deck.folder() + "/bin:" + pathBefore).c_str(), 1);
    }
    ~APinentry() override { setenv("PATH", pathBefore.c_str(), 1); }

    /// `onGetPin` is what the shell does for the command GETPIN.
    void answersWith(const std::string& onGetPin) {
        const std::string program = deck.folder() + "/bin/pinentry";
        std::ofstream(program) << "#!/bin/sh\n"
                                  "echo 'OK ready'\n"
                                  "while read -r line; do\n"
                                  "    echo \"$line\" >> '" +
                                      deck.folder() +
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

    std::string heard() const {
        std::ifstream file(deck.folder() + "/heard");
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    Rv changePin() { return command(privateKey("SK.CH.SIG"), orselsim::changePinCommand); }

    const std::string pathBefore;
};

TEST_F(APinentry, IsToldWhichCardAndWhichPin) {
    answersWith("echo 'D 1234'; echo OK");
    putIn("ecard-g2", CardOptions().serial("8004000112233445"));
    deck.setTries(card, "encryption", 2);
    EXPECT_EQ(Rv(CKR_OK), loginByDialog());
    EXPECT_THAT(heard(), HasSubstr("SETTITLE Orsel Kartenleser\n"));
    EXPECT_THAT(heard(), HasSubstr("SETDESC Karte: Orsel Carta e-Card, 8004000112233445%0A"
                                   "Geheimhaltungs-PIN eingeben%0AVerbleibende Versuche: 2\n"));
    EXPECT_THAT(heard(), HasSubstr("SETPROMPT Geheimhaltungs-PIN:\n"));
    EXPECT_THAT(heard(), Not(HasSubstr("SETREPEAT")));
}

TEST_F(APinentry, GivesAPinWithEscapedCharacters) {
    answersWith("echo 'D %31%32'; echo 'D 34'; echo OK");
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), loginByDialog());
}

TEST_F(APinentry, IsCancelledByItsUser) {
    answersWith("echo 'ERR 83886179 Operation cancelled <Pinentry>'");
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), loginByDialog());
    EXPECT_EQ(3U, deck.triesLeft(card, "encryption"));
}

TEST_F(APinentry, ThatGivesAWrongPinCostsATry) {
    answersWith("echo OK"); // an empty entry
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), loginByDialog());
    EXPECT_EQ(2U, deck.triesLeft(card, "encryption"));
}

TEST_F(APinentry, IsAskedTwiceForANewPinThatItDoesNotRepeat) {
    answersWith("echo 'D 123456'; echo OK");
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), changePin());
    EXPECT_THAT(heard(), HasSubstr("SETDESC Karte: Orsel Carta e-Card, "));
    EXPECT_THAT(heard(), HasSubstr("%0ANeue Signatur-PIN eingeben, 6 bis 12 Ziffern\n"));
    EXPECT_THAT(heard(), HasSubstr("SETPROMPT Neue PIN:\nSETREPEAT Wiederholung:\n"));
    EXPECT_THAT(heard(), HasSubstr("SETPROMPT Wiederholung:\n"));
}

TEST_F(APinentry, ThatRepeatsANewPinItselfIsAskedOnce) {
    answersWith("echo 'S PIN_REPEATED'; echo 'D 123456'; echo OK");
    putIn("ecard-g2");
    EXPECT_EQ(Rv(CKR_OK), changePin());
    EXPECT_THAT(heard(), Not(HasSubstr("SETPROMPT Wiederholung:")));
}

TEST_F(APinentry, IsAskedForThePukByName) {
    answersWith("echo 'D 12345678'; echo OK");
    putIn("acos-a03");
    EXPECT_EQ(Rv(CKR_OK), command(privateKey("SK.CH.SIG"), orselsim::unblockPinCommand));
    EXPECT_THAT(heard(),
                HasSubstr("%0APUK zur Signatur-PIN eingeben%0AVerbleibende Versuche: 10\nSETPROMPT PUK:\n"));
}

TEST_F(APinentry, ThatDiesIsADeviceError) {
    answersWith("exit 1");
    putIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), loginByDialog());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                StartsWith("OrselP11: cannot ask for a PIN: pinentry: "));
}

TEST_F(APinentry, ThatIsNotThereIsADeviceError) {
    setenv("PATH", (deck.folder() + "/bin").c_str(), 1);
    putIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), loginByDialog());
    EXPECT_EQ("OrselP11: cannot ask for a PIN: there is no program pinentry\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(APinentry, ThatSaysNothingSensibleIsADeviceError) {
    const std::string program = deck.folder() + "/bin/pinentry";
    std::ofstream(program) << "#!/bin/sh\nexit 0\n";
    fs::permissions(program, fs::perms::owner_all);
    putIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), loginByDialog());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("OrselP11: cannot ask for a PIN: "));
}

TEST_F(APinentry, DoesNotChangeWhatTheProgramDoesAboutSignals) {
    answersWith("exit 1");
    putIn("ecard-g2");
    struct sigaction before = {};
    sigaction(SIGPIPE, nullptr, &before);
    testing::internal::CaptureStderr();
    loginByDialog();
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
    answersWith("echo 'D 31415926'; echo OK");
    putIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), loginByDialog());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_THAT(deck.traceText(), Not(HasSubstr("31415926")));
}

class APinScript : public orseltest::CardTest {};

TEST_F(APinScript, AnswersALineAQuestion) {
    putIn("ecard-g2");
    deck.answerPins({"0000", "cancel", "1234\r"});
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), loginByDialog());
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), loginByDialog());
    EXPECT_EQ(Rv(CKR_OK), loginByDialog());
}

TEST_F(APinScript, BeginsAnewWithTheLibrary) {
    putIn("ecard-g2");
    deck.answerPins({"1234"});
    EXPECT_EQ(Rv(CKR_OK), loginByDialog());
    library.reset();
    library.emplace();
    session = library->openFirst();
    EXPECT_EQ(Rv(CKR_OK), loginByDialog());
}

TEST_F(APinScript, ThatIsNotThereIsADeviceError) {
    setenv("ORSELSIM_PIN_SCRIPT", "/no/such/script", 1);
    putIn("ecard-g2");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Rv(CKR_DEVICE_ERROR), loginByDialog());
    EXPECT_EQ("OrselP11: no PIN script: /no/such/script: No such file or directory\n",
              testing::internal::GetCapturedStderr());
}
