// Readable output of recordsets.
#pragma once

#include <string>

#include <qxdb/QXRecordset.h>

namespace tour {

/// One line a row, cells joined by " | ", behind a line of column names.
void Print(const CQXDB::QXRecordset& rows);
/// "  label: detail".
void Tell(const std::string& label, const std::string& detail);

std::string Utf8(const std::wstring& text);

}  // namespace tour
