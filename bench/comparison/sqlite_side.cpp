// SQLite's own functions, in process.
#include <stdexcept>

#include <sqlite3.h>

#include "side.h"
#include "visitors.h"

namespace qxdb_bench {
namespace {

class SqliteSide : public Side {
  public:
    explicit SqliteSide(const std::vector<std::string>& words) {
        Check(sqlite3_open_v2(words.at(1).c_str(), &db_,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                              nullptr));
        Run("PRAGMA journal_mode=wal; PRAGMA synchronous=off");
    }
    ~SqliteSide() override {
        sqlite3_finalize(small_);
        sqlite3_close(db_);
    }

    void Run(const std::string& sql) override {
        Check(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr));
    }

    void Create(const Table& table) override {
        Run(table.Create({"INTEGER", "DOUBLE", "TEXT", "TIMESTAMP", "BLOB"}));
    }

    void Insert(const Table& table, const std::vector<Row>& rows) override {
        Run("BEGIN IMMEDIATE");
        sqlite3_stmt* statement = Prepare(table.Insert());
        for (const Row& row : rows) {
            int index = 0;
            for (const Cell& cell : row) {
                Check(Bind(statement, ++index, cell));
            }
            if (sqlite3_step(statement) != SQLITE_DONE) {
                Fail();
            }
            sqlite3_reset(statement);
        }
        sqlite3_finalize(statement);
        Run("COMMIT");
    }

    Fetched Fetch(const Table& table, std::int64_t lastId, bool digest) override {
        return digest ? Visit<Digester>(table, lastId) : Visit<Toucher>(table, lastId);
    }

    void Small(std::int64_t id) override {
        if (small_ == nullptr) {
            small_ = Prepare("SELECT a, s FROM ten WHERE id = ?");
        }
        Check(sqlite3_bind_int64(small_, 1, id));
        CheckSmall(id, sqlite3_step(small_) == SQLITE_ROW ? sqlite3_column_int64(small_, 0) : -1);
        sqlite3_reset(small_);
    }

  private:
    static int Bind(sqlite3_stmt* statement, int index, const Cell& cell) {
        if (cell.null) {
            return sqlite3_bind_null(statement, index);
        }
        const auto size = static_cast<int>(cell.bytes.size());
        switch (cell.type) {
            case CellType::Integer:
                return sqlite3_bind_int64(statement, index, cell.integer);
            case CellType::Real:
                return sqlite3_bind_double(statement, index, cell.real);
            case CellType::Blob:
                return sqlite3_bind_blob(statement, index, cell.bytes.data(), size, SQLITE_STATIC);
            default:
                return sqlite3_bind_text(statement, index, cell.bytes.data(), size, SQLITE_STATIC);
        }
    }

    /// Reads a value by its stored type, as a program without knowledge of the table does.
    template <class Visitor>
    static void VisitCell(sqlite3_stmt* statement, int index, CellType type, Visitor& visitor) {
        const auto bytes = [&](const void* data) {
            return std::string_view(
                static_cast<const char*>(data),
                static_cast<std::size_t>(sqlite3_column_bytes(statement, index)));
        };
        switch (sqlite3_column_type(statement, index)) {
            case SQLITE_INTEGER:
                visitor.Integer(sqlite3_column_int64(statement, index));
                break;
            case SQLITE_FLOAT:
                visitor.Real(sqlite3_column_double(statement, index));
                break;
            case SQLITE_TEXT:
                visitor.Written(type, bytes(sqlite3_column_text(statement, index)));
                break;
            case SQLITE_BLOB:
                visitor.Blob(bytes(sqlite3_column_blob(statement, index)));
                break;
            default:
                visitor.Null();
        }
    }

    template <class Visitor>
    Fetched Visit(const Table& table, std::int64_t lastId) {
        sqlite3_stmt* statement = Prepare(Select(table, lastId));
        const int columns = sqlite3_column_count(statement);
        Visitor visitor;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (int index = 0; index < columns; ++index) {
                VisitCell(statement, index, table.TypeOf(index), visitor);
            }
            visitor.EndRow();
        }
        Check(sqlite3_finalize(statement));
        return {visitor.Rows(), visitor.Sum()};
    }

    sqlite3_stmt* Prepare(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr));
        return statement;
    }
    void Check(int code) {
        if (code != SQLITE_OK) {
            Fail();
        }
    }
    [[noreturn]] void Fail() { throw std::runtime_error(sqlite3_errmsg(db_)); }

    sqlite3* db_ = nullptr;
    sqlite3_stmt* small_ = nullptr;
};

}  // namespace

std::unique_ptr<Side> MakeSqlite(const std::vector<std::string>& words) {
    return std::make_unique<SqliteSide>(words);
}

}  // namespace qxdb_bench
