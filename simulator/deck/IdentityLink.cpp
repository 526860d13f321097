// SPDX-License-Identifier: MIT
#include "simulator/deck/IdentityLink.h"

#include <openssl/sha.h>

#include "simulator/deck/DerWriter.h"

namespace orselsim {

namespace {

// 127 bytes less the base id, the date of birth and the tags, shared by the two names.
constexpr std::size_t LONGEST_NAME = 40;

/// At most `longestName` bytes, without half a UTF-8 character at the end.
std::string Cut(std::string name) {
    if (name.size() <= LONGEST_NAME) {
        return name;
    }
    std::size_t end = LONGEST_NAME;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) {
        --end;
    }
    name.resize(end);
    return name;
}

Bytes DigestOf(const Bytes& bytes) {
    Bytes digest(SHA256_DIGEST_LENGTH);
    SHA256(bytes.data(), bytes.size(), digest.data());
    return digest;
}

/// 24 characters, as a number of the population register has after base64.
std::string BaseIdOf(const std::string& cardSerial) {
    const std::string digest = ToHex(DigestOf(BytesOf(cardSerial)));
    return digest.substr(0, 22) + "==";
}

/// Some day of the years 1940 to 1999, always the same for one card.
std::string DateOfBirthOf(const std::string& cardSerial) {
    const Bytes digest = DigestOf(BytesOf("born" + cardSerial));
    const auto twoDigits = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    return std::to_string(1940 + digest[0] % 60) + "-" + twoDigits(1 + digest[1] % 12) + "-" +
           twoDigits(1 + digest[2] % 28);
}

// The reader of this record knows lengths of one byte only.
Bytes PersonData(const std::string& holder, const std::string& cardSerial) {
    const std::size_t blank = holder.find(' ');
    const bool hasGivenName = blank != std::string::npos;
    const std::string given = hasGivenName ? holder.substr(0, blank) : "";
    const std::string family = hasGivenName ? holder.substr(blank + 1) : holder;
    return der::Sequence(der::Utf8(BaseIdOf(cardSerial)) + der::Utf8(Cut(given)) + der::Utf8(Cut(family)) +
                         der::Utf8(DateOfBirthOf(cardSerial)));
}

} // namespace

Bytes MakeIdentityLink(const std::string& holder, const std::string& cardSerial,
                       const DemoAuthority& authority) {
    const Bytes person = PersonData(holder, cardSerial);
    const Bytes head = der::Integer(1) + der::Utf8("Orsel Demo Stammzahlenregister") +
                       der::Utf8("orsel-demo-" + cardSerial) + der::Utf8("2024-03-01T10:15:00+01:00");
    // Which keys of the card belong to the person, by their numbers.
    const Bytes citizenKeys =
        der::Sequence(der::Context(0, der::Integer(1)) + der::Context(0, der::Integer(2)));
    const Bytes content = head + der::Context(0, person) + citizenKeys;
    const Bytes signature = authority.Sign(content);
    const Bytes digests = der::Context(0, der::BitString(DigestOf(person))) +
                          der::Context(1, der::BitString(DigestOf(content))) +
                          der::Context(2, der::BitString(DigestOf(signature)));
    return der::Sequence(content + der::BitString(signature) + digests);
}

} // namespace orselsim
