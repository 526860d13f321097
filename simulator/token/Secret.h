// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_SECRET_H
#define ORSEL_SIMULATOR_TOKEN_SECRET_H

#include <string>
#include <utility>

#include <openssl/crypto.h>

namespace orselsim {

/// A PIN on its way from the user to the card. Its memory is wiped when it goes.
class Secret {
public:
    explicit Secret(std::string text) : m_text(std::move(text)) {}
    Secret(Secret&& other) noexcept { m_text.swap(other.m_text); }
    Secret& operator=(Secret&& other) noexcept {
        m_text.swap(other.m_text); // the old text is wiped with the other one
        return *this;
    }
    ~Secret() { OPENSSL_cleanse(m_text.data(), m_text.size()); }
    Secret(const Secret&) = delete; // there is one of it
    Secret& operator=(const Secret&) = delete;

    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

} // namespace orselsim

#endif
