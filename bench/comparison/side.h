// One of the things compared: a client library with its database.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tables.h"

namespace qxdb_bench {

struct Fetched {
    std::uint64_t rows = 0;
    std::uint64_t sum = 0;  ///< the digest, or something that keeps the compiler from cutting work
};

/// Seconds of what the small query can't do without.
struct MandatedParts {
    double mandated = 0;  ///< two key derivations, the cipher both ways, a bare echo
    double echo = 0;
    double sequence = 0;  ///< those of `mandated` again, each where a request has it
};

/// Connected by its constructor. Every call throws std::runtime_error for what fails.
class Side {
  public:
    Side() = default;
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;
    virtual ~Side() = default;

    virtual void Run(const std::string& sql) = 0;
    virtual void Create(const Table& table) = 0;
    /// Deletes all rows.
    virtual void Empty(const Table& table) { Run("DELETE FROM " + table.Name()); }
    /// One transaction, in the fastest way that the library has.
    virtual void Insert(const Table& table, const std::vector<Row>& rows) = 0;
    /// The same in the library's second way; the first one where there is only one.
    virtual void InsertOtherwise(const Table& table, const std::vector<Row>& rows) {
        Insert(table, rows);
    }
    /// What the second way has done before its time starts.
    virtual void PrepareOtherwise(const Table& /*table*/, const std::vector<Row>& /*rows*/) {}
    /// All columns of `table`; rows with ids up to `lastId`, or all for 0. `digest` says whether
    /// the values are added up to a digest or just looked at.
    virtual Fetched Fetch(const Table& table, std::int64_t lastId, bool digest) = 0;
    /// One row by its key with a prepared statement: columns a and s of table "ten". Checks the
    /// answer.
    virtual void Small(std::int64_t id) = 0;
    /// Bytes of the last Fetch's rows as they lie decoded in memory; 0 where that is not known.
    virtual std::size_t DecodedBytes() const { return 0; }

    /// Medians of `count` runs; for this system only.
    virtual MandatedParts SmallParts(int /*count*/) { return {}; }

  protected:
    static std::string Select(const Table& table, std::int64_t lastId) {
        return "SELECT * FROM " + table.Name() +
               (lastId == 0 ? "" : " WHERE id <= " + std::to_string(lastId));
    }
    /// Throws when `a` is not that of row `id` of table "ten".
    static void CheckSmall(std::int64_t id, std::int64_t a);
};

/// `words` are a kind and where to connect:
///   qxdb HOST PORT USER PASSWORD | qxdb-sqlite FILE | qxdb-postgresql PORT USER PASSWORD DATABASE
///   postgresql PORT USER PASSWORD DATABASE SSLMODE | mariadb PORT USER PASSWORD DATABASE tls|plain
///   firebird PORT USER PASSWORD DATABASE | sqlite FILE
std::unique_ptr<Side> MakeSide(const std::vector<std::string>& words);

std::unique_ptr<Side> MakeQxdb(const std::vector<std::string>& words);
std::unique_ptr<Side> MakePostgreSql(const std::vector<std::string>& words);
std::unique_ptr<Side> MakeMariaDb(const std::vector<std::string>& words);
std::unique_ptr<Side> MakeFirebird(const std::vector<std::string>& words);
std::unique_ptr<Side> MakeSqlite(const std::vector<std::string>& words);

}  // namespace qxdb_bench
