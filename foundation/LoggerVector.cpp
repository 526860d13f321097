// SPDX-License-Identifier: MIT
#include "foundation/LoggerVector.h"

namespace Velmor {

Mutex mutexCreateLibLogging;

LoggerVector& LoggerVector::vector() {
    static LoggerVector* const instance = new LoggerVector;
    return *instance;
}

} // namespace Velmor
