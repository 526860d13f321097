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
    std::string function;
    size_t number;        ///< among the calls of this function within the operation, from 1
    size_t numberInTotal; ///< among those since the library was loaded
};

struct MatrixFault {
    MatrixCall call;
    std::string effect; ///< name of a return code, or ABSURD_LENGTH
    CK_RV rv = CKR_OK;

    std::string Line() const {
        const std::string what = effect == ABSURD_LENGTH ? "length=1000000" : "rv=" + effect;
        return call.function + " call=" + std::to_string(call.numberInTotal) + " " + what;
    }
};

std::string Replaced(std::string text, const std::string& placeholder, CK_RV rv) {
    std::ostringstream code;
    code << std::hex << rv;
    const size_t position = text.find(placeholder);
    return position == std::string::npos ? text : text.replace(position, placeholder.size(), code.str());
}

std::string ExpectedResult(const MatrixOperation& operation, const MatrixFault& fault) {
    const std::string numbered = fault.call.function + "#" + std::to_string(fault.call.number);
    for (const std::string& key : {numbered + " " + fault.effect, numbered,
                                   fault.call.function + " " + fault.effect, fault.call.function}) {
        const auto row = operation.otherwise.find(key);
        if (row != operation.otherwise.end())
            return Replaced(row->second, "{rv}", fault.rv);
    }
    return operation.bad;
}

/// Runs one operation again and again over the same card.
class MatrixRunner {
public:
    explicit MatrixRunner(const MatrixOperation& operation) : m_operation(operation) {
        orseltest::SimDeck& deck = m_context.deck;
        m_context.cardName = deck.add(operation.kind, orseltest::CardOptions().serial(m_context.serial));
        if (operation.prepare) {
            operation.prepare(m_context);
            LetGo();
        }
        deck.answerPins(operation.pins);
        m_pristine = deck.read(m_context.cardName);
    }

    /// The calls of a run without faults, which has to end well.
    std::vector<MatrixCall> FindCalls() {
        const std::string result = Run();
        EXPECT_EQ(result, m_operation.good);
        EXPECT_EQ(SessionsLeftOpen(), m_operation.sessionsWhenGood);
        std::vector<MatrixCall> calls;
        std::map<std::string, size_t> total;
        const std::vector<TraceRecord> trace = m_context.deck.trace();
        for (size_t i = 0; i < m_callsInAll; ++i) {
            const std::string& function = trace[i].function;
            ++total[function];
            if (i >= m_callsBefore)
                calls.push_back({function, total[function] - m_callsOfStage[function], total[function]});
            else
                ++m_callsOfStage[function];
        }
        return calls;
    }

    void ExpectStatedResult(const MatrixFault& fault) {
        SCOPED_TRACE(fault.Line());
        m_context.deck.planFaults({fault.Line()});
        const std::string result = Run();
        const std::string expected = ExpectedResult(m_operation, fault);
        EXPECT_EQ(result, expected);
        EXPECT_EQ(SessionsLeftOpen(),
                  expected == m_operation.good ? m_operation.sessionsWhenGood : m_operation.sessionsWhenBad);
        if (fault.rv != CKR_OK) { // else the trace does not show whether the fault was met
            EXPECT_EQ(ResultOf(fault.call), fault.effect);
        }
    }

private:
    /// One run from the beginning, up to the library's being let go.
    std::string Run() {
        m_context.deck.change(m_context.cardName, [this](orselsim::Card& card) { card = m_pristine; });
        m_context.deck.clearTrace();
        Prepare(m_operation.stage);
        m_callsBefore = m_context.deck.trace().size();
        std::string result = m_operation.run(m_context);
        m_callsInAll = m_context.deck.trace().size();
        LetGo();
        return result;
    }

    void Prepare(Stage stage) {
        if (stage >= Stage::Bound)
            m_context.card = std::make_unique<ProbedCard>();
        if (stage >= Stage::Listed) {
            std::vector<Velmor::SlotStruct*> slots;
            m_context.card->GetSlots(slots);
        }
        if (stage >= Stage::Session) {
            m_context.card->OpenSession(0, false);
            m_context.card->LoadCardType();
        }
    }

    void LetGo() {
        if (m_context.card)
            m_context.card->Destroy();
        m_context.card.reset();
    }

    /// Sessions that were opened and that nobody tried to close, whatever came of the try.
    size_t SessionsLeftOpen() const {
        size_t open = 0;
        const std::vector<TraceRecord> trace = m_context.deck.trace();
        for (size_t i = 0; i < m_callsInAll; ++i) {
            open += trace[i].function == "C_OpenSession" && trace[i].result == "CKR_OK" ? 1 : 0;
            open -= trace[i].function == "C_CloseSession" ? 1 : 0;
        }
        return open;
    }

    std::string ResultOf(const MatrixCall& call) const {
        const std::vector<TraceRecord> calls = m_context.deck.trace(call.function);
        return calls.size() >= call.numberInTotal ? calls[call.numberInTotal - 1].result : "not called";
    }

    const MatrixOperation& m_operation;
    MatrixContext m_context;
    orselsim::Card m_pristine;
    size_t m_callsBefore = 0;
    size_t m_callsInAll = 0;
    std::map<std::string, size_t> m_callsOfStage;
};

std::vector<MatrixFault> FaultsOf(const MatrixCall& call) {
    std::vector<MatrixFault> faults;
    for (const auto& [name, rv] : RETURN_CODES)
        faults.push_back({call, name, rv});
    if (REPORTING.count(call.function) != 0)
        faults.push_back({call, ABSURD_LENGTH});
    return faults;
}

class FaultMatrix : public testing::TestWithParam<MatrixOperation> {
protected:
    static void TearDownTestSuite() { std::cout << "fault matrix: " << g_cases << " cases in all\n"; }

    static size_t g_cases;
};

size_t FaultMatrix::g_cases = 0;

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
    std::cout << operation.name << ": " << calls.size() << " calls, " << cases << " cases\n";
    g_cases += cases;
}

INSTANTIATE_TEST_SUITE_P(Of, FaultMatrix, testing::ValuesIn(MatrixOperations()),
                         [](const testing::TestParamInfo<MatrixOperation>& operation) {
                             return operation.param.name;
                         });

TEST(TheFaultMatrix, MeetsEveryEntryPointThatTheCardClassCalls) {
    std::set<std::string> met;
    for (const MatrixOperation& operation : MatrixOperations()) {
        for (const MatrixCall& call : MatrixRunner(operation).FindCalls())
            met.insert(call.function);
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
