// The program under test, run to its end.
#pragma once

#include <string>
#include <vector>

namespace qxdb_test {

struct Ended {
    int status = -1;
    std::string out;
    std::string err;
};

struct Given {
    std::string input = {};                     ///< on standard input
    std::vector<std::string> environment = {};  ///< "NAME=value"
};

Ended RunQxdb(const std::vector<std::string>& arguments, const Given& given = {});

}  // namespace qxdb_test
