// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_REQUEST_H
#define ORSEL_CLI_REQUEST_H

#include <string>
#include <vector>

namespace orselcli {

/// What the command line asks for.
struct Request {
    std::string m_Command;
    std::string m_Card; ///< as written; empty when it was left out
    /// The words behind the card, such as "signature" or "read" and a tag.
    std::vector<std::string> m_Words;

    std::string m_Hash; ///< empty: the one that the card's signature needs
    std::string m_Out;  ///< file; empty: standard output
    std::string m_SignatureFile;
    unsigned m_WaitSeconds = 0;
    bool m_Json = false;
    bool m_Quiet = false;
    bool m_Yes = false;
    bool m_Der = false;
    bool m_Text = false;
    bool m_Base64 = false;
    bool m_Offline = false;
    bool m_Hex = false;
    bool m_Raw = false;

    /// The word at this place behind the card; empty when there is none.
    std::string Word(size_t index) const { return index < m_Words.size() ? m_Words[index] : ""; }
};

} // namespace orselcli

#endif
