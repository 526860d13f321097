// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_CARD_OPENSSLCOMMAND_H
#define ORSEL_TESTS_CARD_OPENSSLCOMMAND_H

#include <string>
#include <vector>

/// The openssl command: somebody who knows nothing of cards, and signs and verifies with what a card shows.
///
/// A digest is named as the command names it, such as "sha256"; an empty name takes the data as it is. EC
/// signatures have the plain form of tokens, two numbers of the curve's size one behind the other.
class OpenSslCommand {
public:
    using Bytes = std::vector<unsigned char>;

    /// Keeps its files in this folder, which is the caller's to remove.
    explicit OpenSslCommand(const std::string& folder) : m_Folder(folder) {}

    /// Whether the key of this certificate, in DER, has made this signature.
    bool Verifies(const Bytes& certificate, const std::string& digest, const Bytes& data,
                  const Bytes& signature) const;

    /// A signature with this key, in PEM. Empty when the command fails.
    Bytes Sign(const Bytes& key, const std::string& digest, const Bytes& data) const;

private:
    std::string File(const std::string& name) const { return m_Folder + "/openssl-" + name; }
    void Write(const std::string& name, const Bytes& content) const;
    bool Run(const std::string& arguments) const;
    bool IsEcKey(const std::string& options) const;

    std::string m_Folder;
};

#endif
