// Database URLs.
#include <vector>

#include <gtest/gtest.h>

#include "tests/objects/samples.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

QXDataSource Server(CQXDB_DSType_ENUM type, const wchar_t* server, std::int32_t port,
                    const wchar_t* database, const wchar_t* user, const wchar_t* password,
                    const char* options = "") {
    QXDataSource source;
    source.init(L"", type, server, port, database, user, password, false, options, 1);
    return source;
}

QXDataSource File(const wchar_t* path) {
    return Server(CQXDB_DS_EMBEDDED, L"", 0, path, L"", L"");
}

TEST(DataSourceUrl, EveryForm) {
    QXDataSource dsn;
    dsn.type = CQXDB_DS_ODBC;
    dsn.dsn = L"Sales 100%";
    QXDataSource whole;
    whole.type = CQXDB_DS_ODBC;
    whole.connectionString = L"Driver={X};PWD=50%25;";
    const auto pg = CQXDB_DS_POSTGRESQL;
    const std::vector<std::pair<std::wstring, QXDataSource>> cases = {
        {L"sqlite::memory:", File(L":memory:")},
        {L"sqlite:C:\\data\\x 100%.db", File(L"C:\\data\\x 100%.db")},
        {L"SQLite:rel/\u00E4?.db", File(L"rel/\u00E4?.db")},
        {L"sqlite:///tmp/a%20b.db", File(L"/tmp/a b.db")},
        {L"postgresql://u:p@h:5433/db?a=1&b=x%20y",
         Server(pg, L"h", 5433, L"db", L"u", L"p", "a=1;b=x y")},
        {L"postgres://h", Server(pg, L"h", 0, L"", L"", L"")},
        {L"postgresql:///db", Server(pg, L"", 0, L"db", L"", L"")},
        {L"postgresql://a%3Ab:c%40d%2F:e@h/db%20x",
         Server(pg, L"h", 0, L"db x", L"a:b", L"c@d/:e")},
        {L"mysql://root:p@ss@h/db", Server(CQXDB_DS_MYSQL, L"h", 0, L"db", L"root", L"p@ss")},
        {L"mariadb://u@[fe80::1]:3307/",
         Server(CQXDB_DS_MARIADB, L"fe80::1", 3307, L"", L"u", L"")},
        {L"mysql://\u00FC:\u4E2D@h/\U0001F600",
         Server(CQXDB_DS_MYSQL, L"h", 0, L"\U0001F600", L"\u00FC", L"\u4E2D")},
        {L"odbc:Sales 100%", dsn},
        {L"odbc:Driver={X};PWD=50%25;", whole},
    };
    for (const auto& [url, expected] : cases) {
        QXDataSource source = FilledDataSource();
        std::wstring error;
        ASSERT_TRUE(QXDataSource::FromUrl(url, source, error)) << url.c_str();
        EXPECT_TRUE(Same(source, expected)) << url.c_str();
    }
}

TEST(DataSource, OptionsAreUtf8HoweverTheyCame) {
    const std::string ansi = CQXBASE::ToNarrow(L"a=gr\u00FC\u00DFe", CQXBASE::kCodePageAnsi);
    const QXDataSource told = Server(CQXDB_DS_POSTGRESQL, L"h", 0, L"", L"", L"", ansi.c_str());
    EXPECT_EQ(told.options,
              "a=gr\xC3\xBC\xC3\x9F"
              "e");
    QXDataSource fromUrl;
    std::wstring error;
    ASSERT_TRUE(QXDataSource::FromUrl(L"postgresql://h?a=gr\u00FC%C3%9Fe", fromUrl, error));
    EXPECT_EQ(fromUrl.options, told.options);
}

TEST(DataSourceUrl, RefusalSaysWhyWithoutThePasswordAndChangesNothing) {
    for (const wchar_t* url :
         {L"", L"x.db", L"sqlite:", L"sqlite://host/x.db", L"odbc:", L"ftp://h/db", L"mysql:db",
          L"postgresql://h:port/db", L"postgresql://h:70000/db", L"postgresql://u:%zz@h/db",
          L"postgresql://[::1/db", L"mysql://h/db?init=a;b", L"mysql://u:secret@h:bad/db",
          L"mysql://u:secret%zz@h/db", L"mysql://u:secret@h/d%zz", L"mysql:u:secret@h"}) {
        QXDataSource source = FilledDataSource();
        std::wstring error;
        EXPECT_FALSE(QXDataSource::FromUrl(url, source, error)) << url;
        EXPECT_TRUE(Same(source, FilledDataSource()));
        EXPECT_GT(error.size(), 10U) << url;
        EXPECT_EQ(error.find(L"secret"), std::wstring::npos) << url;
    }
}

}  // namespace
}  // namespace qxdb_test
