// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_NAMES_H
#define ORSEL_CLI_NAMES_H

#include "card/CardTypes.h"
#include "cli/Files.h"
#include "formats/KeyTypes.h"

#include <string>

namespace orselcli {

/// The application behind a word of the command line: "signature", "encryption" or "identity-link".
Velmor::ApplType ApplicationOf(const std::string& word);
/// Its name for people.
std::string PinInWords(Velmor::ApplType pin);

/// Labels of the keys on the card.
std::string PrivateKeyLabel(bool isSignature);
std::string PublicKeyLabel(bool isSignature);

/// The hash behind a word of the command line; the words are checked before.
Velmor::HashAlgorithm HashOf(const std::string& word);
std::string NameOf(Velmor::HashAlgorithm hash);

/// Upper-case hexadecimal digits.
std::string HexOf(const Bytes& bytes);
/// Lines of offset, sixteen bytes and their printable characters.
std::string HexDump(const Bytes& bytes);
/// Bytes of hexadecimal text with any blanks and colons in it; false for anything else.
bool BytesOfHex(const std::string& text, Bytes& bytes);

} // namespace orselcli

#endif
