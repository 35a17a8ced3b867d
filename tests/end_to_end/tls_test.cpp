// TLS between the agent and the real server, with others' programs as its witnesses.
#include <gtest/gtest.h>

#include "tests/support/ProxyServers.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

/// A server with certificates that it has made itself.
class TlsServer {
  public:
    explicit TlsServer(std::vector<std::string> arguments = {})
        : server_(QXDB_SERVER_PROGRAM, std::move(arguments)) {
        server_.Stop();
        RunToSuccess({QXDB_SERVER_PROGRAM, "tls", "init", "--data", Data(), "--host", "127.0.0.1",
                      "--host", "localhost"});
        server_.Start();
    }
    QxdbServer& Get() noexcept { return server_; }
    std::string Data() const { return server_.Folder().Path().string(); }
    QXTlsInfo Info() const {
        QXTlsInfo info;
        info.enabled = true;
        info.caFile = Wide(Data() + "/tls/ca.pem");
        return info;
    }

  private:
    QxdbServer server_;
};

TEST(Tls, CarriesAllWork) {
    TlsServer server;
    DBAgent agent;
    agent.SetTls(server.Info());
    LogIn(agent, server.Get());
    ASSERT_EQ(Execute(agent, L"CREATE TABLE t(n INTEGER, s TEXT)").code, 0);
    QXCommandList list;
    for (int i = 0; i < 20000; ++i) {
        QXCommand command(L"INSERT INTO t VALUES(?, ?)");
        command.AddParam(QXValue::Int64(i));
        command.AddParam(QXValue::Text(L"row " + std::to_wstring(i * 7919)));
        list.Add(command);
    }
    const Answer filled = Execute(agent, list);
    ASSERT_EQ(filled.code, 0) << filled;
    const Answer all = Query(agent, L"SELECT * FROM t ORDER BY n");
    ASSERT_EQ(all.code, 0) << Utf8(all.text);
    ASSERT_EQ(all.rows.RowCount(), 20000);
    EXPECT_TRUE(agent.Shakehand());
    EXPECT_TRUE(agent.SendMsg(L"hello"));
}

}  // namespace
