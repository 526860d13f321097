// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SIMULATOR_TOKEN_CARDTEST_H
#define ORSEL_TESTS_SIMULATOR_TOKEN_CARDTEST_H

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

namespace orseltest {

/// One card in a reader with a session on it.
class CardTest : public testing::Test {
protected:
    /// Puts the card in and starts the library.
    void putIn(const std::string& kind, const CardOptions& options = CardOptions());

    CK_OBJECT_HANDLE privateKey(const std::string& label) const;
    CK_OBJECT_HANDLE publicKey(const std::string& label) const;
    CK_OBJECT_HANDLE data(const std::string& label) const;
    CK_OBJECT_HANDLE certificate(const std::string& label) const;

    Rv signInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const;
    Rv verifyInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const;

    /// The second call alone, with as much room as any signature needs.
    Rv finishSign(const Bytes& input, Bytes& signature) const;

    /// Both calls.
    Rv sign(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input, Bytes& signature) const;
    Rv verify(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input,
              const Bytes& signature) const;

    /// A login with a PIN in the call, and one for which the library asks.
    Rv login(const std::string& pin, CK_USER_TYPE user = CKU_USER) const;
    Rv loginByDialog(CK_USER_TYPE user = CKU_USER) const;

    Rv write(CK_OBJECT_HANDLE object, std::vector<CK_ATTRIBUTE> attributes) const;

    /// A command attribute with a flag, and the wish for a software PIN behind it.
    Rv command(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type, bool value = false,
               bool softwarePin = false) const;

    SimDeck deck;
    std::string card;
    std::optional<TokenLibrary> library;
    CK_SESSION_HANDLE session = 0;
};

} // namespace orseltest

#endif
