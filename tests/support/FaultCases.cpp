// SPDX-License-Identifier: MIT
#include "tests/support/FaultCases.h"

#include <algorithm>
#include <set>

namespace orseltest {

namespace {

constexpr const char* RETURN_CODES[] = {
    "CKR_DEVICE_REMOVED",         "CKR_DEVICE_ERROR",     "CKR_GENERAL_ERROR",
    "CKR_SESSION_HANDLE_INVALID", "CKR_BUFFER_TOO_SMALL", "CKR_FUNCTION_NOT_SUPPORTED",
};
constexpr const char* LENGTH_BEYOND_REASON = "length";

/// Functions that report a length or a number.
bool ReportsLength(const std::string& function) {
    static const std::set<std::string> reporting = {
        "C_GetSlotList", "C_FindObjects",   "C_GetAttributeValue",
        "C_Sign",        "C_CardAttribute", "C_CardTransmit",
    };
    return reporting.count(function) != 0;
}

} // namespace

std::vector<CardCall> CallsOfCommand(const std::vector<TraceRecord>& trace, size_t before) {
    std::map<std::string, size_t> total;
    std::map<std::string, size_t> earlier;
    std::vector<CardCall> calls;
    for (size_t i = 0; i < trace.size(); ++i) {
        const std::string& function = trace[i].m_Function;
        ++total[function];
        if (i < before) {
            ++earlier[function];
        } else {
            calls.push_back({function, total[function] - earlier[function], total[function], i - before});
        }
    }
    return calls;
}

std::string CardFault::GetLine() const {
    const std::string what =
        m_Effect == LENGTH_BEYOND_REASON ? "length=" + std::to_string(0x7FFFFFFF) : "rv=" + m_Effect;
    return m_Call.m_Function + " call=" + std::to_string(m_Call.m_NumberInTotal) + " " + what;
}

bool CardFault::IsMetIn(const std::vector<TraceRecord>& trace) const {
    if (m_Effect == LENGTH_BEYOND_REASON) {
        return true;
    }
    return std::any_of(trace.begin(), trace.end(), [this](const TraceRecord& record) {
        return record.m_Function == m_Call.m_Function && record.m_Result == m_Effect;
    });
}

std::string CardFault::LookUp(const std::map<std::string, std::string>& table,
                              const std::string& otherwise) const {
    const std::string numbered = m_Call.m_Function + "#" + std::to_string(m_Call.m_Number);
    for (const std::string& key :
         {numbered + " " + m_Effect, numbered, m_Call.m_Function + " " + m_Effect, m_Call.m_Function}) {
        const auto row = table.find(key);
        if (row != table.end()) {
            return row->second;
        }
    }
    return otherwise;
}

std::vector<CardFault> FaultsOf(const CardCall& call) {
    std::vector<CardFault> faults;
    for (const char* code : RETURN_CODES) {
        faults.push_back({call, code});
    }
    if (ReportsLength(call.m_Function)) {
        faults.push_back({call, LENGTH_BEYOND_REASON});
    }
    return faults;
}

std::vector<std::string> SessionsNobodyClosed(const std::vector<TraceRecord>& trace) {
    std::vector<std::string> open;
    for (const TraceRecord& record : trace) {
        const std::string session = record.Value("session");
        if (record.m_Function == "C_OpenSession" && record.m_Result == "CKR_OK") {
            open.push_back(session);
        } else if (record.m_Function == "C_CloseSession") {
            open.erase(std::remove(open.begin(), open.end(), session), open.end());
        }
    }
    return open;
}

} // namespace orseltest
