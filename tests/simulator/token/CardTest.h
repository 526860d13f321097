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
    void PutIn(const std::string& kind, const CardOptions& options = CardOptions());

    CK_OBJECT_HANDLE GetPrivateKey(const std::string& label) const;
    CK_OBJECT_HANDLE PublicKey(const std::string& label) const;
    CK_OBJECT_HANDLE data(const std::string& label) const;
    CK_OBJECT_HANDLE Certificate(const std::string& label) const;

    Rv SignInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const;
    Rv VerifyInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const;

    /// The second call alone, with as much room as any signature needs.
    Rv FinishSign(const Bytes& input, Bytes& signature) const;

    /// Both calls.
    Rv Sign(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input, Bytes& signature) const;
    Rv Verify(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input,
              const Bytes& signature) const;

    /// A login with a PIN in the call, and one for which the library asks.
    Rv LogIn(const std::string& pin, CK_USER_TYPE user = CKU_USER) const;
    Rv LoginByDialog(CK_USER_TYPE user = CKU_USER) const;

    Rv Write(CK_OBJECT_HANDLE object, std::vector<CK_ATTRIBUTE> attributes) const;

    /// A command attribute with a flag, and the wish for a software PIN behind it.
    Rv Command(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type, bool value = false,
               bool softwarePin = false) const;

    SimDeck m_Deck;
    std::string m_Card;
    std::optional<TokenLibrary> m_Library;
    CK_SESSION_HANDLE m_Session = 0;
};

} // namespace orseltest

#endif
