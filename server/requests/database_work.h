// Statements on a data source, through the manager that serves it.
#pragma once

#include <string>
#include <vector>

#include <qxdb/Cancellation.h>
#include <qxdb/QXColumnInfo.h>
#include <qxdb/QXCommandList.h>
#include <qxdb/QXDataSource.h>
#include <qxdb/QXNotice.h>
#include <qxdb/QXRsList.h>
#include <qxdb/QXTransaction.h>
#include <qxdb/RowSink.h>

namespace CQXSERVER::requests {

/// What the database said; code 0 is success.
struct DatabaseAnswer {
    long code = 0;
    std::wstring text;
    std::vector<CQXDB::QXNotice> notices = {};
};

/// For whom commands run.
struct Caller {
    std::string account;  ///< what they leave in the session of a connection is for it alone
    CQXDB::Cancellation* cancellation = nullptr;  ///< borrowed; null where nobody cancels
};

// The commands carry the data source they run on. Any thread.
DatabaseAnswer Execute(const Caller& caller, CQXDB::QXCommand& command);
DatabaseAnswer Execute(const Caller& caller, CQXDB::QXCommandList& list);

// `maxBytes` bounds the memory of the rows; beyond it the answer is DBMGR_RESULT_TOO_LARGE.
/// Both set the recordset's page by the command's. `sink` gets the first rows of a large result,
/// where the database hands them out one by one; `rs` the others.
DatabaseAnswer Query(const Caller& caller, CQXDB::QXCommand& command, CQXDB::QXRecordset& rs,
                     std::size_t maxBytes, const CQXDB::RowSink& sink);
DatabaseAnswer Query(const Caller& caller, CQXDB::QXCommandList& list, CQXDB::QXRecordset& rs,
                     std::size_t maxBytes, const CQXDB::RowSink& sink);
DatabaseAnswer Batch(const Caller& caller, CQXDB::QXCommandList& list, CQXDB::QXRsList& out,
                     std::size_t maxBytes);

/// Describes the columns of a statement's result.
DatabaseAnswer Describe(const Caller& caller, CQXDB::QXCommand& command,
                        std::vector<CQXDB::QXColumnInfo>& columns);

// Queries in portions; the command carries the transaction and, as its page number, the cursor's
// number, for the next portion also the most rows that it may have.
DatabaseAnswer OpenCursor(const Caller& caller, CQXDB::QXCommand& command);
DatabaseAnswer FetchCursor(const Caller& caller, CQXDB::QXCommand& command, CQXDB::QXRecordset& rs,
                           std::size_t maxBytes);
DatabaseAnswer CloseCursor(const Caller& caller, CQXDB::QXCommand& command);

/// Begins a transaction that lasts until one of the next three; `id` is its identity, which the
/// commands in it carry.
DatabaseAnswer Begin(const Caller& caller, const CQXDB::QXDataSource& dataSource,
                     const CQXDB::QXTransactionInfo& info, std::wstring& id);
DatabaseAnswer Commit(const std::wstring& id);
DatabaseAnswer Rollback(const std::wstring& id);
/// Rolls back without waiting for databases that do so by themselves.
void Abandon(const std::wstring& id) noexcept;

DatabaseAnswer Probe(const CQXDB::QXDataSource& dataSource);

/// Closes pooled connections that nobody has used for long, which may take its time.
void CloseExpired() noexcept;

}  // namespace CQXSERVER::requests
