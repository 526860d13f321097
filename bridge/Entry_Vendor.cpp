// SPDX-License-Identifier: MIT
// The two entry points that the standard does not have: properties of the card by name, and raw
// command APDUs.
#include "bridge/CardProperties.h"
#include "bridge/Forwarding.h"

using orselbridge::Bytes;
using orselbridge::Runtime;
using tokenlib::Call;

namespace {

// ISO 7816-4: a command has four bytes at least, and at most three for each of two lengths and 65535 of data.
constexpr unsigned long SHORTEST_COMMAND = 4;
constexpr unsigned long LONGEST_COMMAND = 4 + 3 + 65535 + 3;

} // namespace

CK_RV C_CardAttribute(CK_SESSION_HANDLE session, const char* name, unsigned char* out,
                      unsigned long* outLen) {
    Call call("C_CardAttribute");
    return call.Session(session).Property(name).Run([&](Runtime& runtime) {
        const CK_SLOT_ID slot = runtime.SessionOf(session).m_Slot;
        tokenlib::Require(name);
        tokenlib::Require(outLen);
        tokenlib::HandOut(orselbridge::CardProperty(runtime, slot, name), out, outLen);
        call.Bend(*outLen);
        call.Number("length", *outLen);
    });
}

CK_RV C_CardTransmit(CK_SESSION_HANDLE session, const unsigned char* apdu, unsigned long apduLen,
                     unsigned char* response, unsigned long* responseLen) {
    Call call("C_CardTransmit");
    return call.Session(session).Command(apdu, apduLen).Run([&](Runtime& runtime) {
        const CK_SLOT_ID slot = runtime.SessionOf(session).m_Slot;
        tokenlib::Require(apdu);
        tokenlib::Require(responseLen);
        if (apduLen < SHORTEST_COMMAND || apduLen > LONGEST_COMMAND) {
            throw tokenlib::Refusal{CKR_ARGUMENTS_BAD};
        }
        const Bytes answer = orselbridge::TransmitToCard(runtime, slot, Bytes(apdu, apdu + apduLen));
        tokenlib::HandOut(answer, response, responseLen);
        call.Bend(*responseLen);
        call.Text("sw", tokenlib::ToHex(Bytes(answer.end() - 2, answer.end())));
    });
}
