// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_SIGNING_H
#define ORSEL_BRIDGE_SIGNING_H

#include "bridge/Runtime.h"
#include "tokenlib/Call.h"

namespace orselbridge {

/// Begins a signature: in the module where a login is no matter, else here, until C_Sign asks for
/// the PIN. Throws Refusal.
void BeginSignature(Runtime& runtime, Session& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);

/// Bytes of the pending signature's room: the signature's size where the key shows it, and a size
/// that is never too small otherwise.
CK_ULONG RoomForSignature(Runtime& runtime, const Session& session);

/// Makes the session's pending signature of these data: asks for the PIN, logs in, signs, logs out.
/// The signature is no longer pending afterwards, whatever came of it. Throws Refusal.
Bytes MakeSignature(tokenlib::Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const Bytes& data);

} // namespace orselbridge

#endif
