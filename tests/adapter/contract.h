// The cases that every database must pass; a test program instantiates them for its backends.
#pragma once

#include <chrono>
#include <future>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/adapter/backend.h"

namespace qxdb_test {

struct BackendParam {
    std::string name;
    BackendMaker make;
};
inline std::ostream& operator<<(std::ostream& out, const BackendParam& param) {
    return out << param.name;
}

/// All databases; a server starts when its backend is first asked for.
std::vector<BackendParam> Backends();
/// Those whose drivers hand values over as they are.
std::vector<BackendParam> ExactBackends();
/// Those that can stop in the middle of a result.
std::vector<BackendParam> StoppingBackends();

/// Those whose statements can be ended from another thread.
std::vector<BackendParam> CancellableBackends();

class Contract : public testing::TestWithParam<BackendParam> {
  protected:
    Contract() : backend(GetParam().make()), db(backend) {}
    void SetUp() override { DropTables(); }
    void TearDown() override { DropTables(); }
    /// Makes "CREATE TABLE t (columns)".
    void Table(const std::string& columns) {
        ASSERT_TRUE(db.Execute("CREATE TABLE t (" + columns + ")").ok());
    }

    const Backend& backend;
    Client db;

  private:
    void DropTables() {
        db.Execute("DROP TABLE IF EXISTS t");
        db.Execute("DROP TABLE IF EXISTS u");
    }
};

/// How `call`, which takes a client, ends when it is cancelled, again and again if need be, once
/// `runs` says that the database is at it.
template <typename Call, typename Runs>
Outcome CancelledOnce(Client client, Runs runs, Call call) {
    CQXDB::Cancellation cancellation;
    client.SetCancellation(&cancellation);
    auto end = std::async(std::launch::async, [&] { return call(client); });
    const std::chrono::milliseconds moment(20);
    while (!runs() && end.wait_for(moment) != std::future_status::ready) {
    }
    do {
        cancellation.Cancel();
    } while (end.wait_for(moment) != std::future_status::ready);
    return end.get();
}

inline std::string BackendName(const testing::TestParamInfo<BackendParam>& info) {
    return info.param.name;
}

}  // namespace qxdb_test
