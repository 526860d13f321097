// SPDX-License-Identifier: MIT
#include "tests/card/FaultMatrix.h"

#include <utility>

void MatrixContext::GoTo(Stage stage) {
    if (stage >= Stage::BOUND && !m_Card) {
        m_Card = std::make_unique<ProbedCard>();
    }
    if (stage >= Stage::LISTED) {
        std::vector<Velmor::SlotStruct*> slots;
        m_Card->GetSlots(slots);
    }
    if (stage >= Stage::SESSION) {
        m_Card->OpenSession(0, false);
        m_Card->LoadCardType();
    }
}

void MatrixContext::LetGo() {
    if (m_Card) {
        m_Card->Destroy();
    }
    m_Card.reset();
}

MatrixOperation& MatrixOperation::On(const std::string& cardKind) {
    m_Kind = cardKind;
    return *this;
}

MatrixOperation& MatrixOperation::From(Stage start) {
    m_Stage = start;
    m_SessionsWhenGood = m_SessionsWhenBad = start == Stage::SESSION ? 1 : 0;
    return *this;
}

MatrixOperation& MatrixOperation::Asking(const std::vector<std::string>& answers) {
    m_Pins = answers;
    return *this;
}

MatrixOperation& MatrixOperation::Gives(const std::string& whenGood, const std::string& whenBad) {
    m_Good = whenGood;
    m_Bad = whenBad;
    return *this;
}

MatrixOperation& MatrixOperation::But(const std::map<std::string, std::string>& rows) {
    m_Otherwise.insert(rows.begin(), rows.end());
    return *this;
}

MatrixOperation& MatrixOperation::LeavesSessions(size_t whenGood, size_t whenBad) {
    m_SessionsWhenGood = whenGood;
    m_SessionsWhenBad = whenBad;
    return *this;
}

MatrixOperation& MatrixOperation::After(std::function<void(MatrixContext&)> preparation) {
    m_Prepare = std::move(preparation);
    return *this;
}

MatrixOperation& MatrixOperation::Runs(std::function<std::string(MatrixContext&)> operation) {
    m_Run = std::move(operation);
    return *this;
}

const std::vector<MatrixOperation>& MatrixOperations() {
    static const MatrixTable table = [] {
        MatrixTable whole;
        AddCardOperations(whole);
        AddObjectOperations(whole);
        return whole;
    }();
    return table.Operations();
}
