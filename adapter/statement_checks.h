// What every database refuses in the same words.
#pragma once

#include <cstddef>
#include <string>

#include "adapter/database_error.h"

namespace CQXDB::adapter {

inline void CheckParameterCount(std::size_t wanted, std::size_t given) {
    if (wanted != given) {
        throw DatabaseError(DBMGR_PARAMETER_COUNT, "the statement takes " + std::to_string(wanted) +
                                                       " parameters, and " + std::to_string(given) +
                                                       " were given");
    }
}

[[noreturn]] inline void RefuseEmptyStatement() {
    throw DatabaseError(DBMGR_EMPTY_STATEMENT, "the text holds no statement");
}

[[noreturn]] inline void RefuseSeveralStatements() {
    throw DatabaseError(DBMGR_SEVERAL_STATEMENTS,
                        "the text holds several statements where one is required");
}

/// `text` is a member of a data source: the client libraries would take a NUL for its end.
inline void RefuseNul(const std::string& text, const std::string& member) {
    if (text.find('\0') != std::string::npos) {
        throw DatabaseError(DBMGR_BAD_DATA_SOURCE, "the data source's " + member + " holds a NUL");
    }
}

}  // namespace CQXDB::adapter
