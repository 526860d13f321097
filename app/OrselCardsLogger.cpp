// SPDX-License-Identifier: MIT
#include "app/OrselCardsLogger.h"

#include "foundation/Logging.h"

int OrselCardsLogger::m_Id = -1;

Velmor::LibLogging* OrselCardsLogger::GetHandle() {
    if (m_Id == -1) {
        m_Id = static_cast<int>(Velmor::LibLogging::Register());
    }
    return Velmor::LibLogging::GetHandle(static_cast<unsigned int>(m_Id));
}
