// A statement whose result comes in portions, if it only reads.
#pragma once

#include <string>
#include <vector>

#include <qxdb/QXValue.h>

#include "cli/session.h"

namespace CQXCLI::script {

class PortionedQuery {
  public:
    /// `rows`: of a portion, at most; 0 for all at once. `session` must outlive it.
    PortionedQuery(Session& session, std::string sql, std::vector<CQXDB::QXValue> parameters,
                   long rows);

    /// Runs the statement. `rs` takes the first portion, all rows of a statement that may change
    /// something, or no columns without a result.
    Answer Run(CQXDB::QXRecordset& rs);
    /// False when everything was taken.
    bool More() const noexcept { return cursor_.IsOpen(); }
    /// The portion that comes next; none behind the last row.
    Answer Next(CQXDB::QXRecordset& rs);

  private:
    Session& session_;
    CQXDB::QXCommand command_;
    const long rows_;
    const bool portions_;
    CQXDB::QXCursor cursor_;
};

}  // namespace CQXCLI::script
