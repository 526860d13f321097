// SPDX-License-Identifier: MIT
// Every operation of the card class with every call that it makes going wrong in every way: what the stated
// result is stands in a table, which calls there are is found out by a run without faults.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "tests/card/FaultMatrix.h"
#include "tests/support/FaultCases.h"

using orseltest::CardCall;
using orseltest::CardFault;
using orseltest::TraceRecord;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAreArray;

namespace {

/// The number behind the name of a return code; CKR_OK for an effect that is none.
CK_RV NumberOf(const std::string& effect) {
    static const std::map<std::string, CK_RV> numbers = {
        {"CKR_DEVICE_REMOVED", CKR_DEVICE_REMOVED},
        {"CKR_DEVICE_ERROR", CKR_DEVICE_ERROR},
        {"CKR_GENERAL_ERROR", CKR_GENERAL_ERROR},
        {"CKR_SESSION_HANDLE_INVALID", CKR_SESSION_HANDLE_INVALID},
        {"CKR_BUFFER_TOO_SMALL", CKR_BUFFER_TOO_SMALL},
        {"CKR_FUNCTION_NOT_SUPPORTED", CKR_FUNCTION_NOT_SUPPORTED},
    };
    const auto row = numbers.find(effect);
    return row != numbers.end() ? row->second : CKR_OK;
}

std::string Replaced(std::string text, const std::string& placeholder, CK_RV rv) {
    std::ostringstream code;
    code << std::hex << rv;
    const size_t position = text.find(placeholder);
    return position == std::string::npos ? text : text.replace(position, placeholder.size(), code.str());
}

std::string ExpectedResult(const MatrixOperation& operation, const CardFault& fault) {
    return Replaced(fault.LookUp(operation.m_Otherwise, operation.m_Bad), "{rv}", NumberOf(fault.m_Effect));
}

bool IsClosing(const CardCall& call) {
    return call.m_Function == "C_CloseSession";
}

/// Runs one operation again and again over the same card.
class MatrixRunner {
public:
    explicit MatrixRunner(const MatrixOperation& operation) : m_Operation(operation) {
        orseltest::SimDeck& deck = m_Context.m_Deck;
        m_Context.m_CardName =
            deck.Add(operation.m_Kind, orseltest::CardOptions().Serial(m_Context.m_Serial));
        if (operation.m_Prepare) {
            operation.m_Prepare(m_Context);
            m_Context.LetGo();
        }
        deck.AnswerPins(operation.m_Pins);
        m_Pristine = deck.Read(m_Context.m_CardName);
    }

    /// The calls of a run without faults, which has to end well.
    std::vector<CardCall> FindCalls() {
        const std::string result = Run();
        EXPECT_EQ(result, m_Operation.m_Good);
        EXPECT_EQ(SessionsLeftOpen(), m_Operation.m_SessionsWhenGood);
        return orseltest::CallsOfCommand(TraceOfRun(), m_CallsBefore);
    }

    void ExpectStatedResult(const CardFault& fault) {
        SCOPED_TRACE(fault.GetLine());
        m_Context.m_Deck.PlanFaults({fault.GetLine()});
        ExpectResult(Run(), ExpectedResult(m_Operation, fault));
        if (NumberOf(fault.m_Effect) != CKR_OK) { // else the trace does not show whether the fault was met
            EXPECT_EQ(ResultOf(fault.m_Call), fault.m_Effect);
        }
    }

    /// The same when the session cannot be closed either: what failed first decides.
    void ExpectStatedResult(const CardFault& fault, const CardFault& ofClosing) {
        SCOPED_TRACE(fault.GetLine() + ", " + ofClosing.GetLine());
        m_Context.m_Deck.PlanFaults({fault.GetLine(), "C_CloseSession rv=" + ofClosing.m_Effect});
        const std::string alone = ExpectedResult(m_Operation, fault);
        const std::string result = Run();
        const bool isClosed = !m_Context.m_Deck.GetTrace("C_CloseSession").empty();
        ExpectResult(result, alone == m_Operation.m_Good && isClosed ? ExpectedResult(m_Operation, ofClosing)
                                                                     : alone);
    }

private:
    void ExpectResult(const std::string& result, const std::string& expected) const {
        EXPECT_EQ(result, expected);
        EXPECT_EQ(SessionsLeftOpen(), expected == m_Operation.m_Good ? m_Operation.m_SessionsWhenGood
                                                                     : m_Operation.m_SessionsWhenBad);
    }

    /// One run from the beginning, up to the library's being let go.
    std::string Run() {
        m_Context.m_Deck.Change(m_Context.m_CardName, [this](orselsim::Card& card) { card = m_Pristine; });
        m_Context.m_Deck.ClearTrace();
        m_Context.GoTo(m_Operation.m_Stage);
        m_CallsBefore = m_Context.m_Deck.GetTrace().size();
        std::string result = m_Operation.m_Run(m_Context);
        m_CallsInAll = m_Context.m_Deck.GetTrace().size();
        m_Context.LetGo();
        return result;
    }

    /// Of the last run, without the library's being let go.
    std::vector<TraceRecord> TraceOfRun() const {
        std::vector<TraceRecord> trace = m_Context.m_Deck.GetTrace();
        trace.resize(m_CallsInAll);
        return trace;
    }

    size_t SessionsLeftOpen() const { return orseltest::SessionsNobodyClosed(TraceOfRun()).size(); }

    std::string ResultOf(const CardCall& call) const {
        const std::vector<TraceRecord> calls = m_Context.m_Deck.GetTrace(call.m_Function);
        return calls.size() >= call.m_NumberInTotal ? calls[call.m_NumberInTotal - 1].m_Result : "not called";
    }

    const MatrixOperation& m_Operation;
    MatrixContext m_Context;
    orselsim::Card m_Pristine;
    size_t m_CallsBefore = 0;
    size_t m_CallsInAll = 0;
};

class FaultMatrix : public testing::TestWithParam<MatrixOperation> {
protected:
    static void TearDownTestSuite() { std::cout << "fault matrix: " << m_Cases << " cases in all\n"; }

    static size_t m_Cases;
};

size_t FaultMatrix::m_Cases = 0;

} // namespace

TEST_P(FaultMatrix, GivesTheStatedResult) {
    const MatrixOperation& operation = GetParam();
    MatrixRunner runner(operation);
    const std::vector<CardCall> calls = runner.FindCalls();
    ASSERT_THAT(calls, Not(IsEmpty()));
    const auto closing = std::find_if(calls.begin(), calls.end(), IsClosing);
    size_t cases = 0;
    size_t pairs = 0;
    for (const CardCall& call : calls) {
        for (const CardFault& fault : orseltest::FaultsOf(call)) {
            runner.ExpectStatedResult(fault);
            ++cases;
            if (closing != calls.end() && !IsClosing(call)) {
                runner.ExpectStatedResult(fault, {*closing, "CKR_DEVICE_REMOVED"});
                ++pairs;
            }
        }
    }
    std::cout << operation.m_Name << ": " << calls.size() << " calls, " << cases << " cases, " << pairs
              << " with a close that fails too\n";
    m_Cases += cases + pairs;
}

INSTANTIATE_TEST_SUITE_P(Of, FaultMatrix, testing::ValuesIn(MatrixOperations()),
                         [](const testing::TestParamInfo<MatrixOperation>& operation) {
                             return operation.param.m_Name;
                         });

TEST(TheFaultMatrix, MeetsEveryEntryPointThatTheCardClassCalls) {
    std::set<std::string> met;
    for (const MatrixOperation& operation : MatrixOperations()) {
        for (const CardCall& call : MatrixRunner(operation).FindCalls()) {
            met.insert(call.m_Function);
        }
    }
    const char* const called[] = {
        "C_Initialize",
        "C_Finalize",
        "C_GetInfo",
        "C_GetSlotList",
        "C_GetSlotInfo",
        "C_GetTokenInfo",
        "C_OpenSession",
        "C_CloseSession",
        "C_Login",
        "C_Logout",
        "C_FindObjectsInit",
        "C_FindObjects",
        "C_FindObjectsFinal",
        "C_GetAttributeValue",
        "C_SignInit",
        "C_SetAttributeValue",
        "C_Sign",
        "C_VerifyInit",
        "C_Verify",
        "C_CardTransmit",
        "C_CardAttribute",
    };
    EXPECT_THAT(met, UnorderedElementsAreArray(called));
}
