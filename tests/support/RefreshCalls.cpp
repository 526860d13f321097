// SPDX-License-Identifier: MIT
#include "tests/support/RefreshCalls.h"

#include <algorithm>

namespace orseltest {

std::vector<std::string> CallsOfOneRefresh(const std::vector<std::string>& slots,
                                           const std::vector<std::string>& slotsWithoutCertificate) {
    std::vector<std::string> calls = {"C_GetSlotList", "C_GetSlotList"};
    for (const std::string& slot : slots) {
        calls.push_back("C_GetTokenInfo " + slot);
        calls.push_back("C_GetSlotInfo " + slot);
    }
    for (const std::string& slot : slots) {
        calls.push_back("C_OpenSession " + slot);
        calls.push_back("C_FindObjectsInit " + slot);
        calls.push_back("C_FindObjects " + slot);
        calls.push_back("C_FindObjectsFinal " + slot);
        if (std::count(slotsWithoutCertificate.begin(), slotsWithoutCertificate.end(), slot) == 0) {
            calls.push_back("C_GetAttributeValue " + slot);
        }
        calls.push_back("C_GetSlotList");
        calls.push_back("C_GetSlotList");
        calls.push_back("C_GetTokenInfo " + slot);
        calls.push_back("C_CloseSession " + slot);
    }
    return calls;
}

std::vector<std::string> CallsIn(const std::vector<TraceRecord>& trace) {
    std::vector<std::string> calls;
    for (const TraceRecord& record : trace) {
        calls.push_back(record.m_Function + (record.Value("slot").empty() ? "" : " " + record.Value("slot")));
    }
    return calls;
}

} // namespace orseltest
