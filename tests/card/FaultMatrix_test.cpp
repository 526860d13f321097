// SPDX-License-Identifier: MIT
// Every operation of the card class with every call that it makes going wrong in every way: what the stated
// result is stands in a table, which calls there are is found out by a run without faults.
#include "card/tkPKCS11.h"

#include <iostream>
#include <set>
#include <sstream>

#include "tests/card/FaultMatrix.h"

using orseltest::TraceRecord;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAreArray;

namespace {

const std::pair<const char*, CK_RV> RETURN_CODES[] = {
    {"CKR_DEVICE_REMOVED", CKR_DEVICE_REMOVED},
    {"CKR_DEVICE_ERROR", CKR_DEVICE_ERROR},
    {"CKR_GENERAL_ERROR", CKR_GENERAL_ERROR},
    {"CKR_SESSION_HANDLE_INVALID", CKR_SESSION_HANDLE_INVALID},
    {"CKR_BUFFER_TOO_SMALL", CKR_BUFFER_TOO_SMALL},
    {"CKR_FUNCTION_NOT_SUPPORTED", CKR_FUNCTION_NOT_SUPPORTED},
};
constexpr const char* ABSURD_LENGTH = "length";

/// Functions that report a length or a number.
const std::set<std::string> REPORTING = {"C_GetSlotList", "C_FindObjects",   "C_GetAttributeValue",
                                         "C_Sign",        "C_CardAttribute", "C_CardTransmit"};

/// One call of an operation.
struct MatrixCall {
    std::string m_Function;
    size_t m_Number;        ///< among the calls of this function within the operation, from 1
    size_t m_NumberInTotal; ///< among those since the library was loaded
};

struct MatrixFault {
    MatrixCall m_Call;
    std::string m_Effect; ///< name of a return code, or ABSURD_LENGTH
    CK_RV m_Rv = CKR_OK;

    std::string Line() const {
        const std::string what = m_Effect == ABSURD_LENGTH ? "length=1000000" : "rv=" + m_Effect;
        return m_Call.m_Function + " call=" + std::to_string(m_Call.m_NumberInTotal) + " " + what;
    }
};

std::string Replaced(std::string text, const std::string& placeholder, CK_RV rv) {
    std::ostringstream code;
    code << std::hex << rv;
    const size_t position = text.find(placeholder);
    return position == std::string::npos ? text : text.replace(position, placeholder.size(), code.str());
}

std::string ExpectedResult(const MatrixOperation& operation, const MatrixFault& fault) {
    const std::string numbered = fault.m_Call.m_Function + "#" + std::to_string(fault.m_Call.m_Number);
    for (const std::string& key : {numbered + " " + fault.m_Effect, numbered,
                                   fault.m_Call.m_Function + " " + fault.m_Effect, fault.m_Call.m_Function}) {
        const auto row = operation.m_Otherwise.find(key);
        if (row != operation.m_Otherwise.end())
            return Replaced(row->second, "{rv}", fault.m_Rv);
    }
    return operation.m_Bad;
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
            LetGo();
        }
        deck.AnswerPins(operation.m_Pins);
        m_Pristine = deck.Read(m_Context.m_CardName);
    }

    /// The calls of a run without faults, which has to end well.
    std::vector<MatrixCall> FindCalls() {
        const std::string result = Run();
        EXPECT_EQ(result, m_Operation.m_Good);
        EXPECT_EQ(SessionsLeftOpen(), m_Operation.m_SessionsWhenGood);
        std::vector<MatrixCall> calls;
        std::map<std::string, size_t> total;
        const std::vector<TraceRecord> trace = m_Context.m_Deck.GetTrace();
        for (size_t i = 0; i < m_CallsInAll; ++i) {
            const std::string& function = trace[i].m_Function;
            ++total[function];
            if (i >= m_CallsBefore)
                calls.push_back({function, total[function] - m_CallsOfStage[function], total[function]});
            else
                ++m_CallsOfStage[function];
        }
        return calls;
    }

    void ExpectStatedResult(const MatrixFault& fault) {
        SCOPED_TRACE(fault.Line());
        m_Context.m_Deck.PlanFaults({fault.Line()});
        const std::string result = Run();
        const std::string expected = ExpectedResult(m_Operation, fault);
        EXPECT_EQ(result, expected);
        EXPECT_EQ(SessionsLeftOpen(), expected == m_Operation.m_Good ? m_Operation.m_SessionsWhenGood
                                                                     : m_Operation.m_SessionsWhenBad);
        if (fault.m_Rv != CKR_OK) { // else the trace does not show whether the fault was met
            EXPECT_EQ(ResultOf(fault.m_Call), fault.m_Effect);
        }
    }

private:
    /// One run from the beginning, up to the library's being let go.
    std::string Run() {
        m_Context.m_Deck.Change(m_Context.m_CardName, [this](orselsim::Card& card) { card = m_Pristine; });
        m_Context.m_Deck.ClearTrace();
        Prepare(m_Operation.m_Stage);
        m_CallsBefore = m_Context.m_Deck.GetTrace().size();
        std::string result = m_Operation.m_Run(m_Context);
        m_CallsInAll = m_Context.m_Deck.GetTrace().size();
        LetGo();
        return result;
    }

    void Prepare(Stage stage) {
        if (stage >= Stage::BOUND)
            m_Context.m_Card = std::make_unique<ProbedCard>();
        if (stage >= Stage::LISTED) {
            std::vector<Velmor::SlotStruct*> slots;
            m_Context.m_Card->GetSlots(slots);
        }
        if (stage >= Stage::SESSION) {
            m_Context.m_Card->OpenSession(0, false);
            m_Context.m_Card->LoadCardType();
        }
    }

    void LetGo() {
        if (m_Context.m_Card)
            m_Context.m_Card->Destroy();
        m_Context.m_Card.reset();
    }

    /// Sessions that were opened and that nobody tried to close, whatever came of the try.
    size_t SessionsLeftOpen() const {
        size_t open = 0;
        const std::vector<TraceRecord> trace = m_Context.m_Deck.GetTrace();
        for (size_t i = 0; i < m_CallsInAll; ++i) {
            open += trace[i].m_Function == "C_OpenSession" && trace[i].m_Result == "CKR_OK" ? 1 : 0;
            open -= trace[i].m_Function == "C_CloseSession" ? 1 : 0;
        }
        return open;
    }

    std::string ResultOf(const MatrixCall& call) const {
        const std::vector<TraceRecord> calls = m_Context.m_Deck.GetTrace(call.m_Function);
        return calls.size() >= call.m_NumberInTotal ? calls[call.m_NumberInTotal - 1].m_Result : "not called";
    }

    const MatrixOperation& m_Operation;
    MatrixContext m_Context;
    orselsim::Card m_Pristine;
    size_t m_CallsBefore = 0;
    size_t m_CallsInAll = 0;
    std::map<std::string, size_t> m_CallsOfStage;
};

std::vector<MatrixFault> FaultsOf(const MatrixCall& call) {
    std::vector<MatrixFault> faults;
    for (const auto& [name, rv] : RETURN_CODES)
        faults.push_back({call, name, rv});
    if (REPORTING.count(call.m_Function) != 0)
        faults.push_back({call, ABSURD_LENGTH});
    return faults;
}

class FaultMatrix : public testing::TestWithParam<MatrixOperation> {
protected:
    static void TearDownTestSuite() { std::cout << "fault matrix: " << g_Cases << " cases in all\n"; }

    static size_t g_Cases;
};

size_t FaultMatrix::g_Cases = 0;

} // namespace

TEST_P(FaultMatrix, GivesTheStatedResult) {
    const MatrixOperation& operation = GetParam();
    MatrixRunner runner(operation);
    const std::vector<MatrixCall> calls = runner.FindCalls();
    ASSERT_THAT(calls, Not(IsEmpty()));
    size_t cases = 0;
    for (const MatrixCall& call : calls) {
        for (const MatrixFault& fault : FaultsOf(call)) {
            runner.ExpectStatedResult(fault);
            ++cases;
        }
    }
    std::cout << operation.m_Name << ": " << calls.size() << " calls, " << cases << " cases\n";
    g_Cases += cases;
}

INSTANTIATE_TEST_SUITE_P(Of, FaultMatrix, testing::ValuesIn(MatrixOperations()),
                         [](const testing::TestParamInfo<MatrixOperation>& operation) {
                             return operation.param.m_Name;
                         });

TEST(TheFaultMatrix, MeetsEveryEntryPointThatTheCardClassCalls) {
    std::set<std::string> met;
    for (const MatrixOperation& operation : MatrixOperations()) {
        for (const MatrixCall& call : MatrixRunner(operation).FindCalls())
            met.insert(call.m_Function);
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
