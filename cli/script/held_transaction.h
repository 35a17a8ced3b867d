// The statements between BEGIN and COMMIT, held back to run as one transaction.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <qxdb/QXRsList.h>

#include "cli/batch_error.h"
#include "cli/script/statement_splitter.h"
#include "cli/session.h"

namespace CQXCLI::script {

class HeldTransaction {
  public:
    bool Open() const noexcept { return state_ != State::Closed; }
    /// True for one that stays open until its end in the script but may not run any more, since
    /// something that belongs to it can't be done.
    bool Failed() const noexcept { return state_ == State::Failed; }
    /// `line`: where the transaction begins in its script.
    void Open(std::size_t line);
    /// Takes another statement; a failed transaction lets it fall.
    void Add(const Statement& statement);
    /// Makes an open transaction a failed one.
    void Fail();
    std::size_t Count() const noexcept { return list_.Count(); }
    std::size_t Line() const noexcept { return line_; }
    /// Drops what is held and closes.
    void Drop();

    /// Runs all statements as one transaction and closes. Not for a failed one.
    Answer Run(Session& session, CQXDB::QXRsList& results);
    /// The statement that made Run fail, as far as the error tells; without a text and at the
    /// transaction's own line when it doesn't.
    Statement Culprit(const BatchError& error) const;

  private:
    enum class State { Closed, Open, Failed };

    CQXDB::QXCommandList list_;
    std::vector<std::size_t> lines_;  ///< of each command
    std::size_t line_ = 1;
    State state_ = State::Closed;
};

}  // namespace CQXCLI::script
