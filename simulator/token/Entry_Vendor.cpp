// SPDX-License-Identifier: MIT
// The two entry points that the standard does not have: properties of the card by name, and raw
// command APDUs.
#include <cstring>

#include "simulator/token/CardProperties.h"
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Output.h"

using orselsim::Bytes;
using orselsim::Call;
using orselsim::Runtime;
using orselsim::SessionView;

CK_RV C_CardAttribute(CK_SESSION_HANDLE session, const char* name, unsigned char* out,
                      unsigned long* outLen) {
    Call call("C_CardAttribute");
    return call.Session(session).Property(name).Slow().Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        orselsim::Require(name);
        orselsim::Require(outLen);
        if (std::strcmp(name, orselsim::RESET_PROPERTY) == 0) {
            view.m_Slot.m_Files.Reset();
            view.m_Slot.m_IsLoggedIn = false;
        }
        orselsim::HandOut(orselsim::CardProperty(view.m_Card->GetCard(), name), out, outLen);
        call.Bend(*outLen);
        call.Number("length", *outLen);
    });
}

CK_RV C_CardTransmit(CK_SESSION_HANDLE session, const unsigned char* apdu, unsigned long apduLen,
                     unsigned char* response, unsigned long* responseLen) {
    Call call("C_CardTransmit");
    call.Session(session).Command(apdu, apduLen).Slow();
    return call.Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        orselsim::Require(apdu);
        orselsim::Require(responseLen);
        const Bytes answer =
            view.m_Slot.m_Files.Transmit(view.m_Card->GetCard(), Bytes(apdu, apdu + apduLen));
        orselsim::HandOut(answer, response, responseLen);
        call.Bend(*responseLen);
        call.Text("sw", orselsim::ToHex(Bytes(answer.end() - 2, answer.end())));
    });
}
