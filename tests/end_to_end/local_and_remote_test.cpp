// The same work, done locally and through the server, gives the same rows, types and errors.
#include <memory>
#include <ostream>

#include <gtest/gtest.h>

#include <qxdb/QXDateTime.h>

#include "tests/end_to_end/databases.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

/// The databases and the application server before them.
struct World {
    World() : server(QXDB_SERVER_PROGRAM, Arguments()) {}

    std::vector<std::string> Arguments() const {
        std::vector<std::string> arguments;
        for (const auto& [name, url] : databases.Urls()) {
            arguments.emplace_back("--database");
            arguments.emplace_back(name).append("=").append(url);
        }
        return arguments;
    }

    Databases databases;
    QxdbServer server;
};

/// What one piece of work left behind.
struct Outcome {
    long code = 0;
    std::wstring text;
    QXRecordset rows;
};

bool operator==(const Outcome& a, const Outcome& b) {
    if (a.code != b.code || a.text != b.text || a.rows.ColumnCount() != b.rows.ColumnCount() ||
        a.rows.RowCount() != b.rows.RowCount()) {
        return false;
    }
    for (std::size_t column = 0; column < a.rows.ColumnCount(); ++column) {
        if (a.rows.ColumnName(column) != b.rows.ColumnName(column) ||
            a.rows.ColumnType(column) != b.rows.ColumnType(column)) {
            return false;
        }
        for (std::size_t row = 0; row < a.rows.RowCount(); ++row) {
            if (a.rows.GetValue(row, column) != b.rows.GetValue(row, column)) {
                return false;
            }
        }
    }
    return true;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    out << outcome.code << " " << Utf8(outcome.text);
    for (std::size_t column = 0; column < outcome.rows.ColumnCount(); ++column) {
        out << "\n  " << outcome.rows.Column(column).NameUtf8() << " "
            << static_cast<int>(outcome.rows.ColumnType(column)) << ":";
        for (auto row : outcome.rows) {
            out << " [" << row.GetTextUtf8(column) << "]";
        }
    }
    return out;
}

class LocalAndRemote : public testing::TestWithParam<std::size_t> {
  protected:
    static void SetUpTestSuite() { world_ = std::make_unique<World>(); }
    static void TearDownTestSuite() { world_.reset(); }

    LocalAndRemote() {
        const auto& [name, url] = world_->databases.Urls().at(GetParam());
        QXDataSource source;
        std::wstring error;
        if (!QXDataSource::FromUrl(Wide(url), source, error)) {
            throw std::runtime_error(Utf8(error));
        }
        local_.initDB(source);
        LogIn(remote_, world_->server, {}, Wide(name));
    }

    bool IsSqlite() const { return GetParam() == 0; }
    const char* BlobType() const { return GetParam() == 1 ? "BYTEA" : "BLOB"; }
    const char* DoubleType() const { return GetParam() == 1 ? "DOUBLE PRECISION" : "DOUBLE"; }
    const char* TimestampType() const { return GetParam() == 2 ? "DATETIME(6)" : "TIMESTAMP"; }
    const char* TimeType() const { return GetParam() == 2 ? "TIME(6)" : "TIME"; }

    static Outcome Execute(DBAgent& agent, const std::string& sql,
                           const std::vector<QXValue>& params = {}) {
        QXCommand command(Wide(sql));
        for (const QXValue& each : params) {
            command.AddParam(each);
        }
        Outcome outcome;
        agent.Execute(outcome.code, outcome.text, command);
        return outcome;
    }
    static Outcome Query(DBAgent& agent, const std::string& sql, long size = 0, long page = 1) {
        QXCommand command(Wide(sql));
        Outcome outcome;
        agent.OpenQuery(outcome.code, outcome.text, command, outcome.rows, size, page);
        return outcome;
    }
    /// Runs it locally and remotely; the two must be alike.
    template <typename Work>
    Outcome Both(const Work& work) {
        Outcome here = work(local_);
        const Outcome there = work(remote_);
        EXPECT_EQ(here, there);
        return here;
    }

    static std::unique_ptr<World> world_;
    DBAgent local_;
    DBAgent remote_;
};

std::unique_ptr<World> LocalAndRemote::world_;

TEST_P(LocalAndRemote, EveryTypeComesBackAlike) {
    ASSERT_EQ(Execute(local_, "DROP TABLE IF EXISTS every_type").code, 0);
    const Outcome made = Execute(
        remote_, std::string("CREATE TABLE every_type (id BIGINT PRIMARY KEY, yes BOOLEAN, x ") +
                     DoubleType() + ", price DECIMAL(20,4), name VARCHAR(200), data " + BlobType() +
                     ", day DATE, clock " + TimeType() + ", moment " + TimestampType() + ")");
    ASSERT_EQ(made.code, 0) << made;
    const std::string insert = "INSERT INTO every_type VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)";
    const auto row = [](std::int64_t id) {
        return std::vector<QXValue>{
            QXValue::Int64(id),
            QXValue::Bool(true),
            QXValue::Double(0.1),
            QXValue::Decimal("-123456789.0125"),
            QXValue::Text(L"naïve 漢字 \U0001F4DA '\\\""),
            QXValue::Blob("\0\xff\x01'", 4),
            QXValue::Date(QXDateTime::DaysFromCivil(1969, 7, 20)),
            QXValue::Time(3661 * QXDateTime::kMicrosPerSecond + 250000),
            QXValue::Timestamp(QXDateTime::Timestamp(2026, 11, 22, 23, 59, 59, 999999))};
    };
    for (DBAgent* agent : {&local_, &remote_}) {
        const std::int64_t id = agent == &local_ ? INT64_MAX : INT64_MIN;
        const Outcome done = Execute(*agent, insert, row(id));
        ASSERT_EQ(done.code, 0) << done;
    }
    const std::vector<QXValue> nulls(8);
    std::vector<QXValue> nullRow{QXValue::Int64(0)};
    nullRow.insert(nullRow.end(), nulls.begin(), nulls.end());
    ASSERT_EQ(Execute(remote_, insert, nullRow).code, 0);

    const Outcome rows =
        Both([](DBAgent& agent) { return Query(agent, "SELECT * FROM every_type ORDER BY id"); });
    ASSERT_EQ(rows.rows.RowCount(), 3U) << rows;
    for (std::size_t column = 1; column < rows.rows.ColumnCount(); ++column) {
        EXPECT_EQ(rows.rows.GetValue(0, column), rows.rows.GetValue(2, column)) << rows;
        EXPECT_TRUE(rows.rows.IsNull(1, column));
    }
    EXPECT_EQ(rows.rows.GetInt64(0, 0), INT64_MIN);
    EXPECT_EQ(rows.rows.GetTextUtf8(0, 3), "-123456789.0125");
    EXPECT_EQ(rows.rows.GetText(0, 4), L"naïve 漢字 \U0001F4DA '\\\"");
    EXPECT_EQ(rows.rows.GetBytes(0, 5), std::string_view("\0\xff\x01'", 4));
    EXPECT_EQ(rows.rows.GetTextUtf8(0, 6), "1969-07-20");
    EXPECT_EQ(rows.rows.GetTextUtf8(0, 7), "01:01:01.25");
    EXPECT_EQ(rows.rows.GetTextUtf8(0, 8), "2026-11-22 23:59:59.999999");
}

TEST_P(LocalAndRemote, ErrorsPagesAndListsAreAlike) {
    ASSERT_EQ(Execute(local_, "DROP TABLE IF EXISTS one").code, 0);
    ASSERT_EQ(
        Execute(local_, "CREATE TABLE one (id INTEGER PRIMARY KEY, v VARCHAR(9) NOT NULL)").code,
        0);
    QXCommandList list;
    for (std::int64_t id = 1; id <= 10; ++id) {
        QXCommand insert(L"INSERT INTO one VALUES (?, ?)");
        insert.AddParam(QXValue::Int64(id));
        insert.AddParam(QXValue::Text(L"v" + std::to_wstring(id)));
        list.Add(insert);
    }
    long code = 0;
    std::wstring text;
    remote_.Execute(code, text, list);
    ASSERT_EQ(code, 0) << Utf8(text);

    for (const char* bad :
         {"SELEC 1", "SELECT * FROM no_such_table", "INSERT INTO one VALUES (1, 'x')",
          "INSERT INTO one VALUES (99, NULL)", "SELECT * FROM one WHERE id = ?", ""}) {
        const Outcome outcome = Both([&](DBAgent& agent) { return Query(agent, bad); });
        EXPECT_NE(outcome.code, 0) << bad;
        EXPECT_NE(outcome.text, L"") << bad;
    }
    const Outcome page =
        Both([](DBAgent& agent) { return Query(agent, "SELECT id FROM one ORDER BY id", 4, 3); });
    EXPECT_EQ(page.rows.RowCount(), 2U) << page;

    const auto failingList = [&](DBAgent& agent) {
        QXCommandList mixed;
        mixed.Add(QXCommand(L"DELETE FROM one WHERE id = 5"));
        mixed.Add(QXCommand(L"INSERT INTO one VALUES (1, 'again')"));
        Outcome outcome;
        agent.Execute(outcome.code, outcome.text, mixed);
        return outcome;
    };
    EXPECT_NE(Both(failingList).code, 0);
    const Outcome count =
        Both([](DBAgent& agent) { return Query(agent, "SELECT COUNT(*) FROM one"); });
    EXPECT_EQ(count.rows.GetInt64(0, 0), 10);

    QXCommandList batch;
    batch.Add(QXCommand(L"SELECT MAX(id) FROM one"));
    batch.Add(QXCommand(L"SELECT v FROM one ORDER BY id"));
    QXRsList here;
    QXRsList there;
    local_.BatchQry(code, text, batch, here);
    remote_.BatchQry(code, text, batch, there);
    ASSERT_EQ(code, 0) << Utf8(text);
    ASSERT_EQ(here.Count(), 2U);
    ASSERT_EQ(there.Count(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ((Outcome{0, L"", here.At(i)}), (Outcome{0, L"", there.At(i)}));
    }
}

std::string NameOf(const testing::TestParamInfo<std::size_t>& chosen) {
    static const char* const kNames[] = {"Sqlite", "Postgresql", "MariaDb"};
    return kNames[chosen.param];
}

INSTANTIATE_TEST_SUITE_P(Databases, LocalAndRemote,
                         testing::Range(std::size_t{0}, Databases::kCount), NameOf);

}  // namespace
