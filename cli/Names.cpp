// SPDX-License-Identifier: MIT
#include "cli/Names.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iterator>

#include "cli/Words.h"
#include "foundation/Conversion.h"

namespace orselcli {

namespace {

struct HashRow {
    const char* m_Name;
    Velmor::HashAlgorithm m_Hash;
};

constexpr HashRow HASHES[] = {
    {"sha1", Velmor::HASH_SHA1},     {"ripemd160", Velmor::HASH_RIPEMD160}, {"sha256", Velmor::HASH_SHA256},
    {"sha384", Velmor::HASH_SHA384}, {"sha512", Velmor::HASH_SHA512},       {"raw", Velmor::HASH_RAW},
};

constexpr size_t DUMP_WIDTH = 16;

} // namespace

Velmor::ApplType ApplicationOf(const std::string& word) {
    if (word == "signature") {
        return Velmor::ApplSignature;
    }
    return word == "encryption" ? Velmor::ApplEncryption : Velmor::ApplIdentityLink;
}

std::string PinInWords(Velmor::ApplType pin) {
    switch (pin) {
    case Velmor::ApplSignature:
        return Tr("Signature PIN");
    case Velmor::ApplEncryption:
        return Tr("Encryption PIN");
    default:
        return Tr("Identity link PIN");
    }
}

std::string PrivateKeyLabel(bool isSignature) {
    return isSignature ? "SK.CH.SIG" : "SK.CH.EKEY";
}

std::string PublicKeyLabel(bool isSignature) {
    return isSignature ? "PK.CH.SIG" : "PK.CH.EKEY";
}

Velmor::HashAlgorithm HashOf(const std::string& word) {
    const auto* row = std::find_if(std::begin(HASHES), std::end(HASHES),
                                   [&word](const HashRow& candidate) { return word == candidate.m_Name; });
    return row != std::end(HASHES) ? row->m_Hash : Velmor::HASH_RAW;
}

std::string NameOf(Velmor::HashAlgorithm hash) {
    const auto* row = std::find_if(std::begin(HASHES), std::end(HASHES),
                                   [hash](const HashRow& candidate) { return hash == candidate.m_Hash; });
    return row != std::end(HASHES) ? row->m_Name : "";
}

std::string HexOf(const Bytes& bytes) {
    std::string text;
    Velmor::BinData2HexStr(bytes, text);
    return text;
}

std::string HexDump(const Bytes& bytes) {
    std::string text;
    for (size_t line = 0; line < bytes.size(); line += DUMP_WIDTH) {
        char part[32];
        std::snprintf(part, sizeof(part), "%08zx ", line);
        text += part;
        std::string characters;
        for (size_t i = line; i < line + DUMP_WIDTH; ++i) {
            if (i >= bytes.size()) {
                text += "   ";
                continue;
            }
            std::snprintf(part, sizeof(part), " %02x", bytes[i]);
            text += part;
            characters += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
        }
        text += "  " + characters + "\n";
    }
    return text;
}

bool BytesOfHex(const std::string& text, Bytes& bytes) {
    std::string digits;
    for (const char character : text) {
        if (character == ' ' || character == ':') {
            continue;
        }
        if (std::isxdigit(static_cast<unsigned char>(character)) == 0) {
            return false;
        }
        digits += character;
    }
    bytes.clear();
    return !digits.empty() && digits.size() % 2 == 0 && Velmor::HexStr2BinData(digits, bytes) > 0;
}

} // namespace orselcli
