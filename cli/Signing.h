// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_SIGNING_H
#define ORSEL_CLI_SIGNING_H

#include "cli/Cards.h"
#include "cli/Files.h"

#include <string>

namespace orselcli {

/// The hash that was asked for, or the one that the card's signature needs, in the open session.
Outcome ChooseHash(Cards& cards, const std::string& word, Velmor::SignKey key, Velmor::HashAlgorithm& hash);

/// What a key signs: the hash of the data, in a DigestInfo for an RSA key; the data itself for a raw one.
Outcome ToBeSigned(Cards& cards, Bytes data, Velmor::HashAlgorithm hash, Velmor::SignKey key, Bytes& out);

/// The signature as people keep it in files: bytes, or base64 with any blanks and line ends.
Outcome ReadSignature(const std::string& path, bool isBase64, Bytes& signature);

} // namespace orselcli

#endif
