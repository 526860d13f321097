// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_E2E_ANSWER_H
#define ORSEL_TESTS_E2E_ANSWER_H

#include <string>

namespace desktop {

/// Asks a window whether its program still listens, as window managers do (_NET_WM_PING, Extended Window
/// Manager Hints), and waits until it answers. The question reaches the program behind all that was pressed
/// before. False when there is no such window, or no answer within a minute.
bool WaitForAnswer(const std::string& window);

} // namespace desktop

#endif
