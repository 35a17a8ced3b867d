// The cases that every database must pass; a test program instantiates them for its backends.
#pragma once

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

inline std::string BackendName(const testing::TestParamInfo<BackendParam>& info) {
    return info.param.name;
}

}  // namespace qxdb_test
