// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_PRIVATEETC_H
#define ORSEL_TESTS_SUPPORT_PRIVATEETC_H

#include <string>

/// What every reason begins with for which a test goes without a private "/etc": scripts count by these
/// words.
inline constexpr const char* NO_PRIVATE_ETC = "no private /etc here: ";

/// "/etc" as this process and its children alone see it, in a mount namespace: for root in a plain one,
/// for anybody else in a user namespace, which gives the process no more rights than it had.
///
/// Each function gives an empty text on success and otherwise the reason, as a whole sentence for a skipped
/// test. None of them ever changes anything below the machine's own "/etc". A process that enters has one
/// thread.
namespace privateetc {

/// An empty "/etc" that the process may write to.
std::string EnterEmpty();

/// The machine's own "/etc", but with the folder "velmor" in place of "/etc/velmor". `folder` is a folder of
/// the caller's, in which an empty one is made and left behind.
std::string EnterWith(const std::string& velmor, const std::string& folder);

/// The machine's own "/etc", which can only be read.
std::string EnterReadOnly();

/// Why the others would fail, as far as a child process finds out by trying; the child is gone afterwards.
std::string Obstacle();

} // namespace privateetc

#endif
