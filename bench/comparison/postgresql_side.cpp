// PostgreSQL through libpq, values as text.
#include <cstdio>
#include <stdexcept>

#include <libpq-fe.h>

#include "side.h"
#include "visitors.h"

namespace qxdb_bench {
namespace {

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

std::string Hex(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::string Digits(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

/// The value as a parameter in text form.
std::string TextOf(const Cell& cell) {
    switch (cell.type) {
        case CellType::Integer:
            return std::to_string(cell.integer);
        case CellType::Real:
            return Digits(cell.real);
        case CellType::Blob:
            return "\\x" + Hex(cell.bytes);
        default:
            return cell.bytes;
    }
}

/// The value as COPY reads it.
void AppendCopy(std::string& line, const Cell& cell) {
    if (cell.null) {
        line += "\\N";
        return;
    }
    for (const char letter : TextOf(cell)) {
        if (letter == '\\') {
            line += '\\';
        }
        line += letter;
    }
}

class PostgreSqlSide : public Side {
  public:
    explicit PostgreSqlSide(const std::vector<std::string>& words) {
        const char* const keys[] = {"host",   "port",    "user", "password",
                                    "dbname", "sslmode", nullptr};
        const char* const values[] = {"127.0.0.1",
                                      words.at(1).c_str(),
                                      words.at(2).c_str(),
                                      words.at(3).c_str(),
                                      words.at(4).c_str(),
                                      words.at(5).c_str(),
                                      nullptr};
        connection_ = PQconnectdbParams(keys, values, 0);
        if (PQstatus(connection_) != CONNECTION_OK) {
            Fail();
        }
        if ((PQsslInUse(connection_) != 0) != (words[5] == "require")) {
            throw std::runtime_error("not the encryption that was asked for");
        }
    }
    ~PostgreSqlSide() override { PQfinish(connection_); }

    void Run(const std::string& sql) override {
        Check(Result(PQexec(connection_, sql.c_str()), PQclear));
    }

    void Create(const Table& table) override {
        Run(table.Create({"BIGINT", "DOUBLE PRECISION", "TEXT", "TIMESTAMP", "BYTEA"}));
    }

    void Empty(const Table& table) override { Run("TRUNCATE TABLE " + table.Name()); }

    void Insert(const Table& table, const std::vector<Row>& rows) override {
        Run("COPY " + table.Name() + " FROM STDIN");
        std::string lines;
        for (const Row& row : rows) {
            for (const Cell& cell : row) {
                AppendCopy(lines, cell);
                lines += &cell == &row.back() ? '\n' : '\t';
            }
            if (lines.size() > 64 * 1024) {
                Put(lines);
            }
        }
        Put(lines);
        if (PQputCopyEnd(connection_, nullptr) != 1) {
            Fail();
        }
        Drain();
    }

    /// A prepared statement in a pipeline.
    void InsertOtherwise(const Table& table, const std::vector<Row>& rows) override {
        Run("BEGIN");
        Check(Result(PQprepare(connection_, "insert", table.Insert("$").c_str(), 0, nullptr),
                     PQclear));
        PQenterPipelineMode(connection_);
        constexpr std::size_t kAtATime = 500;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            SendInsert(rows[row]);
            if (row % kAtATime == kAtATime - 1 || row + 1 == rows.size()) {
                PQpipelineSync(connection_);
                DrainPipeline();
            }
        }
        PQexitPipelineMode(connection_);
        Run("COMMIT");
        Run("DEALLOCATE insert");
    }

    Fetched Fetch(const Table& table, std::int64_t lastId, bool digest) override {
        return digest ? Visit<Digester>(table, lastId) : Visit<Toucher>(table, lastId);
    }

    void Small(std::int64_t id) override {
        if (!prepared_) {
            Check(Result(
                PQprepare(connection_, "small", "SELECT a, s FROM ten WHERE id = $1", 0, nullptr),
                PQclear));
            prepared_ = true;
        }
        const std::string text = std::to_string(id);
        const char* const value = text.c_str();
        const Result result(PQexecPrepared(connection_, "small", 1, &value, nullptr, nullptr, 0),
                            PQclear);
        Check(result);
        CheckSmall(id, PQntuples(result.get()) == 1
                           ? std::strtoll(PQgetvalue(result.get(), 0, 0), nullptr, 10)
                           : -1);
    }

  private:
    template <class Visitor>
    Fetched Visit(const Table& table, std::int64_t lastId) {
        const Result result(PQexec(connection_, Select(table, lastId).c_str()), PQclear);
        Check(result);
        const int columns = PQnfields(result.get());
        Visitor visitor;
        for (int row = 0; row < PQntuples(result.get()); ++row) {
            for (int column = 0; column < columns; ++column) {
                if (PQgetisnull(result.get(), row, column) != 0) {
                    visitor.Null();
                } else {
                    const auto length =
                        static_cast<std::size_t>(PQgetlength(result.get(), row, column));
                    visitor.Written(table.TypeOf(column),
                                    {PQgetvalue(result.get(), row, column), length});
                }
            }
            visitor.EndRow();
        }
        return {visitor.Rows(), visitor.Sum()};
    }

    void Put(std::string& lines) {
        if (PQputCopyData(connection_, lines.data(), static_cast<int>(lines.size())) != 1) {
            Fail();
        }
        lines.clear();
    }
    void SendInsert(const Row& row) {
        std::vector<std::string> texts;
        std::vector<const char*> values;
        texts.reserve(row.size());
        for (const Cell& cell : row) {
            texts.push_back(cell.null ? "" : TextOf(cell));
            values.push_back(cell.null ? nullptr : texts.back().c_str());
        }
        if (PQsendQueryPrepared(connection_, "insert", static_cast<int>(values.size()),
                                values.data(), nullptr, nullptr, 0) != 1) {
            Fail();
        }
    }
    void Drain() {
        while (Result result{PQgetResult(connection_), PQclear}) {
            Check(result);
        }
    }
    void DrainPipeline() {
        for (;;) {
            const Result result(PQgetResult(connection_), PQclear);
            if (result && PQresultStatus(result.get()) == PGRES_PIPELINE_SYNC) {
                return;
            }
            if (result) {
                Check(result);
            }
        }
    }
    void Check(const Result& result) {
        const ExecStatusType status = PQresultStatus(result.get());
        if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_COPY_IN) {
            Fail();
        }
    }
    [[noreturn]] void Fail() { throw std::runtime_error(PQerrorMessage(connection_)); }

    PGconn* connection_ = nullptr;
    bool prepared_ = false;
};

}  // namespace

std::unique_ptr<Side> MakePostgreSql(const std::vector<std::string>& words) {
    return std::make_unique<PostgreSqlSide>(words);
}

}  // namespace qxdb_bench
