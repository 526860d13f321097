// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/card/ProbedCard.h"

#include "card/tkPKCS11Logging.h"
#include "tests/foundation/GlobalLocale.h"

using testing::ElementsAre;
using namespace Velmor::tkPKCS11Logging;

TEST(tkPKCS11Logging, WithoutFunctionsEveryMessageIsDropped) {
    SetErrorLoggingFunc(nullptr);
    SetMessageLoggingFunc(nullptr);
    LogMessage("a");
    LogMessage("a", "b");
    LogError("a");
    LogError("a", "b");
    LogError("a", 1UL);
    const LogCapture log;
    EXPECT_THAT(log.Lines(), ElementsAre());
}

TEST(tkPKCS11Logging, MessagesAndErrorsGoToTheirOwnChannels) {
    const LogCapture log;
    LogMessage("message");
    LogError("error");
    EXPECT_THAT(log.Lines(), ElementsAre("M message", "E error"));
}

TEST(tkPKCS11Logging, ACodeFollowsInLowerCaseHexadecimalWithoutABlank) {
    const LogCapture log;
    LogError("PKCS11 Proc_C_OpenSession ERROR", 7UL);
    LogError("rv = ", 0xE0ABUL);
    LogError("", 0UL);
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Proc_C_OpenSession ERROR0x7", "rv = 0xe0ab", "0x0"));
}

TEST(tkPKCS11Logging, ACodeIsWrittenTheSameInEveryLocale) {
    const GlobalLocale locale(new PointsBetweenDigits<char>);
    const LogCapture log;
    LogError("rv = ", 0x80000001UL);
    EXPECT_THAT(log.Errors(), ElementsAre("rv = 0x80000001"));
}

TEST(tkPKCS11Logging, AValueFollowsBehindOneBlank) {
    const LogCapture log;
    LogMessage("token label: ", "Karte");
    LogError("label", "");
    EXPECT_THAT(log.Lines(), ElementsAre("M token label:  Karte", "E label "));
}

TEST(tkPKCS11Logging, OneChannelMayBeOffWhileTheOtherIsOn) {
    const LogCapture log;
    SetMessageLoggingFunc(nullptr);
    LogMessage("message");
    LogError("error");
    EXPECT_THAT(log.Lines(), ElementsAre("E error"));
}
