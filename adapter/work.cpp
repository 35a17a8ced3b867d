#include "adapter/work.h"

#include <functional>
#include <string>
#include <utility>

#include "adapter/database_error.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter {
namespace {

const std::string& CheckedText(const QXCommand& command, const SqlDialect& dialect) {
    const std::string& text = command.TextUtf8();
    if (text.find('\0') != std::string::npos) {
        throw DatabaseError(DBMGR_BAD_VALUE, "the statement text holds a NUL character");
    }
    SqlLexer lexer(text, dialect);
    SqlToken token = lexer.Next();
    while (token == SqlToken::Semicolon) {
        token = lexer.Next();
    }
    if (token == SqlToken::End) {
        throw DatabaseError(DBMGR_EMPTY_STATEMENT, "the text holds no statement");
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
    ListRun(Connection& connection, const QXCommandList& list) noexcept
        : connection_(connection), list_(list) {}

    /// Calls `step` for every command, and tells in an error's text which command it was.
    void Each(const std::function<void(const QXCommand&, std::size_t)>& step) {
        std::size_t i = 0;
        try {
            for (; i < list_.Count(); ++i) {
                step(list_.At(i), i);
            }
            i = list_.Count() - 1;
            connection_.Settle();
        } catch (const DatabaseError& error) {
            if (list_.Count() < 2) {
                throw;
            }
            const std::size_t number = i + 1 - error.CommandsAgo();
            throw DatabaseError(error.Code(), std::string(error.what()) + " (command " +
                                                  std::to_string(number) + " of " +
                                                  std::to_string(list_.Count()) + ")");
        }
    }

    Statement& Script(const QXCommand& command) {
        return Look(command, &Connection::PrepareScript);
    }
    Statement& One(const QXCommand& command) { return Look(command, &Connection::Prepare); }

  private:
    using Preparing = std::shared_ptr<Statement> (Connection::*)(const std::string&);

    Statement& Look(const QXCommand& command, Preparing prepare) {
        const std::string* text = &command.TextUtf8();
        if (text != text_ || prepare != prepare_) {
            if (HoldsTransactionControl(CheckedText(command, connection_.Dialect()),
                                        connection_.Dialect())) {
                throw DatabaseError(DBMGR_TRANSACTION_CONTROL,
                                    "a command list is one transaction and can't hold a statement "
                                    "that begins or ends one");
            }
            statement_ = (connection_.*prepare)(*text);
            text_ = text;
            prepare_ = prepare;
        }
        return *statement_;
    }

    Connection& connection_;
    const QXCommandList& list_;
    const std::string* text_ = nullptr;
    Preparing prepare_ = nullptr;
    std::shared_ptr<Statement> statement_;
};

TransactionKind KindOf(const Connection& connection, const QXCommandList& list) {
    const std::string* seen = nullptr;
    for (const QXCommand& command : list) {
        const std::string* text = &command.TextUtf8();
        if (text != seen && !LooksReadOnly(*text, connection.Dialect())) {
            return TransactionKind::Write;
        }
        seen = text;
    }
    return TransactionKind::Read;
}

template <typename Work>
void InOneTransaction(Connection& connection, const QXCommandList& list, Work work) {
    if (list.Empty()) {
        return;
    }
    connection.Begin(KindOf(connection, list));
    ListRun run(connection, list);
    work(run);
    connection.Commit();
}

}  // namespace

void Execute(Connection& connection, const QXCommand& command) {
    connection.PrepareScript(CheckedText(command, connection.Dialect()))->Execute(command.Params());
}

void Execute(Connection& connection, const QXCommandList& list) {
    InOneTransaction(connection, list, [](ListRun& run) {
        run.Each([&run](const QXCommand& command, std::size_t) {
            run.Script(command).ExecuteSoon(command.Params());
        });
    });
}

void OpenQuery(Connection& connection, const QXCommand& command, QXRecordset& rs,
               std::size_t maxBytes, const RowSink* sink) {
    Page page = Page::Of(rs, maxBytes);
    page.sink = sink;
    Query(*connection.Prepare(CheckedText(command, connection.Dialect())), command, page, rs);
}

void OpenQuery(Connection& connection, const QXCommandList& list, QXRecordset& rs,
               std::size_t maxBytes) {
    const Page page = Page::Of(rs, maxBytes);
    InOneTransaction(connection, list, [&](ListRun& run) {
        const std::size_t last = list.Count() - 1;
        run.Each([&](const QXCommand& command, std::size_t index) {
            if (index < last) {
                run.Script(command).ExecuteSoon(command.Params());
            } else {
                Query(run.One(command), command, page, rs);
            }
        });
    });
}

void BatchQry(Connection& connection, const QXCommandList& list, QXRsList& out,
              std::size_t maxBytes) {
    std::size_t bytes = 0;
    InOneTransaction(connection, list, [&](ListRun& run) {
        run.Each([&](const QXCommand& command, std::size_t) {
            QXRecordset rs;
            Page all;
            all.maxBytes = maxBytes;
            all.bytesBefore = bytes;
            Query(run.One(command), command, all, rs);
            bytes += rs.MemoryBytes();
            out.Add(std::move(rs));
        });
    });
}

}  // namespace CQXDB::adapter
