// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_AUTHORISATION_H
#define ORSEL_SIMULATOR_TOKEN_AUTHORISATION_H

#include <functional>
#include <string>

#include "simulator/store/Shared.h"
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Secret.h"

namespace orselsim {

/// The two secrets of a PIN.
enum class SecretKind { PIN, PUK };

/// The question for a PIN or PUK that is there already.
PinQuestion SecretQuestion(const CardRecord& card, const std::string& pinName, SecretKind kind);

/// The question for a PIN that is to be set.
PinQuestion NewPinQuestion(const CardRecord& card, const std::string& pinName);

/// The PIN, ready to be tried. Throws Refusal when the card does not have it, when it has not been
/// set, and when it is blocked.
const PinRecord& UsablePin(const CardRecord& card, const std::string& pinName);

/// Tries a secret: CKR_OK, CKR_PIN_INCORRECT, or CKR_PIN_LOCKED when no try is left.
CK_RV TrySecret(CountedSecret& secret, const Secret& candidate);

/// Reads the card anew, lets `change` work on it and writes what it changed, undisturbed by other
/// processes. What `change` returns is thrown as a Refusal unless it is CKR_OK; what it changed is
/// written all the same, since a wrong PIN costs a try.
void ChangeCard(Deck& deck, Slot& slot, const std::function<CK_RV(Card&)>& change);

/// Tries a PIN on the session's card; throws Refusal unless it is right.
void CheckPin(Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName, const Secret& pin);

/// Sees to it that the user has given this PIN: by a login, where a login counts for it, or by
/// asking now. An empty name needs no PIN.
void Authorise(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const std::string& pinName);

} // namespace orselsim

#endif
