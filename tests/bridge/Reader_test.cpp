// SPDX-License-Identifier: MIT
// A card reader over a service that answers as the test says: the linker's --wrap stands before its library.
#include "bridge/CardReader.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <winscard.h>

#include "tokenlib/Names.h"
#include "tokenlib/Refusal.h"

using orselbridge::Bytes;
using orselbridge::CardReader;
using testing::ElementsAre;
using tokenlib::FromHex;
using tokenlib::ToHex;

namespace {

/// What the service answers, and what it has heard.
struct Service {
    bool m_IsInstalled = true;
    std::string m_Lacking; ///< a function
    std::string m_Readers = std::string("Left\0Right 00 00\0", 18);
    std::map<std::string, LONG> m_Errors; ///< by function
    std::deque<std::string> m_Responses;  ///< to commands, in hexadecimal digits
    std::string m_LastResponse = "9000";  ///< to all others
    DWORD m_AtrSize = 3;
    std::vector<std::string> m_Heard;
};
Service g_Service;

LONG Noted(const std::string& function, const std::string& more = "") {
    g_Service.m_Heard.push_back(function + more);
    const auto planned = g_Service.m_Errors.find(function);
    return planned == g_Service.m_Errors.end() ? SCARD_S_SUCCESS : planned->second;
}

LONG Establish(DWORD /*scope*/, LPCVOID /*reserved*/, LPCVOID /*reserved*/, LPSCARDCONTEXT context) {
    *context = 1;
    return Noted("SCardEstablishContext");
}

LONG Release(SCARDCONTEXT /*context*/) {
    return Noted("SCardReleaseContext");
}

LONG List(SCARDCONTEXT /*context*/, LPCSTR /*groups*/, LPSTR readers, LPDWORD size) {
    if (readers != nullptr) {
        g_Service.m_Readers.copy(readers, *size);
    }
    *size = static_cast<DWORD>(g_Service.m_Readers.size());
    return Noted("SCardListReaders");
}

LONG Connect(SCARDCONTEXT /*context*/, LPCSTR reader, DWORD /*mode*/, DWORD /*protocols*/, LPSCARDHANDLE card,
             LPDWORD protocol) {
    *card = 2;
    *protocol = SCARD_PROTOCOL_T0;
    return Noted("SCardConnect", std::string(" ") + reader);
}

LONG Reconnect(SCARDHANDLE /*card*/, DWORD /*mode*/, DWORD /*protocols*/, DWORD initialisation,
               LPDWORD /*protocol*/) {
    return Noted("SCardReconnect", initialisation == SCARD_RESET_CARD ? " reset" : "");
}

LONG Disconnect(SCARDHANDLE /*card*/, DWORD disposition) {
    return Noted("SCardDisconnect", disposition == SCARD_LEAVE_CARD ? " leave" : "");
}

LONG Status(SCARDHANDLE /*card*/, LPSTR /*name*/, LPDWORD /*nameSize*/, LPDWORD /*state*/,
            LPDWORD /*protocol*/, LPBYTE atr, LPDWORD size) {
    atr[0] = 0x3B;
    *size = g_Service.m_AtrSize;
    return Noted("SCardStatus");
}

LONG Transmit(SCARDHANDLE /*card*/, const SCARD_IO_REQUEST* /*request*/, LPCBYTE command, DWORD commandSize,
              SCARD_IO_REQUEST* /*answer*/, LPBYTE response, LPDWORD size) {
    std::string planned = g_Service.m_LastResponse;
    if (!g_Service.m_Responses.empty()) {
        planned = g_Service.m_Responses.front();
        g_Service.m_Responses.pop_front();
    }
    const Bytes bytes = *FromHex(planned);
    std::copy(bytes.begin(), bytes.end(), response);
    *size = planned == "FF" ? 1000000 : static_cast<DWORD>(bytes.size());
    return Noted("SCardTransmit", " " + ToHex(Bytes(command, command + commandSize)));
}

const std::map<std::string, void*> FUNCTIONS = {
    {"SCardEstablishContext", reinterpret_cast<void*>(Establish)},
    {"SCardReleaseContext", reinterpret_cast<void*>(Release)},
    {"SCardListReaders", reinterpret_cast<void*>(List)},
    {"SCardConnect", reinterpret_cast<void*>(Connect)},
    {"SCardReconnect", reinterpret_cast<void*>(Reconnect)},
    {"SCardDisconnect", reinterpret_cast<void*>(Disconnect)},
    {"SCardStatus", reinterpret_cast<void*>(Status)},
    {"SCardTransmit", reinterpret_cast<void*>(Transmit)},
};

/// The code that the work is refused with, by its name.
std::string RefusalOf(const std::function<void()>& work) {
    try {
        work();
        return "none";
    } catch (const tokenlib::Refusal& refusal) {
        return tokenlib::ReturnName(refusal.m_Code);
    }
}

std::string RefusalOfReader(const std::string& description = "Left") {
    return RefusalOf([&] { const CardReader reader(description); });
}

/// Ends the process: the service's library is loaded once in it.
[[noreturn]] void EndWithRefusal() {
    std::exit(RefusalOfReader() == "CKR_FUNCTION_NOT_SUPPORTED" ? 0 : 1);
}

} // namespace

extern "C" {

void* __wrap_dlopen(const char* name, int /*flags*/) {
    return g_Service.m_IsInstalled && std::string(name) == "libpcsclite.so.1" ? &g_Service : nullptr;
}

void* __wrap_dlsym(void* /*library*/, const char* name) {
    return name == g_Service.m_Lacking ? nullptr : FUNCTIONS.at(name);
}

} // extern "C"

class AReaderOfTheService : public testing::Test {
protected:
    AReaderOfTheService() { g_Service = {}; }

    static std::string Sent(const std::string& command) {
        const CardReader reader("Left");
        g_Service.m_Heard.clear();
        return ToHex(reader.Transmit(*FromHex(command)));
    }
    static std::vector<std::string> Commands() {
        std::vector<std::string> commands;
        for (const std::string& call : g_Service.m_Heard) {
            if (call.compare(0, 14, "SCardTransmit ") == 0) {
                commands.push_back(call.substr(14));
            }
        }
        return commands;
    }
};

// Named so that they come first: later the library is loaded already.
using AMachineDeathTest = AReaderOfTheService;

TEST_F(AMachineDeathTest, WithoutTheServicesLibraryHasNoReader) {
    g_Service.m_IsInstalled = false;
    EXPECT_EXIT(EndWithRefusal(), testing::ExitedWithCode(0), "");
}

TEST_F(AMachineDeathTest, WithAnOlderLibraryThatLacksAFunctionHasNoReader) {
    for (const auto& [name, function] : FUNCTIONS) {
        g_Service.m_Lacking = name;
        EXPECT_EXIT(EndWithRefusal(), testing::ExitedWithCode(0), "") << name;
    }
}

TEST_F(AReaderOfTheService, IsConnectedAndLeftAsItWas) {
    EXPECT_EQ("none", RefusalOfReader("Right 00 00"));
    EXPECT_THAT(g_Service.m_Heard,
                ElementsAre("SCardEstablishContext", "SCardListReaders", "SCardListReaders",
                            "SCardConnect Right 00 00", "SCardDisconnect leave", "SCardReleaseContext"));
}

TEST_F(AReaderOfTheService, IsKnownByTheBeginningOfALongName) {
    const std::string longName =
        std::string(60, 'x') + "    and more"; // the description has blanks at its end
    g_Service.m_Readers = longName + std::string(2, '\0');
    EXPECT_EQ("none", RefusalOfReader(std::string(60, 'x')));
    EXPECT_EQ("SCardConnect " + longName, g_Service.m_Heard.at(3));
}

TEST_F(AReaderOfTheService, ThatIsNotListedIsNotSupported) {
    EXPECT_EQ("CKR_FUNCTION_NOT_SUPPORTED", RefusalOfReader("Other"));
    g_Service.m_Readers = "Left"; // a list without its end
    EXPECT_EQ("CKR_FUNCTION_NOT_SUPPORTED", RefusalOfReader("Other"));
    g_Service.m_Readers = "";
    EXPECT_EQ("CKR_FUNCTION_NOT_SUPPORTED", RefusalOfReader("Left"));
}

TEST_F(AReaderOfTheService, HasACodeForEachErrorOfTheService) {
    struct Case {
        LONG m_Error;
        const char* m_Code;
    };
    const Case cases[] = {
        {static_cast<LONG>(SCARD_E_NO_SERVICE), "CKR_FUNCTION_NOT_SUPPORTED"},
        {static_cast<LONG>(SCARD_E_SERVICE_STOPPED), "CKR_FUNCTION_NOT_SUPPORTED"},
        {static_cast<LONG>(SCARD_E_NO_READERS_AVAILABLE), "CKR_FUNCTION_NOT_SUPPORTED"},
        {static_cast<LONG>(SCARD_E_UNKNOWN_READER), "CKR_FUNCTION_NOT_SUPPORTED"},
        {static_cast<LONG>(SCARD_E_NO_SMARTCARD), "CKR_TOKEN_NOT_PRESENT"},
        {static_cast<LONG>(SCARD_W_UNPOWERED_CARD), "CKR_TOKEN_NOT_PRESENT"},
        {static_cast<LONG>(SCARD_W_REMOVED_CARD), "CKR_DEVICE_REMOVED"},
        {static_cast<LONG>(SCARD_E_SHARING_VIOLATION), "CKR_DEVICE_ERROR"},
    };
    for (const char* function : {"SCardEstablishContext", "SCardListReaders", "SCardConnect"}) {
        for (const Case& each : cases) {
            g_Service = {};
            g_Service.m_Errors = {{function, each.m_Error}};
            EXPECT_EQ(each.m_Code, RefusalOfReader()) << function;
            EXPECT_THAT(g_Service.m_Heard, testing::Not(testing::Contains("SCardDisconnect leave")));
        }
    }
}

TEST_F(AReaderOfTheService, GivesAnAtrThatFits) {
    const CardReader reader("Left");
    EXPECT_EQ("3B0000", ToHex(reader.Atr()));
    g_Service.m_AtrSize = MAX_ATR_SIZE + 1;
    EXPECT_EQ("CKR_DEVICE_ERROR", RefusalOf([&] { reader.Atr(); }));
    g_Service.m_Errors = {{"SCardStatus", static_cast<LONG>(SCARD_W_REMOVED_CARD)}};
    EXPECT_EQ("CKR_DEVICE_REMOVED", RefusalOf([&] { reader.Atr(); }));
}

TEST_F(AReaderOfTheService, ResetsTheCard) {
    CardReader reader("Left");
    reader.Reset();
    EXPECT_EQ("SCardReconnect reset", g_Service.m_Heard.back());
    g_Service.m_Errors = {{"SCardReconnect", static_cast<LONG>(SCARD_W_REMOVED_CARD)}};
    EXPECT_EQ("CKR_DEVICE_REMOVED", RefusalOf([&] { reader.Reset(); }));
}

TEST_F(AReaderOfTheService, RepeatsACommandWithTheLengthThatTheCardWants) {
    g_Service.m_Responses = {"6C03", "0102039000"};
    EXPECT_EQ("0102039000", Sent("00B0000000"));
    EXPECT_THAT(Commands(), ElementsAre("00B0000000", "00B0000003"));
}

TEST_F(AReaderOfTheService, RepeatsNoCommandThatHasNoOtherLength) {
    g_Service.m_Responses = {"6C03"};
    EXPECT_EQ("6C03", Sent("00B00000")) << "there is no length to change";
    g_Service.m_Responses = {"6C03"};
    EXPECT_EQ("6C03", Sent("00B0000003")) << "it has been tried";
}

TEST_F(AReaderOfTheService, FetchesALongAnswerInItsParts) {
    g_Service.m_Responses = {"AAAA6102", "BB6101", "CC9000"};
    EXPECT_EQ("AAAABBCC9000", Sent("81CB000002FFFF"));
    EXPECT_THAT(Commands(), ElementsAre("81CB000002FFFF", "01C0000002", "01C0000001"));
}

TEST_F(AReaderOfTheService, StopsACardThatNeverComesToAnEnd) {
    g_Service.m_LastResponse = "AA6101";
    EXPECT_EQ("CKR_DEVICE_ERROR", RefusalOf([] { Sent("00B0000000"); }));
    EXPECT_EQ(256U, Commands().size());
}

TEST_F(AReaderOfTheService, RefusesAnAnswerWithoutAStatus) {
    for (const char* response : {"", "90", "FF"}) {
        g_Service.m_LastResponse = response;
        EXPECT_EQ("CKR_DEVICE_ERROR", RefusalOf([] { Sent("00B0000000"); })) << response;
    }
    g_Service.m_Errors = {{"SCardTransmit", static_cast<LONG>(SCARD_W_REMOVED_CARD)}};
    EXPECT_EQ("CKR_DEVICE_REMOVED", RefusalOf([] { Sent("00B0000000"); }));
}
