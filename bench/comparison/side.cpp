#include "side.h"

#include <stdexcept>

namespace qxdb_bench {

void Side::CheckSmall(std::int64_t id, std::int64_t a) {
    static const Table ten = Table::Named("ten");
    static std::int64_t knownId = 0;
    static std::int64_t knownA = 0;
    if (id != knownId) {
        knownId = id;
        knownA = ten.At(id)[1].integer;
    }
    if (a != knownA) {
        throw std::runtime_error("the small query brought a wrong row");
    }
}

std::unique_ptr<Side> MakeSide(const std::vector<std::string>& words) {
    const std::string& kind = words.at(0);
    if (kind.compare(0, 4, "qxdb") == 0) {
        return MakeQxdb(words);
    }
    if (kind == "postgresql") {
        return MakePostgreSql(words);
    }
    if (kind == "mariadb") {
        return MakeMariaDb(words);
    }
    if (kind == "firebird") {
        return MakeFirebird(words);
    }
    if (kind == "sqlite") {
        return MakeSqlite(words);
    }
    throw std::runtime_error("no side " + kind);
}

}  // namespace qxdb_bench
