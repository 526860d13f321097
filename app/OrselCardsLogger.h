// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_ORSELCARDSLOGGER_H
#define ORSEL_APP_ORSELCARDSLOGGER_H

namespace Velmor {
class LibLogging;
}

/// The application's logger. It is switched off at the start and nobody switches it on again, so what is
/// logged through it is accepted and goes nowhere.
class OrselCardsLogger {
public:
    /// Registers the logger at the first call; owned by the registry of loggers.
    static Velmor::LibLogging* GetHandle();

private:
    static int m_Id; ///< -1 until registered
};

#endif
