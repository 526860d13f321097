// SPDX-License-Identifier: MIT
// The two entry points that the standard does not have: properties of the card by name, and raw
// command APDUs.
#include <cstring>

#include "simulator/token/Call.h"
#include "simulator/token/CardProperties.h"
#include "simulator/token/Output.h"

using orselsim::Bytes;
using orselsim::Call;
using orselsim::Runtime;
using orselsim::SessionView;

namespace {

/// A command as the trace may show it: the header, and the data only of commands that carry no
/// secret. A command that verifies a PIN has the PIN in its data.
std::string shownCommand(const unsigned char* apdu, unsigned long size) {
    if (apdu == nullptr)
        return "";
    const Bytes bytes(apdu, apdu + size);
    const bool isHarmless = bytes.size() <= 5 || bytes[1] == 0xA4;
    if (isHarmless)
        return orselsim::toHex(bytes);
    return orselsim::toHex(Bytes(bytes.begin(), bytes.begin() + 4)) + "[" + std::to_string(size - 4) + "]";
}

} // namespace

CK_RV C_CardAttribute(CK_SESSION_HANDLE session, const char* name, unsigned char* out,
                      unsigned long* outLen) {
    Call call("C_CardAttribute");
    return call.session(session).property(name).slow().run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        orselsim::require(name);
        orselsim::require(outLen);
        if (std::strcmp(name, orselsim::resetProperty) == 0) {
            view.slot.files.reset();
            view.slot.isLoggedIn = false;
        }
        orselsim::handOut(orselsim::cardProperty(view.card->card(), name), out, outLen);
        call.bend(*outLen);
        call.number("length", *outLen);
    });
}

CK_RV C_CardTransmit(CK_SESSION_HANDLE session, const unsigned char* apdu, unsigned long apduLen,
                     unsigned char* response, unsigned long* responseLen) {
    Call call("C_CardTransmit");
    call.session(session).text("apdu", shownCommand(apdu, apduLen)).slow();
    return call.run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        orselsim::require(apdu);
        orselsim::require(responseLen);
        const Bytes answer = view.slot.files.transmit(view.card->card(), Bytes(apdu, apdu + apduLen));
        orselsim::handOut(answer, response, responseLen);
        call.bend(*responseLen);
        call.text("sw", orselsim::toHex(Bytes(answer.end() - 2, answer.end())));
    });
}
