// How the fields of a CSV file become values of a table's columns.
#pragma once

#include <string>
#include <vector>

#include <qxdb/QXRecordset.h>

#include "cli/transfer/csv_reader.h"

namespace CQXCLI::transfer {

struct TargetColumn {
    std::string name;  ///< as the table has it
    CQXDB::QXValueType type = CQXDB::QXValueType::Text;
};

/// All columns of a table, in its order, from a result that has them.
std::vector<TargetColumn> AllColumns(const CQXDB::QXRecordset& table);
/// The columns that a header line names, in its order; ASCII case doesn't count unless two columns
/// differ in nothing else. Throws CliError (kFailed) for a name that is no column or comes twice.
std::vector<TargetColumn> NamedColumns(const CQXDB::QXRecordset& table, const CsvRow& header);

/// The field as a value of the column's type. What is not written as that type is, goes to the
/// database as text, for it to take or to refuse.
CQXDB::QXValue ToValue(const CsvField& field, CQXDB::QXValueType type);

}  // namespace CQXCLI::transfer
