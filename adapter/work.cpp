#include "adapter/work.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "adapter/cancellable_work.h"
#include "adapter/database_error.h"
#include "adapter/statement_checks.h"
#include "adapter/statement_text.h"
#include "objects/encoding/command_groups.h"

namespace CQXDB::adapter {
namespace {

const std::string& CheckedText(const std::string& text, const SqlDialect& dialect) {
    if (text.find('\0') != std::string::npos) {
        throw DatabaseError(DBMGR_BAD_VALUE, "the statement text holds a NUL character");
    }
    SqlLexer lexer(text, dialect);
    SqlToken token = lexer.Next();
    while (token == SqlToken::Semicolon) {
        token = lexer.Next();
    }
    if (token == SqlToken::End) {
        RefuseEmptyStatement();
    }
    return text;
}

void Query(Statement& statement, const QXCommand& command, const Page& page, QXRecordset& rs) {
    statement.Query(command.Params(), page, rs);
    rs.FillDone();
}

/// The commands of a list, with the statement of each. Commands that share one text, as copies of a
/// command do, share the statement without looking at the text again.
class ListRun {
  public:
    ListRun(Connection& connection, const QXCommandList& list,
            const Cancellation* cancellation) noexcept
        : connection_(connection), list_(list), cancellation_(cancellation) {}

    /// Calls `step` for every command, and tells in an error's text which command it was: the
    /// first that failed, whenever the database tells.
    template <class Step>
    void Each(Step step) {
        std::size_t i = 0;
        try {
            for (; i < list_.Count(); ++i) {
                CancellableWork::Check(cancellation_);
                step(i);
            }
        } catch (const DatabaseError& error) {
            Settle(i);
            ThrowNumbered(error, i + 1);
        }
        Settle(i);
    }

    void Execute(const QXCommand& command, QXCountList& counts) {
        Script(command.TextUtf8()).ExecuteSoon(command.Params(), counts);
    }
    /// Runs all commands out of the columns in which the list has them.
    void ExecuteAll(const encoding::CommandGroups& groups, QXCountList& counts) {
        std::vector<std::size_t> next(groups.Count());  // the row of each group's next command
        Each([&](std::size_t i) {
            const auto index = static_cast<std::size_t>(groups.Order().Int64At(i));
            const encoding::CommandGroup& group = groups.Groups()[index];
            Script(*group.text).ExecuteRowSoon({group.params, next[index]++}, counts);
        });
    }
    Statement& One(const QXCommand& command) {
        return Look(command.TextUtf8(), &Connection::Prepare);
    }

  private:
    using Preparing = std::shared_ptr<Statement> (Connection::*)(const std::string&);

    /// `count` commands were handed over.
    void Settle(std::size_t count) {
        try {
            connection_.Settle();
        } catch (const DatabaseError& error) {
            ThrowNumbered(error, count);
        }
    }
    [[noreturn]] void ThrowNumbered(const DatabaseError& error, std::size_t count) const {
        if (list_.Count() < 2) {
            throw DatabaseError(error);
        }
        throw DatabaseError(error.Code(), std::string(error.what()) + " (command " +
                                              std::to_string(count - error.CommandsAgo()) + " of " +
                                              std::to_string(list_.Count()) + ")");
    }
    Statement& Script(const std::string& text) { return Look(text, &Connection::PrepareScript); }

    Statement& Look(const std::string& text, Preparing prepare) {
        if (&text != text_ || prepare != prepare_) {
            const SqlDialect& dialect = connection_.Dialect();
            if (HoldsTransactionControl(SplitStatements(CheckedText(text, dialect), dialect),
                                        dialect)) {
                throw DatabaseError(DBMGR_TRANSACTION_CONTROL,
                                    "a command list is one transaction and can't hold a statement "
                                    "that begins or ends one");
            }
            statement_ = (connection_.*prepare)(text);
            text_ = &text;
            prepare_ = prepare;
        }
        return *statement_;
    }

    Connection& connection_;
    const QXCommandList& list_;
    const Cancellation* cancellation_;  ///< may be null
    const std::string* text_ = nullptr;
    Preparing prepare_ = nullptr;
    std::shared_ptr<Statement> statement_;
};

TransactionKind KindOf(const Connection& connection, const QXCommandList& list) {
    const std::string* seen = nullptr;
    const auto writes = [&](const std::string& text) {
        return &text != std::exchange(seen, &text) && !LooksReadOnly(text, connection.Dialect());
    };
    const auto is = [](bool write) {
        return write ? TransactionKind::Write : TransactionKind::Read;
    };
    if (const encoding::CommandGroups* const columns = list.Columns()) {
        const auto& groups = columns->Groups();
        return is(
            std::any_of(groups.begin(), groups.end(),
                        [&](const encoding::CommandGroup& group) { return writes(*group.text); }));
    }
    return is(std::any_of(list.begin(), list.end(),
                          [&](const QXCommand& command) { return writes(command.TextUtf8()); }));
}

/// The text of a single command, which can't end a transaction that it is in.
const std::string& CheckedCommand(const std::string& text, Connection& connection) {
    const SqlDialect& dialect = connection.Dialect();
    if (connection.InTransaction() &&
        HoldsTransactionControl(SplitStatements(text, dialect), dialect)) {
        throw DatabaseError(DBMGR_TRANSACTION_CONTROL,
                            "a command of a transaction can't begin or end one: use Commit or "
                            "Rollback");
    }
    return CheckedText(text, dialect);
}

template <typename Work>
void InOneTransaction(Connection& connection, const QXCommandList& list,
                      const Cancellation* cancellation, Work work) {
    if (list.Empty()) {
        return;
    }
    const bool own = !connection.InTransaction();
    if (own) {
        connection.Begin(KindOf(connection, list));
    }
    ListRun run(connection, list, cancellation);
    work(run);
    CancellableWork::Check(cancellation);
    if (own) {
        connection.Commit();
    }
}

}  // namespace

void Execute(Connection& connection, const QXCommand& command, QXCountList& counts) {
    counts.Add(connection.PrepareScript(CheckedCommand(command.TextUtf8(), connection))
                   ->Execute(command.Params()));
}

void Execute(Connection& connection, const QXCommandList& list, const Cancellation* cancellation,
             QXCountList& counts) {
    InOneTransaction(connection, list, cancellation, [&](ListRun& run) {
        if (const encoding::CommandGroups* const columns = list.Columns()) {
            run.ExecuteAll(*columns, counts);
        } else {
            run.Each([&](std::size_t i) { run.Execute(list.At(i), counts); });
        }
    });
}

void OpenQuery(Connection& connection, const QXCommand& command, QXRecordset& rs,
               std::size_t maxBytes, const RowSink* sink) {
    Page page = Page::Of(rs, maxBytes);
    page.sink = sink;
    Query(*connection.Prepare(CheckedCommand(command.TextUtf8(), connection)), command, page, rs);
}

void OpenQuery(Connection& connection, const QXCommandList& list, QXRecordset& rs,
               std::size_t maxBytes, const Cancellation* cancellation) {
    const Page page = Page::Of(rs, maxBytes);
    QXCountList ignored;
    InOneTransaction(connection, list, cancellation, [&](ListRun& run) {
        const std::size_t last = list.Count() - 1;
        run.Each([&](std::size_t i) {
            if (i < last) {
                run.Execute(list.At(i), ignored);
            } else {
                Query(run.One(list.At(i)), list.At(i), page, rs);
            }
        });
    });
}

void BatchQry(Connection& connection, const QXCommandList& list, QXRsList& out,
              std::size_t maxBytes, const Cancellation* cancellation) {
    std::size_t bytes = 0;
    InOneTransaction(connection, list, cancellation, [&](ListRun& run) {
        run.Each([&](std::size_t i) {
            const std::size_t before = out.Count();
            Page all;
            all.maxBytes = maxBytes;
            all.bytesBefore = bytes;
            run.One(list.At(i)).QueryEach(list.At(i).Params(), all, out);
            for (std::size_t k = before; k < out.Count(); ++k) {
                out.At(k).FillDone();
                bytes += out.At(k).MemoryBytes();
            }
        });
    });
}

std::vector<QXColumnInfo> Describe(Connection& connection, const QXCommand& command) {
    return connection.Prepare(CheckedCommand(command.TextUtf8(), connection))->Describe();
}

OpenedCursor::OpenedCursor(Connection& connection, const QXCommand& command)
    : text_(command.SharedText()) {
    const SqlDialect& dialect = connection.Dialect();
    if (!LooksReadOnly(CheckedCommand(*text_, connection), dialect)) {
        throw DatabaseError(DBMGR_NO_CURSOR,
                            "a cursor takes a query that changes nothing: SELECT, VALUES or WITH");
    }
    statement_ = connection.PrepareAlone(*text_);
    rows_ = statement_->OpenCursor(command.Params());
}

void OpenedCursor::Fetch(QXRecordset& rs, std::size_t maxBytes) {
    Page page = Page::Of(rs, maxBytes);
    page.first = 0;
    page.count = page.All() ? kPortionRows : page.count;
    rows_->Fetch(page, rs);
}

}  // namespace CQXDB::adapter
