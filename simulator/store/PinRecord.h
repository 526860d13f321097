// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_PINRECORD_H
#define ORSEL_SIMULATOR_STORE_PINRECORD_H

#include <optional>
#include <string>

#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"

namespace orselsim {

/// A PIN or PUK as a card keeps it: never the digits, a salted hash of them.
struct HashedSecret {
    Bytes m_Salt;
    Bytes m_Hash;

    static HashedSecret Of(const std::string& secret);
    bool Matches(const std::string& secret) const;
};

/// A secret with its retry counter.
struct CountedSecret {
    std::optional<HashedSecret> m_Secret; ///< nothing: not set yet
    unsigned m_TriesLeft = 3;
    unsigned m_MaxTries = 3;

    bool IsBlocked() const { return m_TriesLeft == 0; }

    /// Compares and counts: a match restores the tries, a mismatch costs one. A blocked or unset
    /// secret matches nothing and counts nothing.
    bool Check(const std::string& candidate);
};

/// One PIN of a card.
struct PinRecord {
    CountedSecret m_Pin;
    std::optional<CountedSecret> m_Puk; ///< nothing: this PIN cannot be unblocked
    unsigned m_MinLength = 4;
    unsigned m_MaxLength = 12;

    bool IsInitialised() const { return m_Pin.m_Secret.has_value(); }

    /// Digits only, and as many as the card wants.
    bool Accepts(const std::string& candidate) const;

    /// Stores a new PIN and gives back all its tries.
    void Set(const std::string& newPin);
};

} // namespace orselsim

#endif
