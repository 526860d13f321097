// SPDX-License-Identifier: MIT
// The two entry points that the standard does not have: properties of the card by name, and raw
// command APDUs.
#include "bridge/CardProperties.h"
#include "bridge/Forwarding.h"

using orselbridge::Runtime;
using tokenlib::Call;
using tokenlib::Refusal;

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
                     unsigned char* /*response*/, unsigned long* /*responseLen*/) {
    Call call("C_CardTransmit");
    return call.Session(session).Command(apdu, apduLen).Run([&](Runtime& runtime) {
        runtime.SessionOf(session);
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    });
}
