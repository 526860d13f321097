// SPDX-License-Identifier: MIT
#include <algorithm>

#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/Doctor.h"
#include "cli/Interruption.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t MARK_INDENT = 4;

const char* NameOf(Health health) {
    return health == Health::GOOD ? "good" : health == Health::WARNING ? "warning" : "failure";
}

std::string InWords(Health health) {
    return health == Health::GOOD ? Tr("good") : health == Health::WARNING ? Tr("warning") : Tr("failure");
}

/// The states stand below each other, whatever the language.
std::string Mark(Health health, const Console& console) {
    size_t widest = 0;
    for (const Health each : {Health::GOOD, Health::WARNING, Health::FAILURE}) {
        widest = std::max(widest, ColumnsOf(InWords(each)));
    }
    const std::string word = InWords(health);
    const std::string text = word + std::string(widest - ColumnsOf(word) + 2, ' ');
    return health == Health::GOOD ? text : console.Warning(text);
}

void PrintFindings(const Findings& findings, const Request& request, Console& console) {
    for (const Finding& finding : findings) {
        if (request.m_Quiet && finding.m_Health == Health::GOOD) {
            continue;
        }
        console.Print(Mark(finding.m_Health, console) + finding.m_Text + "\n");
        if (!finding.m_Next.empty()) {
            console.Print(std::string(MARK_INDENT, ' ') + finding.m_Next + "\n");
        }
    }
}

void PrintFindingsAsJson(const Findings& findings, bool isUsable, Console& console) {
    Json checks = Json::array();
    for (const Finding& finding : findings) {
        checks.push_back({{"check", finding.m_Id},
                          {"state", NameOf(finding.m_Health)},
                          {"text", finding.m_Text},
                          {"next", finding.m_Next}});
    }
    console.PrintJson({{"usable", isUsable}, {"checks", checks}});
}

} // namespace

Outcome RunDoctor(const Request& request, Console& console) {
    Findings findings;
    ExamineLibrary(findings);
    ExamineSystem(findings);
    if (Interruption::HasCome()) {
        return FailureOf();
    }
    const auto isFailure = [](const Finding& finding) { return finding.m_Health == Health::FAILURE; };
    const bool isUsable = std::none_of(findings.begin(), findings.end(), isFailure);
    if (request.m_Json) {
        PrintFindingsAsJson(findings, isUsable, console);
    } else {
        PrintFindings(findings, request, console);
    }
    if (isUsable) {
        return {};
    }
    const bool hasLibrary = findings.front().m_Health != Health::FAILURE;
    return hasLibrary ? Reason::UNHEALTHY : Reason::NO_LIBRARY_FOUND;
}

} // namespace orselcli
