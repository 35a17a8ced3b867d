#include "cli/script/held_transaction.h"

namespace CQXCLI::script {

void HeldTransaction::Open(std::size_t line) {
    Drop();
    line_ = line;
    state_ = State::Open;
}

void HeldTransaction::Add(const Statement& statement) {
    if (Failed()) {
        return;
    }
    CQXDB::QXCommand command;
    command.SetTextUtf8(statement.text);
    list_.Add(std::move(command));
    lines_.push_back(statement.line);
}

void HeldTransaction::Fail() {
    if (Open()) {
        Drop();
        state_ = State::Failed;
    }
}

void HeldTransaction::Drop() {
    list_.RemoveAll();
    lines_.clear();
    state_ = State::Closed;
}

Answer HeldTransaction::Run(Session& session, CQXDB::QXRsList& results) {
    state_ = State::Closed;
    return list_.Empty() ? Answer() : session.Batch(list_, results);
}

Statement HeldTransaction::Culprit(const BatchError& error) const {
    Statement culprit;
    culprit.line = line_;
    if (error.index < list_.Count()) {
        culprit.text = list_.At(error.index).TextUtf8();
        culprit.line = lines_[error.index];
    }
    return culprit;
}

}  // namespace CQXCLI::script
