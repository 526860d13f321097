// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_SECRET_H
#define ORSEL_TOKENLIB_SECRET_H

#include <string>
#include <utility>

#include <openssl/crypto.h>

namespace tokenlib {

/// A PIN on its way from the user to the card. Its memory is wiped when it goes.
class Secret {
public:
    explicit Secret(std::string text) : m_Text(std::move(text)) {}
    Secret(Secret&& other) noexcept { m_Text.swap(other.m_Text); }
    Secret& operator=(Secret&& other) noexcept {
        m_Text.swap(other.m_Text); // the old text is wiped with the other one
        return *this;
    }
    ~Secret() { OPENSSL_cleanse(m_Text.data(), m_Text.size()); }
    Secret(const Secret&) = delete; // there is one of it
    Secret& operator=(const Secret&) = delete;

    const std::string& Text() const { return m_Text; }

private:
    std::string m_Text;
};

} // namespace tokenlib

#endif
