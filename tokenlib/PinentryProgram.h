// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_PINENTRYPROGRAM_H
#define ORSEL_TOKENLIB_PINENTRYPROGRAM_H

#include <optional>

#include "tokenlib/PinEntry.h"

namespace tokenlib {

struct PinentryAnswer {
    std::optional<Secret> m_Pin; ///< nothing: cancelled
    bool m_IsRepeated = false;   ///< the program had a new PIN entered twice and found both alike
};

/// Runs the program "pinentry" for one question over the Assuan protocol. Throws Refusal, with a
/// line on standard error, when there is no such program or it fails.
PinentryAnswer RunPinentry(const PinQuestion& question);

} // namespace tokenlib

#endif
