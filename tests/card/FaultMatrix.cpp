// SPDX-License-Identifier: MIT
#include "tests/card/FaultMatrix.h"

#include <utility>

MatrixOperation& MatrixOperation::On(const std::string& cardKind) {
    kind = cardKind;
    return *this;
}

MatrixOperation& MatrixOperation::From(Stage start) {
    stage = start;
    sessionsWhenGood = sessionsWhenBad = start == Stage::Session ? 1 : 0;
    return *this;
}

MatrixOperation& MatrixOperation::Asking(const std::vector<std::string>& answers) {
    pins = answers;
    return *this;
}

MatrixOperation& MatrixOperation::Gives(const std::string& whenGood, const std::string& whenBad) {
    good = whenGood;
    bad = whenBad;
    return *this;
}

MatrixOperation& MatrixOperation::But(const std::map<std::string, std::string>& rows) {
    otherwise.insert(rows.begin(), rows.end());
    return *this;
}

MatrixOperation& MatrixOperation::LeavesSessions(size_t whenGood, size_t whenBad) {
    sessionsWhenGood = whenGood;
    sessionsWhenBad = whenBad;
    return *this;
}

MatrixOperation& MatrixOperation::After(std::function<void(MatrixContext&)> preparation) {
    prepare = std::move(preparation);
    return *this;
}

MatrixOperation& MatrixOperation::Runs(std::function<std::string(MatrixContext&)> operation) {
    run = std::move(operation);
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
