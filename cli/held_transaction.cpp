#include "cli/held_transaction.h"

namespace CQXCLI {

void HeldTransaction::Open(std::size_t line) {
    Drop();
    line_ = line;
    open_ = true;
}

void HeldTransaction::Add(const Statement& statement) {
    CQXDB::QXCommand command;
    command.SetTextUtf8(statement.text);
    list_.Add(std::move(command));
    lines_.push_back(statement.line);
}

void HeldTransaction::Drop() {
    list_.RemoveAll();
    lines_.clear();
    open_ = false;
}

Answer HeldTransaction::Run(Session& session, CQXDB::QXRsList& results) {
    open_ = false;
    return list_.Empty() ? Answer() : session.Batch(list_, results);
}

Statement HeldTransaction::Failed(const BatchError& error) const {
    Statement failed;
    failed.line = line_;
    if (error.index < list_.Count()) {
        failed.text = list_.At(error.index).TextUtf8();
        failed.line = lines_[error.index];
    }
    return failed;
}

}  // namespace CQXCLI
