// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_PINRECORD_H
#define ORSEL_SIMULATOR_STORE_PINRECORD_H

#include <optional>
#include <string>

#include "simulator/store/Hex.h"

namespace orselsim {

/// A PIN or PUK as a card keeps it: never the digits, a salted hash of them.
struct HashedSecret {
    Bytes salt;
    Bytes hash;

    static HashedSecret of(const std::string& secret);
    bool matches(const std::string& secret) const;
};

/// A secret with its retry counter.
struct CountedSecret {
    std::optional<HashedSecret> secret; ///< nothing: not set yet
    unsigned triesLeft = 3;
    unsigned maxTries = 3;

    bool isBlocked() const { return triesLeft == 0; }

    /// Compares and counts: a match restores the tries, a mismatch costs one. A blocked or unset
    /// secret matches nothing and counts nothing.
    bool check(const std::string& candidate);
};

/// One PIN of a card.
struct PinRecord {
    CountedSecret pin;
    std::optional<CountedSecret> puk; ///< nothing: this PIN cannot be unblocked
    unsigned minLength = 4;
    unsigned maxLength = 12;

    bool isInitialised() const { return pin.secret.has_value(); }

    /// Digits only, and as many as the card wants.
    bool accepts(const std::string& candidate) const;

    /// Stores a new PIN and gives back all its tries.
    void set(const std::string& newPin);
};

} // namespace orselsim

#endif
