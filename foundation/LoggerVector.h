// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_LOGGERVECTOR_H
#define ORSEL_FOUNDATION_LOGGERVECTOR_H

#include <vector>

#include "foundation/Mutex.h"

namespace Velmor {

class LibLogging;

/// The registry of loggers: the index is the logger's id, a null slot an id without a logger.
class LoggerVector : public std::vector<LibLogging*> {
public:
    /// The one instance, made at the first call and never freed, so that loggers outlive static objects.
    static LoggerVector& vector();

private:
    LoggerVector() = default;
};

/// Guards the registry. Taken before a logger's own lock, never after it.
extern Mutex mutexCreateLibLogging;

} // namespace Velmor

#endif
