// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_BRIDGE_BRIDGETEST_H
#define ORSEL_TESTS_BRIDGE_BRIDGETEST_H

#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/bridge/SoftHsm.h"
#include "tests/simulator/token/TokenLibrary.h"

namespace orseltest {

/// The bridge to tokens of SoftHSM, with a session on the first.
class BridgeTest : public testing::Test {
protected:
    /// Loads the bridge and opens a session on the token of this label.
    void Start(const std::string& label = "Maria Muster");

    CK_SLOT_ID SlotOf(const std::string& label) const;

    Rv SignInit(const std::string& label, CK_MECHANISM_TYPE mechanism) const;
    Rv FinishSign(Bytes& signature, CK_ULONG room = 1024) const;
    /// Both calls, over thirty-two bytes.
    Rv Sign(const std::string& label, CK_MECHANISM_TYPE mechanism, Bytes& signature) const;
    Rv Verify(const std::string& label, CK_MECHANISM_TYPE mechanism, const Bytes& signature) const;

    /// Writes a command attribute on the signature key.
    Rv Command(CK_ATTRIBUTE_TYPE type) const;

    /// How often a function was called; the trace holds every call of the bridge.
    std::size_t CallsOf(const std::string& text) const;

    const Bytes m_Data = Bytes(32, 0x5A);
    SoftHsm m_Hsm;
    std::optional<TokenLibrary> m_Bridge;
    CK_SESSION_HANDLE m_Session = 0;
};

} // namespace orseltest

#endif
