// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_DOCTOR_H
#define ORSEL_CLI_DOCTOR_H

#include "cli/Reason.h"

#include <string>
#include <vector>

namespace orselcli {

/// How one thing is. Only a failure keeps cards from being used.
enum class Health { GOOD, WARNING, FAILURE };

/// One thing that was looked at.
struct Finding {
    const char* m_Id; ///< stable name in JSON
    Health m_Health = Health::GOOD;
    std::string m_Text;
    std::string m_Next; ///< what to do about it; empty when nothing is wrong
};

using Findings = std::vector<Finding>;

/// The token library, its entry points, the readers and the cards in them.
void ExamineLibrary(Findings& findings);

/// The programs beside it, the configuration, the language and the rights on files.
void ExamineSystem(Findings& findings);

} // namespace orselcli

#endif
