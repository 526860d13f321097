// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_REFRESHCALLS_H
#define ORSEL_TESTS_SUPPORT_REFRESHCALLS_H

#include <string>
#include <vector>

#include "tests/support/SimDeck.h"

namespace orseltest {

/// What one refresh of the card list asks of the token library, as "function" or "function slot". A card
/// without an encryption certificate is searched and not read.
std::vector<std::string> CallsOfOneRefresh(const std::vector<std::string>& slots,
                                           const std::vector<std::string>& slotsWithoutCertificate = {});

/// A trace in the same words.
std::vector<std::string> CallsIn(const std::vector<TraceRecord>& trace);

} // namespace orseltest

#endif
