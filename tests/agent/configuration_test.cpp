#include <new>

#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

namespace {

using CQXDB::DBAgent;

TEST(AgentConfiguration, AnEmptyDatabaseNameChangesNothing) {
    DBAgent agent;
    agent.SetDB(L"first");
    agent.SetDB(L"");
    EXPECT_EQ(agent.DefaultDB(), L"first");
    agent.init(L"srv:1", {}, L"t", true, L"");
    EXPECT_EQ(agent.DefaultDB(), L"first");
    agent.init(L"srv:1", {}, L"t", true, L"second");
    EXPECT_EQ(agent.DefaultDB(), L"second");
    CQXDB::QXSvrInfo server;
    server.host = L"srv";
    server.port = 9000;
    server.database = L"db1";
    agent.init(server, {}, L"tok", false);
    EXPECT_EQ(agent.ServerName(), L"srv:9000");
    EXPECT_EQ(agent.DefaultDB(), L"db1");
}

TEST(AgentConfiguration, ServerNameIsKeptAsGivenLocallyAndRebuiltRemotely) {
    DBAgent local;
    local.init(L"srv:0080:x", {}, L"tok", true);
    EXPECT_EQ(local.ServerName(), L"srv:0080:x");

    struct Case {
        const wchar_t* given;
        const wchar_t* key;
    };
    for (const Case& c : {Case{L"srv:9000", L"srv:9000"},
                          {L"srv:080", L"srv:80"},
                          {L"srv", L"srv:0"},
                          {L"srv:", L"srv:0"},
                          {L"srv:x", L"srv:0"},
                          {L"", L":0"},
                          {L":7", L":7"}}) {
        DBAgent agent;
        agent.init(c.given, {}, L"tok", false);
        EXPECT_EQ(agent.ServerName(), c.key) << c.given;
        EXPECT_FALSE(agent.isLocal());
        EXPECT_EQ(agent.token(), L"tok");
        DBAgent switched;
        switched.init(c.given, {}, L"", true);
        switched.SetIsLocal(false);
        EXPECT_EQ(switched.ServerName(), c.key) << c.given;
        switched.SetIsLocal(true);
        EXPECT_TRUE(switched.isLocal());
        EXPECT_EQ(switched.ServerName(), c.key);
    }
}

// Where an argument is put decides what a database is asked for, so all of them differ.
TEST(AgentConfiguration, DescriptionsReachTheStampedCommandMemberByMember) {
    const auto stamped = [](DBAgent& agent) {
        agent.SetIsLocal(false);
        long code = 0;
        std::wstring text;
        CQXDB::QXCommand command(L"SELECT 1");
        agent.Execute(code, text, command);
        EXPECT_NE(code, 0) << "there is no server";
        return command.SysDataSrc();
    };
    const auto common = [](const CQXDB::QXDataSource& source) {
        return source.server + L" " + std::to_wstring(source.port) + L" " + source.database + L" " +
               source.user + L" " + source.password + (source.trusted ? L" trusted" : L"");
    };
    DBAgent agent;
    agent.initDB(CQXDB::CQXDB_DS_ORACLE, L"srv", 1521, L"db", L"usr", L"pwd", L"opt=\u00e9", true);
    CQXDB::QXDataSource source = stamped(agent);
    EXPECT_EQ(common(source), L"srv 1521 db usr pwd trusted");
    EXPECT_EQ(source.type, CQXDB::CQXDB_DS_ORACLE);
    EXPECT_EQ(source.name, L"");
    EXPECT_EQ(source.version, 1);
    EXPECT_EQ(source.options.substr(0, 4), "opt=");

    EXPECT_FALSE(agent.CanConnect(CQXDB::CQXDB_DS_EMBEDDED, L"s2", 2, L"/no/such/dir/d2", L"u2",
                                  L"p2", false, CQXDB::CQXDB_DRIVER_SQLITE, L"name", L"dsn",
                                  L"string", L"extra"));
    source = stamped(agent);
    EXPECT_EQ(common(source), L"s2 2 /no/such/dir/d2 u2 p2");
    EXPECT_EQ(source.type, CQXDB::CQXDB_DS_EMBEDDED);
    EXPECT_EQ(source.driver, CQXDB::CQXDB_DRIVER_SQLITE);
    EXPECT_EQ(source.driverName + L" " + source.dsn + L" " + source.connectionString + L" " +
                  source.extra,
              L"name dsn string extra");
    EXPECT_EQ(source.options, "");
}

TEST(AgentConfiguration, CopiesShareTheDataSource) {
    DBAgent agent;
    agent.SetDB(L"a");
    agent.init(L"s:1", {}, L"tok", true);
    // A copy must never be destroyed beside its original; this one just stays.
    alignas(DBAgent) static unsigned char storage[sizeof(DBAgent)];
    auto* copy = new (storage) DBAgent(agent);
    EXPECT_EQ(copy->token(), L"tok");
    copy->SetDB(L"b");
    EXPECT_EQ(agent.DefaultDB(), L"b");
    copy->init(L"s:2", {}, L"new", true);
    EXPECT_EQ(agent.token(), L"tok");
    EXPECT_EQ(agent.ServerName(), L"s:1");
}

}  // namespace
