// SPDX-License-Identifier: MIT
#include "cli/Signing.h"

#include <algorithm>
#include <cctype>

#include "cli/CallWitness.h"
#include "cli/Names.h"
#include "foundation/Base64.h"

namespace orselcli {

namespace {

/// A signature file larger than this holds something else.
constexpr size_t LARGEST_SIGNATURE = 65536;

} // namespace

// The class takes the hash of another kind of card when it cannot tell the kind: not the one to sign with.
Outcome ChooseHash(Cards& cards, const std::string& word, Velmor::SignKey key, Velmor::HashAlgorithm& hash) {
    if (!word.empty()) {
        hash = HashOf(word);
        return {};
    }
    CallWitness::Forget();
    cards.ReadATR(true); // the class keeps that of the card before
    cards.LoadCardType();
    hash = cards.GetHashAlgorithm(key);
    const bool hasNoAtr = CallWitness::LastCode() == CKR_FUNCTION_NOT_SUPPORTED &&
                          CallWitness::LastFunction() == "C_CardAttribute";
    return CallWitness::HasSeenFailure() && !hasNoAtr ? FailureOf() : Outcome();
}

Outcome ToBeSigned(Cards& cards, Bytes data, Velmor::HashAlgorithm hash, Velmor::SignKey key, Bytes& out) {
    if (hash == Velmor::HASH_RAW) {
        out = std::move(data);
        return {};
    }
    out.clear();
    const bool isHashed = cards.hashString(data.data(), data.size(), out, hash, key == Velmor::KEY_RSA);
    return isHashed ? Outcome() : Outcome(Reason::HASH_FAILED, NameOf(hash));
}

Outcome ReadSignature(const std::string& path, bool isBase64, Bytes& signature) {
    const Outcome outcome = ReadInput(path, signature, LARGEST_SIGNATURE);
    if (!outcome.IsDone() || !isBase64) {
        return outcome;
    }
    std::string text(signature.begin(), signature.end());
    const auto isBlank = [](unsigned char character) { return std::isspace(character) != 0; };
    text.erase(std::remove_if(text.begin(), text.end(), isBlank), text.end());
    Velmor::b64decode(text, signature);
    return signature.empty() ? Outcome(Reason::SIGNATURE_LENGTH) : Outcome();
}

} // namespace orselcli
