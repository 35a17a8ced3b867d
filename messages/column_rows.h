// The description of columns as a recordset, which it travels as.
#pragma once

#include <vector>

#include <qxdb/QXColumnInfo.h>
#include <qxdb/QXRecordset.h>

namespace CQXBASE {

/// A row a column.
void WriteColumnRows(const std::vector<CQXDB::QXColumnInfo>& columns, CQXDB::QXRecordset& rs);
/// False when `rs` lacks a column of those that WriteColumnRows makes. Others are left alone.
bool ReadColumnRows(const CQXDB::QXRecordset& rs, std::vector<CQXDB::QXColumnInfo>& columns);

}  // namespace CQXBASE
