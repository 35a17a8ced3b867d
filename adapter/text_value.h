// Cells that arrive as text with a known type.
#pragma once

#include <string_view>

#include <qxdb/QXColumn.h>

namespace CQXDB::adapter {

/// Appends `text` as a value of `type`, or as Text when it isn't one: "infinity" is no date, NaN no
/// decimal. Booleans are "t"/"f", "true"/"false" or "1"/"0". Not for Blob.
void AppendTextAs(QXColumn& column, QXValueType type, std::string_view text);

}  // namespace CQXDB::adapter
