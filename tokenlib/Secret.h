// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_SECRET_H
#define ORSEL_TOKENLIB_SECRET_H

#include <string>

#include <openssl/crypto.h>

namespace tokenlib {

/// A PIN on its way from the user to the card. Its memory is wiped when it goes.
class Secret {
public:
    explicit Secret(std::string text) {
        m_Text.swap(text);
        Wipe(text);
    }
    Secret(Secret&& other) noexcept { m_Text.swap(other.m_Text); }
    Secret& operator=(Secret&& other) noexcept {
        m_Text.swap(other.m_Text); // the old text is wiped with the other one
        return *this;
    }
    ~Secret() { Wipe(m_Text); }
    Secret(const Secret&) = delete; // there is one of it
    Secret& operator=(const Secret&) = delete;

    const std::string& Text() const { return m_Text; }

private:
    /// All its room: a short text lies in the object itself, and most of it stays there when it is moved
    /// away.
    static void Wipe(std::string& text) {
        text.resize(text.capacity());
        OPENSSL_cleanse(text.data(), text.size());
    }

    std::string m_Text;
};

} // namespace tokenlib

#endif
