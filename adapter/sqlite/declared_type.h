// What the declared type of a SQLite column says about its values.
#pragma once

#include <string_view>

#include <qxdb/QXEnums.h>

namespace CQXDB::adapter::sqlite {

struct DeclaredType {
    /// Null when nothing is known. Int64, Double, Text and Blob are only the type of an empty
    /// result; the others also say how stored texts and numbers are to be read.
    QXValueType type = QXValueType::Null;
    int scale = 0;  ///< digits after the point of a Decimal; 0 when none are declared
};

/// `declaration` is as in CREATE TABLE, such as "DECIMAL(10, 2)".
DeclaredType ReadDeclaredType(std::string_view declaration);

}  // namespace CQXDB::adapter::sqlite
