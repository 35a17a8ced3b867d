#include "adapter/postgresql/errors.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>

namespace CQXDB::adapter::postgresql {
namespace {

constexpr const char* kCannotConnect = "08001";
constexpr const char* kConnectionLost = "08006";

std::string Trimmed(const char* text) {
    std::string trimmed(text == nullptr ? "" : text);
    trimmed.erase(trimmed.find_last_not_of(" \r\n\t") + 1);
    return trimmed;
}

std::string Field(const PGresult* result, char code) {
    return Trimmed(PQresultErrorField(result, static_cast<unsigned char>(code)));
}

std::string MessageOf(const PGresult* result) {
    std::string text = Field(result, PG_DIAG_MESSAGE_PRIMARY);
    for (const char more : {PG_DIAG_MESSAGE_DETAIL, PG_DIAG_MESSAGE_HINT}) {
        const std::string field = Field(result, more);
        text += field.empty() ? "" : " (" + field + ")";
    }
    return text;
}

/// The words with which a command that changes rows is reported.
constexpr const char* kChanging[] = {"INSERT ", "UPDATE ", "DELETE ", "MERGE ", "COPY "};

}  // namespace

QXCounts PgCounts(PGresult* result) {
    if (result == nullptr || PQresultStatus(result) == PGRES_SINGLE_TUPLE) {
        return {};
    }
    const std::string tag = PQcmdStatus(result);
    const bool changes = std::any_of(std::begin(kChanging), std::end(kChanging),
                                     [&](const char* word) { return tag.rfind(word, 0) == 0; });
    return {changes ? std::strtoll(PQcmdTuples(result), nullptr, 10) : 0, 0};
}

void AddPgNotice(CallReport& report, const PGresult* notice) {
    if (report.TakesNotices()) {
        report.AddNotice(Field(notice, PG_DIAG_SEVERITY_NONLOCALIZED).c_str(),
                         SqlStateCode(Field(notice, PG_DIAG_SQLSTATE).c_str()), MessageOf(notice));
    }
}

DatabaseError PgError(PGconn* connection, const PGresult* result) {
    const std::string state = Field(result, PG_DIAG_SQLSTATE);
    if (state.empty()) {
        const char* code = PQstatus(connection) == CONNECTION_BAD ? kConnectionLost : "XX000";
        return {SqlStateCode(code), std::string(code) + ": " + Trimmed(PQerrorMessage(connection))};
    }
    return {SqlStateCode(state.c_str()), state + ": " + MessageOf(result)};
}

DatabaseError PgConnectError(PGconn* connection) {
    return {SqlStateCode(kCannotConnect),
            std::string(kCannotConnect) + ": " + Trimmed(PQerrorMessage(connection))};
}

}  // namespace CQXDB::adapter::postgresql
