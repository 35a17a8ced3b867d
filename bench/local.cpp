// Local work through the agent beside the same work through SQLite's own functions, in turn.
//
// Neither side waits for the disk, so that what is compared is the work itself.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sqlite3.h>

#include <qxdb/DBAgent.h>

namespace {

using namespace CQXDB;
using Clock = std::chrono::steady_clock;

constexpr int kInsertRows = 20000;
constexpr int kFetchRows = 100000;
constexpr int kRounds = 31;

const char* const kCreate =
    "DROP TABLE IF EXISTS t; CREATE TABLE t (a INTEGER, b INTEGER, c INTEGER, d INTEGER, e REAL, f "
    "REAL, "
    "g TEXT, h TEXT, i TEXT, j TEXT)";
const char* const kInsert = "INSERT INTO t VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
const char* const kSelect = "SELECT * FROM t";

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(1);
}

/// One row's values, the same for both sides.
struct Row {
    std::int64_t integers[4];
    double reals[2];
    std::string texts[4];
};

std::vector<Row> MakeRows(int count) {
    std::vector<Row> rows(static_cast<std::size_t>(count));
    std::int64_t n = 0;
    for (Row& row : rows) {
        ++n;
        row = {{n, n * 7919 % 1000003, -n, n << 33},
               {static_cast<double>(n) / 7, static_cast<double>(n) * 1e10},
               {"name " + std::to_string(n), "München",
                std::string(static_cast<std::size_t>(n % 30), 'x'),
                "a comment of some length " + std::to_string(n * 31)}};
    }
    return rows;
}

/// SQLite's own functions.
class Raw {
  public:
    explicit Raw(const std::string& path) {
        Check(sqlite3_open_v2(path.c_str(), &db_,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                              nullptr));
    }
    ~Raw() { sqlite3_close(db_); }
    Raw(const Raw&) = delete;
    Raw& operator=(const Raw&) = delete;

    void Run(const char* sql) { Check(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr)); }

    void Insert(const std::vector<Row>& rows) {
        Run("BEGIN");
        sqlite3_stmt* statement = Prepare(kInsert);
        for (const Row& row : rows) {
            int index = 0;
            for (const std::int64_t value : row.integers) {
                sqlite3_bind_int64(statement, ++index, value);
            }
            for (const double value : row.reals) {
                sqlite3_bind_double(statement, ++index, value);
            }
            for (const std::string& value : row.texts) {
                sqlite3_bind_text(statement, ++index, value.data(), static_cast<int>(value.size()),
                                  SQLITE_STATIC);
            }
            if (sqlite3_step(statement) != SQLITE_DONE) {
                Fail(sqlite3_errmsg(db_));
            }
            sqlite3_reset(statement);
        }
        sqlite3_finalize(statement);
        Run("COMMIT");
    }

    /// Reads every value by its type; gives a sum that depends on all of them.
    double Fetch() {
        sqlite3_stmt* statement = Prepare(kSelect);
        double sum = 0;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (int i = 0; i < 10; ++i) {
                switch (sqlite3_column_type(statement, i)) {
                    case SQLITE_INTEGER:
                        sum += static_cast<double>(sqlite3_column_int64(statement, i));
                        break;
                    case SQLITE_FLOAT:
                        sum += sqlite3_column_double(statement, i);
                        break;
                    default: {
                        const auto* text =
                            reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
                        const std::string value(
                            text, static_cast<std::size_t>(sqlite3_column_bytes(statement, i)));
                        sum +=
                            static_cast<double>(value.size()) + (value.empty() ? 0 : value.back());
                    }
                }
            }
        }
        sqlite3_finalize(statement);
        return sum;
    }

  private:
    void Check(int code) {
        if (code != SQLITE_OK) {
            Fail(sqlite3_errmsg(db_));
        }
    }
    sqlite3_stmt* Prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr));
        return statement;
    }

    sqlite3* db_ = nullptr;
};

/// The same work through an agent.
class Agent {
  public:
    explicit Agent(const std::filesystem::path& path) {
        QXDataSource source;
        source.database = path.wstring();
        source.options = "synchronous=off";
        agent_.initDB(source);
    }

    static QXCommandList Commands(const std::vector<Row>& rows) {
        QXCommand insert(std::wstring_view(L"INSERT INTO t VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
        QXCommandList list;
        list.Reserve(rows.size());
        for (const Row& row : rows) {
            QXCommand command = insert;
            for (const std::int64_t value : row.integers) {
                command.AddParam(QXValue::Int64(value));
            }
            for (const double value : row.reals) {
                command.AddParam(QXValue::Double(value));
            }
            for (const std::string& value : row.texts) {
                command.AddParam(QXValue::TextUtf8(value));
            }
            list.Add(std::move(command));
        }
        return list;
    }

    void Insert(QXCommandList& list) {
        agent_.Execute(code_, text_, list, L"");
        Check();
    }

    double Fetch() {
        QXCommand select(std::wstring_view(L"SELECT * FROM t"));
        QXRecordset rs;
        agent_.OpenQuery(code_, text_, select, rs, 0, 1, L"");
        Check();
        double sum = 0;
        for (std::size_t c = 0; c < rs.ColumnCount(); ++c) {
            const QXColumn& column = rs.Column(c);
            for (std::size_t row = 0; row < column.RowCount(); ++row) {
                switch (column.TypeAt(row)) {
                    case QXValueType::Int64:
                        sum += static_cast<double>(column.Int64At(row));
                        break;
                    case QXValueType::Double:
                        sum += column.DoubleAt(row);
                        break;
                    default: {
                        const std::string_view value = column.BytesAt(row);
                        sum +=
                            static_cast<double>(value.size()) + (value.empty() ? 0 : value.back());
                    }
                }
            }
        }
        return sum;
    }

  private:
    void Check() const {
        if (code_ != 0) {
            Fail("agent: error " + std::to_string(code_));
        }
    }

    DBAgent agent_;
    long code_ = 0;
    std::wstring text_;
};

double Milliseconds(const std::function<void()>& work) {
    const Clock::time_point start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Median(std::vector<double> times) {
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2),
                     times.end());
    return times[times.size() / 2];
}

/// Runs both in turn, `before` each of them, and prints the medians.
void Compare(const char* name, int rows, const std::function<void()>& before,
             const std::function<void()>& raw, const std::function<void()>& agent) {
    std::vector<double> rawTimes;
    std::vector<double> agentTimes;
    for (int round = 0; round < kRounds; ++round) {
        before();
        rawTimes.push_back(Milliseconds(raw));
        before();
        agentTimes.push_back(Milliseconds(agent));
    }
    const double rawMedian = Median(rawTimes);
    const double agentMedian = Median(agentTimes);
    std::printf("%-7s %7d rows   SQLite %8.2f ms   agent %8.2f ms   ratio %.2f\n", name, rows,
                rawMedian, agentMedian, agentMedian / rawMedian);
}

void CompareInsert(Raw& raw, Agent& agent) {
    const std::vector<Row> rows = MakeRows(kInsertRows);
    QXCommandList list = Agent::Commands(rows);
    Compare(
        "insert", kInsertRows, [&raw] { raw.Run(kCreate); }, [&] { raw.Insert(rows); },
        [&] { agent.Insert(list); });
}

void CompareFetch(Raw& raw, Agent& agent) {
    raw.Run(kCreate);
    raw.Insert(MakeRows(kFetchRows));
    double rawSum = 0;
    double agentSum = 0;
    Compare(
        "fetch", kFetchRows, [] {}, [&] { rawSum = raw.Fetch(); },
        [&] { agentSum = agent.Fetch(); });
    // The sums are added up in another order, so the last digits may differ.
    if (std::abs(rawSum - agentSum) > 1e-9 * std::abs(rawSum)) {
        Fail("the two sides read different values");
    }
}

}  // namespace

int main() {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / "qxdb-bench-local.db";
    std::filesystem::remove(path);
    {
        Raw raw(path.string());
        raw.Run("PRAGMA synchronous = OFF");
        Agent agent(path);
        CompareInsert(raw, agent);
        CompareFetch(raw, agent);
    }
    std::filesystem::remove(path);
    return 0;
}
