// The same work, done locally and through the server, gives the same rows, types and errors.
#include <memory>

#include <gtest/gtest.h>

#include <qxdb/QXDateTime.h>

#include "tests/end_to_end/databases.h"
#include "tests/objects/samples.h"
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

    const char* BlobType() const { return GetParam() == 1 ? "BYTEA" : "BLOB"; }
    const char* DoubleType() const { return GetParam() == 1 ? "DOUBLE PRECISION" : "DOUBLE"; }
    const char* TimestampType() const { return GetParam() == 2 ? "DATETIME(6)" : "TIMESTAMP"; }
    const char* TimeType() const { return GetParam() == 2 ? "TIME(6)" : "TIME"; }

    /// Runs it locally and remotely; the two must be alike.
    template <typename Work>
    Answer Both(const Work& work) {
        Answer here = work(local_);
        const Answer there = work(remote_);
        EXPECT_EQ(here.code, there.code);
        EXPECT_EQ(here.text, there.text);
        EXPECT_TRUE(Same(here.rows, there.rows)) << here << "\n" << there;
        return here;
    }
    Answer QueryBoth(const wchar_t* sql, long pageSize = 0, long page = 1) {
        return Both([&](DBAgent& agent) { return Query(agent, QXCommand(sql), pageSize, page); });
    }

    static std::unique_ptr<World> world_;
    DBAgent local_;
    DBAgent remote_;
};

std::unique_ptr<World> LocalAndRemote::world_;

TEST_P(LocalAndRemote, EveryTypeComesBackAlike) {
    ASSERT_EQ(Execute(local_, L"DROP TABLE IF EXISTS every_type").code, 0);
    const std::string columns = std::string("id BIGINT PRIMARY KEY, yes BOOLEAN, x ") +
                                DoubleType() + ", price DECIMAL(20,4), name VARCHAR(200), data " +
                                BlobType() + ", day DATE, clock " + TimeType() + ", moment " +
                                TimestampType();
    const Answer made =
        Execute(remote_, QXCommand(Wide("CREATE TABLE every_type (" + columns + ")")));
    ASSERT_EQ(made.code, 0) << made;
    const std::vector<QXValue> values{
        QXValue::Bool(true),
        QXValue::Double(0.1),
        QXValue::Decimal("-123456789.0125"),
        QXValue::Text(L"naïve 漢字 \U0001F4DA '\\\""),
        QXValue::Blob("\0\xff\x01'", 4),
        QXValue::Date(QXDateTime::DaysFromCivil(1969, 7, 20)),
        QXValue::Time(3661 * QXDateTime::kMicrosPerSecond + 250000),
        QXValue::Timestamp(QXDateTime::Timestamp(2026, 11, 22, 23, 59, 59, 999999))};
    const auto insert = [&](DBAgent& agent, std::int64_t id) {
        QXCommand command(L"INSERT INTO every_type VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
        command.AddParam(QXValue::Int64(id));
        for (const QXValue& value : values) {
            command.AddParam(id == 0 ? QXValue::Null() : value);
        }
        const Answer done = Execute(agent, command);
        ASSERT_EQ(done.code, 0) << done;
    };
    insert(local_, INT64_MAX);
    insert(remote_, INT64_MIN);
    insert(remote_, 0);
    const Answer rows = QueryBoth(L"SELECT * FROM every_type ORDER BY id");
    ASSERT_EQ(rows.rows.RowCount(), 3U) << rows;
    EXPECT_EQ(rows.rows.GetInt64(0, 0), INT64_MIN);
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(rows.rows.GetValue(0, i + 1), values[i]) << rows;
        EXPECT_TRUE(rows.rows.IsNull(1, i + 1));
        EXPECT_EQ(rows.rows.GetValue(2, i + 1), values[i]) << rows;
    }
}

TEST_P(LocalAndRemote, ErrorsPagesAndListsAreAlike) {
    ASSERT_EQ(Execute(local_, L"DROP TABLE IF EXISTS one").code, 0);
    const wchar_t* const table =
        L"CREATE TABLE one (id INTEGER PRIMARY KEY, v VARCHAR(9) NOT NULL)";
    ASSERT_EQ(Execute(local_, table).code, 0);
    QXCommandList list;
    for (std::int64_t id = 1; id <= 10; ++id) {
        QXCommand insert(L"INSERT INTO one VALUES (?, ?)");
        insert.AddParam(QXValue::Int64(id));
        insert.AddParam(QXValue::Text(L"v" + std::to_wstring(id)));
        list.Add(insert);
    }
    const Answer filled = Execute(remote_, list);
    ASSERT_EQ(filled.code, 0) << filled;

    for (const wchar_t* bad :
         {L"SELEC 1", L"SELECT * FROM no_such_table", L"INSERT INTO one VALUES (1, 'x')",
          L"INSERT INTO one VALUES (99, NULL)", L"SELECT * FROM one WHERE id = ?", L""}) {
        const Answer refused = QueryBoth(bad);
        EXPECT_NE(refused.code, 0) << bad;
        EXPECT_NE(refused.text, L"") << bad;
    }
    EXPECT_EQ(QueryBoth(L"SELECT id FROM one ORDER BY id", 4, 3).rows.RowCount(), 2U);

    QXCommandList failing;
    failing.Add(QXCommand(L"DELETE FROM one WHERE id = 5"));
    failing.Add(QXCommand(L"INSERT INTO one VALUES (1, 'again')"));
    EXPECT_NE(Both([&](DBAgent& agent) { return Execute(agent, failing); }).code, 0);
    EXPECT_EQ(QueryBoth(L"SELECT COUNT(*) FROM one").rows.GetInt64(0, 0), 10);
}

std::string NameOf(const testing::TestParamInfo<std::size_t>& chosen) {
    static const char* const kNames[] = {"Sqlite", "Postgresql", "MariaDb"};
    return kNames[chosen.param];
}

INSTANTIATE_TEST_SUITE_P(Databases, LocalAndRemote,
                         testing::Range(std::size_t{0}, Databases::kCount), NameOf);

}  // namespace
