// SPDX-License-Identifier: MIT
#include "tests/card/OpenSslCommand.h"

#include <algorithm>
#include <cstdlib>

#include "tests/support/TempDir.h"

using Bytes = OpenSslCommand::Bytes;

namespace {

Bytes BytesOfFile(const std::string& path) {
    const std::string content = ContentOf(path);
    return Bytes(content.begin(), content.end());
}

/// DER of a number in big-endian bytes. All lengths of this file are below 128.
Bytes Integer(const Bytes& number) {
    Bytes content(
        std::find_if(number.begin(), number.end() - 1, [](unsigned char byte) { return byte != 0; }),
        number.end());
    if (content[0] >= 0x80) {
        content.insert(content.begin(), 0);
    }
    Bytes der = {0x02, static_cast<unsigned char>(content.size())};
    der.insert(der.end(), content.begin(), content.end());
    return der;
}

Bytes DerOfPlain(const Bytes& plain) {
    const auto middle = plain.begin() + static_cast<std::ptrdiff_t>(plain.size() / 2);
    const Bytes r = Integer(Bytes(plain.begin(), middle));
    const Bytes s = Integer(Bytes(middle, plain.end()));
    Bytes der = {0x30, static_cast<unsigned char>(r.size() + s.size())};
    der.insert(der.end(), r.begin(), r.end());
    der.insert(der.end(), s.begin(), s.end());
    return der;
}

/// Takes the DER of a number from the front and gives its bytes in this size.
Bytes TakeNumber(Bytes& der, size_t size) {
    const size_t length = der.at(1);
    const auto end = der.begin() + 2 + static_cast<std::ptrdiff_t>(length);
    Bytes number(der.begin() + 2, end);
    if (number.size() > size) {
        number.erase(number.begin()); // the sign byte
    }
    number.insert(number.begin(), size - number.size(), 0);
    der.erase(der.begin(), end);
    return number;
}

Bytes PlainOfDer(Bytes der, size_t numberSize) {
    der.erase(der.begin(), der.begin() + 2);
    Bytes plain = TakeNumber(der, numberSize);
    const Bytes s = TakeNumber(der, numberSize);
    plain.insert(plain.end(), s.begin(), s.end());
    return plain;
}

} // namespace

void OpenSslCommand::Write(const std::string& name, const Bytes& content) const {
    std::ofstream file(File(name), std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
}

bool OpenSslCommand::Run(const std::string& arguments) const {
    return std::system(("openssl " + arguments + " >'" + File("out") + "' 2>&1").c_str()) == 0;
}

/// `options` name a key for "openssl pkey". The public key's text goes to the file "out".
bool OpenSslCommand::IsEcKey(const std::string& options) const {
    Run("pkey " + options + " -noout -text_pub");
    const Bytes text = BytesOfFile(File("out"));
    return std::string(text.begin(), text.end()).find("ASN1 OID: prime") != std::string::npos;
}

bool OpenSslCommand::Verifies(const Bytes& certificate, const std::string& digest, const Bytes& data,
                              const Bytes& signature) const {
    Write("cert", certificate);
    Write("data", data);
    const std::string key = "'" + File("pub") + "'";
    if (!Run("x509 -inform DER -in '" + File("cert") + "' -noout -pubkey -out " + key)) {
        return false;
    }
    const bool isEc = IsEcKey("-pubin -in " + key);
    Write("sig", isEc ? DerOfPlain(signature) : signature);
    if (!isEc && !digest.empty()) {
        return Run("dgst -" + digest + " -verify " + key + " -signature '" + File("sig") + "' '" +
                   File("data") + "'");
    }
    // An EC signature is over the bare hash. OpenSSL 1.1 takes the newer digests alone in one step.
    std::string signedFile = File("data");
    if (!digest.empty()) {
        signedFile = File("hash");
        if (!Run("dgst -" + digest + " -binary -out '" + signedFile + "' '" + File("data") + "'")) {
            return false;
        }
    }
    return Run("pkeyutl -verify -pubin -inkey " + key + " -sigfile '" + File("sig") + "' -in '" + signedFile +
               "'");
}

Bytes OpenSslCommand::Sign(const Bytes& key, const std::string& digest, const Bytes& data) const {
    Write("key", key);
    Write("data", data);
    const std::string keyFile = "'" + File("key") + "'";
    const std::string out = " -out '" + File("sig") + "' ";
    const std::string command = digest.empty() ? "pkeyutl -sign -inkey " + keyFile + out + "-in"
                                               : "dgst -" + digest + " -sign " + keyFile + out;
    if (!Run(command + " '" + File("data") + "'")) {
        return {};
    }
    const Bytes signature = BytesOfFile(File("sig"));
    if (!IsEcKey("-in " + keyFile)) {
        return signature;
    }
    const Bytes text = BytesOfFile(File("out"));
    const bool isP192 = std::string(text.begin(), text.end()).find("prime192") != std::string::npos;
    return PlainOfDer(signature, isP192 ? 24 : 32);
}
