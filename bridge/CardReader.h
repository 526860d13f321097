// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_CARDREADER_H
#define ORSEL_BRIDGE_CARDREADER_H

#include <memory>
#include <string>

#include "tokenlib/Hex.h"

namespace orselbridge {

using tokenlib::Bytes;

/// The card in a reader of the PC/SC service, beside the module that uses the same reader. The
/// service's library is loaded when it is first needed, so a machine without it lacks nothing else.
class CardReader {
public:
    /// Connects to the card in the reader of this name, shared with everybody else. A slot's
    /// description has room for the first 64 characters of the name. Throws Refusal: with
    /// CKR_FUNCTION_NOT_SUPPORTED when there is no service or no such reader, with
    /// CKR_TOKEN_NOT_PRESENT when there is no card in it.
    explicit CardReader(const std::string& slotDescription);
    ~CardReader();
    CardReader(const CardReader&) = delete; // one connection, one owner
    CardReader& operator=(const CardReader&) = delete;

    /// The card's answer to reset.
    Bytes Atr() const;

    /// Resets the card.
    void Reset();

    /// Sends a command; the response ends in its two status bytes. What the older protocol asks to
    /// be fetched or repeated is fetched and repeated. Throws Refusal.
    Bytes Transmit(const Bytes& apdu) const;

private:
    struct Connection;
    Bytes TransmitOnce(const Bytes& apdu) const;

    std::unique_ptr<Connection> m_Connection;
};

} // namespace orselbridge

#endif
