// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_SESSIONGUARD_H
#define ORSEL_CARD_SESSIONGUARD_H

#include "card/tkPKCS11.h"

namespace Velmor {

/// Closes the session of a card object on every way out of a scope.
class SessionGuard {
public:
    /// Takes over what an open has come to: nothing is closed where it failed. The card outlives the guard;
    /// it may be null where nothing was opened.
    SessionGuard(tkPKCS11* card, bool isOpen) : m_Card(isOpen ? card : nullptr) {}
    ~SessionGuard() { Close(); }

    SessionGuard(const SessionGuard&) = delete;
    SessionGuard& operator=(const SessionGuard&) = delete;

    bool IsOpen() const { return m_Card != nullptr; }

    /// Closes it now, for what must not happen with the session open.
    void Close() {
        if (m_Card != nullptr) {
            m_Card->CloseSession();
        }
        m_Card = nullptr;
    }

    /// Leaves the session to the caller.
    void Keep() { m_Card = nullptr; }

private:
    tkPKCS11* m_Card;
};

} // namespace Velmor

#endif
