#include "tests/end_to_end/databases.h"

namespace qxdb_test {

struct Databases::Servers {};

Databases::Databases() : urls_{{"sqlite", "sqlite:" + folder_.File("both.db")}} {}

Databases::~Databases() = default;

std::vector<std::pair<std::string, std::string>> Databases::AllUrls() const {
    return urls_;
}

}  // namespace qxdb_test
