// What commands changed: rows affected and the last inserted id.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <qxdb/Export.h>

namespace CQXDB {

struct QXCounts {
    /// Inserted, updated and deleted by the command itself, as the database counts (MySQL: rows
    /// that came out different); 0 for a command that changes no rows; -1 where nobody tells. Of a
    /// script, all its statements together.
    std::int64_t rowsAffected = 0;
    /// Key that the database made for an inserted row: SQLite's rowid of the last one, MySQL's
    /// AUTO_INCREMENT of the first one. 0 where there is none: no insert, PostgreSQL (RETURNING
    /// tells), ODBC.
    std::int64_t lastInsertId = 0;

    /// Of this and, behind it, another one.
    QXDB_OBJECTS_API QXCounts& operator+=(const QXCounts& next) noexcept;
};

/// The counts of a list's commands, in order. Commands that differ by a steady step of their ids,
/// as inserts do, take up no more than one.
class QXDB_OBJECTS_API QXCountList {
  public:
    struct Run {
        std::uint64_t commands = 0;
        QXCounts first;
        std::int64_t idStep = 0;  ///< from one command's id to the next one's
    };

    // Without memory they forget all and take no more: what was done is no failure for that.
    void Add(const QXCounts& counts) noexcept;
    /// `run` has one command or more.
    void AddRun(const Run& run) noexcept;

    std::uint64_t Count() const noexcept { return ends_.empty() ? 0 : ends_.back(); }
    /// For a command that has none, -1 rows.
    QXCounts At(std::uint64_t index) const noexcept;
    const std::vector<Run>& Runs() const noexcept { return runs_; }

  private:
    bool lost_ = false;
    std::vector<Run> runs_;
    std::vector<std::uint64_t> ends_;  ///< of each run: the index behind its last command
};

}  // namespace CQXDB
