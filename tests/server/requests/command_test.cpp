// Commands, queries and batches, as a client sees them.
#include <filesystem>

#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "tests/server/test_server.h"
#include "transport/frame.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXBASE;
using CQXDB::QXCommand;
using CQXDB::QXCommandList;
using CQXDB::QXRecordset;
using CQXSERVER::ServerError;

class CommandTest : public testing::Test {
  protected:
    TestServer server_;
    RawClient client_ = server_.LoggedIn();
};

TEST_F(CommandTest, AListsQueryIsAnsweredByItsLastRows) {
    QXCommandList list = client_.List({L"CREATE TABLE t AS SELECT 30 AS n", L"SELECT n FROM t"});
    const Reply last = client_.Call(kQueryList, list);
    ASSERT_EQ(last.code, kQueryList);
    EXPECT_EQ(last.Recordset().GetInt64(0, 0), 30);
}

/// Enough rows for a reply that is made while they are read. A null stands in every third one, and
/// the type of n changes behind the first part.
constexpr wchar_t kManyRows[] =
    L"WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c WHERE i < 50000) "
    L"SELECT i, CASE WHEN i < 20000 THEN NULL ELSE 'row ' || i END AS n, "
    L"CASE WHEN i % 3 = 0 THEN NULL ELSE i * 0.5 END AS h FROM c";

TEST_F(CommandTest, ALargeResultArrivesWholeAndEveryReplyIsEncipheredWhenItsRequestWas) {
    QXCommand many = client_.Command(kManyRows);
    QXCommand few = client_.Command(L"SELECT 7");
    QXCommand broken = client_.Command(L"SELEKT 7");
    for (const bool encipher : {true, false}) {
        const Reply reply = client_.Call(kQuery, many, encipher);
        EXPECT_EQ(reply.enciphered, encipher);
        EXPECT_EQ(client_.Call(kQuery, few, encipher).enciphered, encipher);
        EXPECT_EQ(client_.Call(kQuery, broken, encipher).enciphered, encipher);
        const QXRecordset rows = reply.Recordset();
        ASSERT_EQ(rows.RowCount(), 50000U);
        for (std::size_t row = 0; row < rows.RowCount(); ++row) {
            const auto i = static_cast<std::int64_t>(row + 1);
            ASSERT_EQ(rows.GetInt64(row, 0), i);
            ASSERT_EQ(rows.GetTextUtf8(row, 1), i < 20000 ? "" : "row " + std::to_string(i));
            ASSERT_EQ(rows.IsNull(row, 2), i % 3 == 0);
            ASSERT_EQ(rows.GetDouble(row, 2), i % 3 == 0 ? 0 : static_cast<double>(i) * 0.5);
        }
    }
    many.SetPageSize(16384);
    many.SetPageNo(2);
    const QXRecordset page = client_.Call(kQuery, many).Recordset();
    ASSERT_EQ(page.RowCount(), 16384U);
    EXPECT_EQ(page.pageSize(), 16384);
    EXPECT_EQ(page.GetInt64(0, 0), 16385);
}

TEST_F(CommandTest, AnErrorBehindTheFirstRowsIsTheWholeReply) {
    QXCommand failing = client_.Command(
        L"WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c WHERE i < 50000) "
        L"SELECT CASE WHEN i < 40000 THEN i ELSE abs(-9223372036854775807 - 1) END FROM c");
    EXPECT_EQ(client_.Call(kQuery, failing).Error(), 1);
    EXPECT_EQ(client_.Number(L"SELECT 7"), 7);
}

/// Random bytes don't compress, so their body is over the length up to which bodies are enciphered.
TEST_F(CommandTest, AResultBeyondTheCiphersLimitTravelsPlain) {
    QXCommand large = client_.Command(
        L"WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c WHERE i < 44) "
        L"SELECT i, randomblob(1000000) FROM c");
    const Reply reply = client_.Call(kQuery, large);
    EXPECT_FALSE(reply.enciphered);
    EXPECT_GT(reply.body.size(), kMaxEncipheredBody);
    const QXRecordset rows = reply.Recordset();
    ASSERT_EQ(rows.RowCount(), 44U);
    EXPECT_EQ(rows.GetInt64(43, 0), 44);
    EXPECT_EQ(rows.GetBytes(43, 1).size(), 1000000U);
}

TEST_F(CommandTest, AStatementReachesNoOtherFileOfTheServer) {
    const std::wstring store = CQXBASE::Utf8ToWide(server_.Folder().File("data/accounts.db"));
    EXPECT_GT(client_.Execute(L"ATTACH '" + store + L"' AS store").Error(), 0);
    EXPECT_GT(client_.Execute(L"PRAGMA synchronous = OFF").Error(), 0);
}

TEST_F(CommandTest, AnEndlessStatementIsInterrupted) {
    TestServer hurried([](CQXSERVER::ServerOptions& options) {
        options.limits.statementTimeout = std::chrono::milliseconds(50);
    });
    RawClient client = hurried.LoggedIn();
    const wchar_t* const endless =
        L"WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n FROM c) SELECT count(*) FROM c";
    EXPECT_GT(client.Execute(endless).Error(), 0);
    EXPECT_EQ(client.Number(L"SELECT 1"), 1);
}

TEST_F(CommandTest, RequestsThatAreNoneLeaveTheConnectionUsable) {
    QXCommand command = client_.Command(L"SELECT 1");
    QXOneString text(L"x");
    QXSimpleMsg status(L"", 0);
    for (const std::uint32_t code : {0U, 9U, 19U, 27U, 31U, 32U, 34U, 40U, 0xffffffffU}) {
        EXPECT_EQ(client_.Call(code, status).Error(), Number(ServerError::UnknownRequest)) << code;
    }
    EXPECT_EQ(client_.Call(kOtpData, text).Error(), Number(ServerError::NotSupported));
    EXPECT_EQ(client_.Call(kCancel, text).Error(), Number(ServerError::UnknownToken));
    EXPECT_EQ(client_.Call(kQueryList, text).Error(), Number(ServerError::UndecodableBody));
    for (const bool encipher : {true, false}) {
        for (const std::string& body :
             {std::string(), std::string(3, '\1'), std::string(100, '\xff')}) {
            client_.SendBytes(MakeFrame(kQuery, body, encipher && !body.empty()));
            EXPECT_EQ(client_.Receive().Error(), Number(ServerError::UndecodableBody));
        }
    }
    EXPECT_EQ(client_.Number(L"SELECT 6"), 6);
}

TEST_F(CommandTest, ABodyThatIsNoCiphertextIsToldSo) {
    CQXBASE::FrameHeader header;
    header.typeCode = kHandshake;
    const auto send = [&](const std::string& body, std::uint32_t plainLength) {
        header.bodyLength = static_cast<std::uint32_t>(body.size());
        header.plainLength = plainLength;
        const FrameHeaderBytes bytes = EncodeFrameHeader(header);
        client_.SendBytes(std::string(bytes.data(), bytes.size()) + body);
        return client_.Receive().Error();
    };
    const std::int32_t refused = Number(ServerError::UndecipherableBody);
    EXPECT_EQ(send(std::string(32, 'x'), 20), refused);
    EXPECT_EQ(send(std::string(15, 'x'), 8), refused);
    EXPECT_EQ(send(std::string(), 8), refused);
    EXPECT_EQ(send(Encipher(std::string(8, '\0')), 9), refused);
    EXPECT_EQ(send(Encipher(std::string(8, '\0')), 0xffffffff), refused);
    EXPECT_EQ(send(Encipher(std::string(8, '\0')), 8), 0);
}

TEST_F(CommandTest, ABigEndianFrameIsRead) {
    const std::string login = "bob|~|hunter2";
    server_.AddUser("bob", "hunter2");
    std::string body{0, 0, 0, static_cast<char>(login.size())};
    for (const char unit : login) {
        body += {'\0', unit};
    }
    client_.SendBytes(HeaderClaiming(static_cast<std::uint32_t>(body.size()), false) + body);
    EXPECT_EQ(client_.Receive().Error(), 0);
}

/// The error of a statement stamped with `dataSource`.
std::int32_t ErrorWith(RawClient& client, const CQXDB::QXDataSource& dataSource,
                       const std::wstring& sql = L"SELECT 1") {
    QXCommand command = client.Command(sql);
    command.SetSysDataSrc(dataSource);
    return client.Call(kExecute, command).Error();
}

class DatabaseChoiceTest : public testing::TestWithParam<bool> {
  protected:
    static void Configure(CQXSERVER::ServerOptions& options) {
        options.clientDataSources.allowed = GetParam();
        options.databases = {{"sales", "sqlite:" + options.dataDir + "/sales.db"},
                             {"stock", "sqlite:" + options.dataDir + "/stock.db"}};
    }
    TestServer server_{Configure};
    RawClient client_ = server_.LoggedIn();
};

TEST_P(DatabaseChoiceTest, ANameChoosesAmongTheServersOwn) {
    QXCommand onStock = client_.Command(L"CREATE TABLE only_in_stock(n)", L"stock");
    EXPECT_EQ(client_.Call(kExecute, onStock).Error(), 0);
    EXPECT_NE(client_.Execute(L"SELECT * FROM only_in_stock").Error(), 0);
    client_.Login(L"ann", L"secret", L"stock");
    EXPECT_EQ(client_.Execute(L"SELECT * FROM only_in_stock").Error(), 0);
    QXCommand onSales = client_.Command(L"SELECT * FROM only_in_stock", L"sales");
    EXPECT_NE(client_.Call(kExecute, onSales).Error(), 0);
}

TEST_P(DatabaseChoiceTest, AClientsOwnDescriptionNeedsLeave) {
    CQXDB::QXDataSource own;
    own.database = CQXBASE::Utf8ToWide(server_.Folder().File("clients.db"));
    const std::int32_t expected = GetParam() ? 0 : Number(ServerError::UnknownDatabase);
    EXPECT_EQ(ErrorWith(client_, own), expected);
    CQXDB::QXDataSource elsewhere;
    elsewhere.type = CQXDB::CQXDB_DS_POSTGRESQL;
    elsewhere.port = 1;
    elsewhere.database = L"sales";
    EXPECT_EQ(ErrorWith(client_, elsewhere) == 0, !GetParam())
        << "a known name is the server's own";
    server_.AddUser("bob", "hunter2", {"sales"});
    client_.Login(L"bob", L"hunter2");
    EXPECT_EQ(ErrorWith(client_, own),
              GetParam() ? Number(ServerError::ForbiddenDatabase) : expected);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutLeave, DatabaseChoiceTest, testing::Bool());

TEST(ClientDataSources, AreKeptToTheirKindsAndFolder) {
    namespace fs = std::filesystem;
    const TempDir outside;
    const TempDir folder;
    TestServer server([&](CQXSERVER::ServerOptions& options) {
        options.clientDataSources = {true, {"sqlite"}, folder.Path().string() + "/"};
    });
    RawClient client = server.LoggedIn();
    CQXDB::QXDataSource own;
    own.type = CQXDB::CQXDB_DS_SQLITE;
    std::vector<std::string> paths = {outside.File("x.db"), "../x.db", ".",
                                      "file:" + folder.File("x.db"),
                                      server.Folder().File("data/accounts.db")};
    std::error_code noLinks;  // where they need a privilege
    fs::create_directory_symlink(outside.Path(), folder.Path() / "link", noLinks);
    if (!noLinks) {
        paths.emplace_back("link/x.db");
    }
    for (const std::string& path : paths) {
        own.database = CQXBASE::Utf8ToWide(path);
        EXPECT_EQ(ErrorWith(client, own), Number(ServerError::ForbiddenDatabase)) << path;
    }
    for (const wchar_t* const inMemory :
         {L":memory:", L"file::memory:?cache=shared", L"file:x?mode=memory"}) {
        own.database = inMemory;  // would stay for ever, and there can be any number of them
        EXPECT_EQ(ErrorWith(client, own), Number(ServerError::ForbiddenDatabase));
    }
    own.database = L"own.db";
    own.options = "confined=off;fulltext=on";
    EXPECT_EQ(ErrorWith(client, own, L"CREATE VIRTUAL TABLE f USING fts5(x)"), 1);
    EXPECT_EQ(ErrorWith(client, own), 0);
    EXPECT_TRUE(fs::exists(folder.Path() / "own.db"));
    const std::wstring elsewhere = CQXBASE::Utf8ToWide(outside.File("x.db"));
    EXPECT_GT(ErrorWith(client, own, L"ATTACH '" + elsewhere + L"' AS x"), 0);
    own.driver = CQXDB::CQXDB_DRIVER_ODBC;
    EXPECT_EQ(ErrorWith(client, own), Number(ServerError::ForbiddenDatabase));
}

TEST(Accounts, DontMeetEachOthersTemporaryTables) {
    TestServer server([](CQXSERVER::ServerOptions& options) { options.workers = 1; });
    server.AddUser("bob", "hunter2");
    RawClient ann = server.LoggedIn();
    RawClient bob = server.Connect();
    bob.Login(L"bob", L"hunter2");
    ASSERT_EQ(ann.Execute(L"CREATE TEMP TABLE mine AS SELECT 42 AS n").Error(), 0);
    EXPECT_EQ(ann.Number(L"SELECT n FROM mine"), 42);
    EXPECT_GT(bob.Execute(L"SELECT n FROM mine").Error(), 0);
}

}  // namespace
}  // namespace qxdb_test
