#include "adapter/postgresql/errors.h"

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

}  // namespace

DatabaseError PgError(PGconn* connection, const PGresult* result) {
    const std::string state = Field(result, PG_DIAG_SQLSTATE);
    if (state.empty()) {
        const char* code = PQstatus(connection) == CONNECTION_BAD ? kConnectionLost : "XX000";
        return {SqlStateCode(code), std::string(code) + ": " + Trimmed(PQerrorMessage(connection))};
    }
    std::string text = state + ": " + Field(result, PG_DIAG_MESSAGE_PRIMARY);
    for (const char more : {PG_DIAG_MESSAGE_DETAIL, PG_DIAG_MESSAGE_HINT}) {
        const std::string field = Field(result, more);
        text += field.empty() ? "" : " (" + field + ")";
    }
    return {SqlStateCode(state.c_str()), text};
}

DatabaseError PgConnectError(PGconn* connection) {
    return {SqlStateCode(kCannotConnect),
            std::string(kCannotConnect) + ": " + Trimmed(PQerrorMessage(connection))};
}

}  // namespace CQXDB::adapter::postgresql
