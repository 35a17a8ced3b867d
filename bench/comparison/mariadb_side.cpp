// MariaDB through Connector/C: queries as text, inserts in bulk.
#include <cstdlib>
#include <stdexcept>

#include <mysql.h>

#include "side.h"
#include "visitors.h"

namespace qxdb_bench {
namespace {

struct CloseStatement {
    void operator()(MYSQL_STMT* statement) const noexcept { mysql_stmt_close(statement); }
};
using Statement = std::unique_ptr<MYSQL_STMT, CloseStatement>;
using Result = std::unique_ptr<MYSQL_RES, decltype(&mysql_free_result)>;

/// One parameter's values for all rows.
struct BulkColumn {
    std::vector<long long> integers;
    std::vector<double> reals;
    std::vector<const char*> texts;
    std::vector<unsigned long> lengths;
    std::vector<char> indicators;

    BulkColumn(const std::vector<Row>& rows, std::size_t index) {
        for (const Row& row : rows) {
            const Cell& cell = row[index];
            indicators.push_back(cell.null ? STMT_INDICATOR_NULL : STMT_INDICATOR_NONE);
            if (cell.type == CellType::Integer) {
                integers.push_back(cell.integer);
            } else if (cell.type == CellType::Real) {
                reals.push_back(cell.real);
            } else {
                texts.push_back(cell.bytes.data());
                lengths.push_back(cell.bytes.size());
            }
        }
    }

    MYSQL_BIND Bind(CellType type) {
        MYSQL_BIND bind{};
        bind.u.indicator = indicators.data();
        if (type == CellType::Integer) {
            bind.buffer_type = MYSQL_TYPE_LONGLONG;
            bind.buffer = integers.data();
        } else if (type == CellType::Real) {
            bind.buffer_type = MYSQL_TYPE_DOUBLE;
            bind.buffer = reals.data();
        } else {
            bind.buffer_type = type == CellType::Blob ? MYSQL_TYPE_BLOB : MYSQL_TYPE_STRING;
            bind.buffer = texts.data();
            bind.length = lengths.data();
        }
        return bind;
    }
};

class MariaDbSide : public Side {
  public:
    explicit MariaDbSide(const std::vector<std::string>& words) : connection_(mysql_init(nullptr)) {
        const bool tls = words.at(5) == "tls";
        if (tls) {
            mysql_ssl_set(connection_, nullptr, nullptr, nullptr, nullptr, nullptr);
            my_bool verify = 0;
            mysql_options(connection_, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &verify);
        }
        mysql_options(connection_, MYSQL_SET_CHARSET_NAME, "utf8mb4");
        if (mysql_real_connect(connection_, "127.0.0.1", words.at(2).c_str(), words.at(3).c_str(),
                               words.at(4).c_str(), static_cast<unsigned>(std::stoul(words.at(1))),
                               nullptr, 0) == nullptr) {
            Fail();
        }
        if ((mysql_get_ssl_cipher(connection_) != nullptr) != tls) {
            throw std::runtime_error("not the encryption that was asked for");
        }
    }
    ~MariaDbSide() override {
        small_.reset();
        mysql_close(connection_);
    }

    void Run(const std::string& sql) override {
        Check(mysql_real_query(connection_, sql.data(), sql.size()));
    }

    void Create(const Table& table) override {
        Run(table.Create({"BIGINT", "DOUBLE", "TEXT", "DATETIME(3)", "BLOB"}));
    }

    void Empty(const Table& table) override { Run("TRUNCATE TABLE " + table.Name()); }

    void Insert(const Table& table, const std::vector<Row>& rows) override {
        Run("BEGIN");
        const Statement statement = Prepare(table.Insert());
        std::vector<BulkColumn> columns;
        columns.reserve(table.Columns().size());
        std::vector<MYSQL_BIND> binds;
        for (std::size_t i = 0; i < table.Columns().size(); ++i) {
            binds.push_back(columns.emplace_back(rows, i).Bind(table.Columns()[i].type));
        }
        auto count = static_cast<unsigned>(rows.size());
        mysql_stmt_attr_set(statement.get(), STMT_ATTR_ARRAY_SIZE, &count);
        if (mysql_stmt_bind_param(statement.get(), binds.data()) != 0 ||
            mysql_stmt_execute(statement.get()) != 0) {
            throw std::runtime_error(mysql_stmt_error(statement.get()));
        }
        Run("COMMIT");
    }

    Fetched Fetch(const Table& table, std::int64_t lastId, bool digest) override {
        return digest ? Visit<Digester>(table, lastId) : Visit<Toucher>(table, lastId);
    }

    void Small(std::int64_t id) override {
        if (!small_) {
            small_ = Prepare("SELECT a, s FROM ten WHERE id = ?");
        }
        long long key = id;
        long long a = -1;
        char text[64];
        unsigned long length = 0;
        MYSQL_BIND parameter{};
        parameter.buffer_type = MYSQL_TYPE_LONGLONG;
        parameter.buffer = &key;
        MYSQL_BIND columns[2] = {};
        columns[0].buffer_type = MYSQL_TYPE_LONGLONG;
        columns[0].buffer = &a;
        columns[1].buffer_type = MYSQL_TYPE_STRING;
        columns[1].buffer = text;
        columns[1].buffer_length = sizeof text;
        columns[1].length = &length;
        MYSQL_STMT* const statement = small_.get();
        if (mysql_stmt_bind_param(statement, &parameter) != 0 ||
            mysql_stmt_execute(statement) != 0 || mysql_stmt_bind_result(statement, columns) != 0 ||
            mysql_stmt_store_result(statement) != 0 || mysql_stmt_fetch(statement) != 0) {
            throw std::runtime_error(mysql_stmt_error(statement));
        }
        mysql_stmt_free_result(statement);
        CheckSmall(id, a);
    }

  private:
    template <class Visitor>
    Fetched Visit(const Table& table, std::int64_t lastId) {
        Run(Select(table, lastId));
        const Result result(mysql_store_result(connection_), mysql_free_result);
        if (!result) {
            Fail();
        }
        const auto columns = static_cast<int>(mysql_num_fields(result.get()));
        Visitor visitor;
        while (const MYSQL_ROW row = mysql_fetch_row(result.get())) {
            const unsigned long* const lengths = mysql_fetch_lengths(result.get());
            for (int i = 0; i < columns; ++i) {
                if (row[i] == nullptr) {
                    visitor.Null();
                } else {
                    visitor.Written(table.TypeOf(i), {row[i], lengths[i]});
                }
            }
            visitor.EndRow();
        }
        return {visitor.Rows(), visitor.Sum()};
    }

    Statement Prepare(const std::string& sql) {
        Statement statement(mysql_stmt_init(connection_));
        if (mysql_stmt_prepare(statement.get(), sql.data(), sql.size()) != 0) {
            throw std::runtime_error(mysql_stmt_error(statement.get()));
        }
        return statement;
    }
    void Check(int code) {
        if (code != 0) {
            Fail();
        }
    }
    [[noreturn]] void Fail() { throw std::runtime_error(mysql_error(connection_)); }

    MYSQL* connection_;
    Statement small_;
};

}  // namespace

std::unique_ptr<Side> MakeMariaDb(const std::vector<std::string>& words) {
    return std::make_unique<MariaDbSide>(words);
}

}  // namespace qxdb_bench
