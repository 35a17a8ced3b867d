// What people who are not trusted with the machine may do with a SQLite connection.
#pragma once

#include <cstdint>

#include "adapter/sqlite/session.h"

namespace CQXDB::adapter::sqlite {

/// What an operator grants.
struct Confinement {
    std::int64_t maxValueBytes = std::int64_t{65} << 20;  ///< of one text or blob
    bool fullText = false;                                ///< the modules fts3, fts4 and fts5
};

/// Keeps the statements of a connection to its own database, and to the functions, virtual tables
/// and PRAGMAs of a list: no other file is attached or written, nothing changes what the
/// connection's next user relies on, and no function gives away or takes an address. What is
/// refused fails with SQLITE_AUTH or 1. Bounds the sizes of texts, values and programs. Functions
/// that take long by themselves heed the session's timer. docs/adapter.md has the list.
void ConfineSqlite(SqliteSession& session, const Confinement& wanted);

}  // namespace CQXDB::adapter::sqlite
