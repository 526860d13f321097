// SPDX-License-Identifier: MIT
#include "simulator/deck/IdentityLink.h"

#include <openssl/sha.h>

#include "simulator/deck/DerWriter.h"

namespace orselsim {

namespace {

// 127 bytes less the base id, the date of birth and the tags, shared by the two names.
constexpr std::size_t longestName = 40;

/// At most `longestName` bytes, without half a UTF-8 character at the end.
std::string cut(std::string name) {
    if (name.size() <= longestName)
        return name;
    std::size_t end = longestName;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        --end;
    name.resize(end);
    return name;
}

Bytes digestOf(const Bytes& bytes) {
    Bytes digest(SHA256_DIGEST_LENGTH);
    SHA256(bytes.data(), bytes.size(), digest.data());
    return digest;
}

/// 24 characters, as a number of the population register has after base64.
std::string baseIdOf(const std::string& cardSerial) {
    const std::string digest = toHex(digestOf(bytesOf(cardSerial)));
    return digest.substr(0, 22) + "==";
}

/// Some day of the years 1940 to 1999, always the same for one card.
std::string dateOfBirthOf(const std::string& cardSerial) {
    const Bytes digest = digestOf(bytesOf("born" + cardSerial));
    const auto twoDigits = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    return std::to_string(1940 + digest[0] % 60) + "-" + twoDigits(1 + digest[1] % 12) + "-" +
           twoDigits(1 + digest[2] % 28);
}

// The reader of this record knows lengths of one byte only.
Bytes personData(const std::string& holder, const std::string& cardSerial) {
    const std::size_t blank = holder.find(' ');
    const bool hasGivenName = blank != std::string::npos;
    const std::string given = hasGivenName ? holder.substr(0, blank) : "";
    const std::string family = hasGivenName ? holder.substr(blank + 1) : holder;
    return der::sequence(der::utf8(baseIdOf(cardSerial)) + der::utf8(cut(given)) + der::utf8(cut(family)) +
                         der::utf8(dateOfBirthOf(cardSerial)));
}

} // namespace

Bytes makeIdentityLink(const std::string& holder, const std::string& cardSerial,
                       const DemoAuthority& authority) {
    const Bytes person = personData(holder, cardSerial);
    const Bytes head = der::integer(1) + der::utf8("Orsel Demo Stammzahlenregister") +
                       der::utf8("orsel-demo-" + cardSerial) + der::utf8("2024-03-01T10:15:00+01:00");
    // Which keys of the card belong to the person, by their numbers.
    const Bytes citizenKeys =
        der::sequence(der::context(0, der::integer(1)) + der::context(0, der::integer(2)));
    const Bytes content = head + der::context(0, person) + citizenKeys;
    const Bytes signature = authority.sign(content);
    const Bytes digests = der::context(0, der::bitString(digestOf(person))) +
                          der::context(1, der::bitString(digestOf(content))) +
                          der::context(2, der::bitString(digestOf(signature)));
    return der::sequence(content + der::bitString(signature) + digests);
}

} // namespace orselsim
