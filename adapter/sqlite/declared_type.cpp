#include "adapter/sqlite/declared_type.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "util/ascii.h"

namespace CQXDB::adapter::sqlite {
namespace {

struct NamedType {
    std::string_view name;
    QXValueType type;
};

/// Read by the first word.
constexpr NamedType kExact[] = {
    {"DATE", QXValueType::Date},          {"TIME", QXValueType::Time},
    {"DATETIME", QXValueType::Timestamp}, {"TIMESTAMP", QXValueType::Timestamp},
    {"BOOLEAN", QXValueType::Bool},       {"BOOL", QXValueType::Bool},
    {"DECIMAL", QXValueType::Decimal},    {"NUMERIC", QXValueType::Decimal},
};

/// Read by any part of the declaration, in SQLite's own order of preference.
constexpr NamedType kAffinity[] = {
    {"INT", QXValueType::Int64},   {"CHAR", QXValueType::Text},   {"CLOB", QXValueType::Text},
    {"TEXT", QXValueType::Text},   {"BLOB", QXValueType::Blob},   {"REAL", QXValueType::Double},
    {"FLOA", QXValueType::Double}, {"DOUB", QXValueType::Double},
};

/// The second number in "(p, s)".
int ScaleOf(const std::string& declaration) {
    const std::size_t comma =
        declaration.find(',', std::min(declaration.find('('), declaration.size()));
    if (comma == std::string::npos) {
        return 0;
    }
    return std::clamp(std::atoi(declaration.c_str() + comma + 1), 0, 1000);
}

}  // namespace

DeclaredType ReadDeclaredType(std::string_view declaration) {
    const std::string upper = CQXBASE::UpperAscii(declaration);
    const std::string_view word = std::string_view(upper).substr(0, upper.find_first_of(" (\t"));
    for (const NamedType& exact : kExact) {
        if (word == exact.name) {
            return {exact.type, exact.type == QXValueType::Decimal ? ScaleOf(upper) : 0};
        }
    }
    for (const NamedType& affinity : kAffinity) {
        if (upper.find(affinity.name) != std::string::npos) {
            return {affinity.type, 0};
        }
    }
    return {};
}

}  // namespace CQXDB::adapter::sqlite
