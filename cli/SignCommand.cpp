// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/CallWitness.h"
#include "cli/Commands.h"
#include "cli/Names.h"
#include "cli/Signing.h"
#include "foundation/Base64.h"

namespace orselcli {

namespace {

/// Data up to here goes to the card class unhashed, which lets the card hash where the card can.
constexpr size_t LARGEST_FOR_CARD = 2048;
constexpr size_t SIGNATURE_CAPACITY = 4096;
constexpr auto NO_KEY_KIND = static_cast<Velmor::SignKey>(-1);

bool SignWithHash(Cards& cards, Bytes data, bool isSignature, Velmor::HashAlgorithm hash, Bytes& signature) {
    signature.assign(SIGNATURE_CAPACITY, 0);
    unsigned long length = signature.size();
    const bool isSigned =
        cards.signString(data.data(), data.size(), signature.data(), length, isSignature, hash);
    signature.resize(isSigned ? length : 0);
    return isSigned;
}

/// Lets the key sign, which asks for the PIN.
Outcome SignData(Cards& cards, const Bytes& data, bool isSignature, Velmor::HashAlgorithm hash,
                 Velmor::SignKey key, Bytes& signature) {
    const auto pin = isSignature ? Velmor::ApplSignature : Velmor::ApplEncryption;
    CallWitness::Forget();
    if (hash != Velmor::HASH_RAW && !data.empty() && data.size() <= LARGEST_FOR_CARD) {
        return SignWithHash(cards, data, isSignature, hash, signature)
                   ? Outcome()
                   : FailureOfPin(cards, pin, Reason::HASH_FAILED);
    }
    Bytes toBeSigned;
    const Outcome outcome = ToBeSigned(cards, data, hash, key, toBeSigned);
    if (!outcome.IsDone()) {
        return outcome;
    }
    signature.clear();
    const bool isSigned = cards.Sign(PrivateKeyLabel(isSignature), toBeSigned, signature, Velmor::HASH_RAW);
    return isSigned ? Outcome() : FailureOfPin(cards, pin);
}

/// Kind of the private key.
Outcome FindKey(Cards& cards, bool isSignature, Velmor::SignKey& key) {
    key = NO_KEY_KIND;
    if (!cards.GetSignKeyType(key, isSignature)) {
        return FailureOf(Reason::KEY_WRONG_KIND);
    }
    return key == NO_KEY_KIND ? FailureOf(Reason::NO_KEY) : Outcome();
}

Outcome Give(Context& context, const CardRow& row, Velmor::HashAlgorithm hash, const Bytes& signature) {
    std::string text;
    Velmor::b64encode(signature, text, 0);
    if (context.m_Request.m_Json) {
        context.m_Console.PrintJson({{"card", row.m_Number},
                                     {"key", context.m_Request.Word(0)},
                                     {"hash", NameOf(hash)},
                                     {"signature", text}});
        return {};
    }
    text += "\n";
    return Deliver(context, context.m_Request.m_Base64 ? Bytes(text.begin(), text.end()) : signature);
}

} // namespace

Outcome RunSign(Context& context) {
    Bytes data;
    const Outcome read = ReadInput(context.m_Request.Word(1), data);
    if (!read.IsDone()) {
        return read;
    }
    return WithSession(context, [&](const CardRow& row) {
        if (row.m_IsEmpty) {
            return Outcome(Reason::EMPTY_CARD);
        }
        const bool isSignature = context.m_Request.Word(0) == "signature";
        Velmor::SignKey key = NO_KEY_KIND;
        auto hash = Velmor::HASH_RAW;
        Outcome outcome = FindKey(context.m_Cards, isSignature, key);
        if (outcome.IsDone()) {
            outcome = ChooseHash(context.m_Cards, context.m_Request.m_Hash, key, hash);
        }
        if (!outcome.IsDone()) {
            return outcome;
        }
        Bytes signature;
        outcome = SignData(context.m_Cards, data, isSignature, hash, key, signature);
        return outcome.IsDone() ? Give(context, row, hash, signature) : outcome;
    });
}

} // namespace orselcli
