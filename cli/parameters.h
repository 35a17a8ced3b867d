// Statement parameters as they are written on the command line.
#pragma once

#include <string_view>

#include <qxdb/QXValue.h>

namespace CQXCLI {

/// Reads one parameter:
/// - "null" is a null;
/// - "TYPE:VALUE" has the type int, double, decimal, bool, text, date, time, timestamp or blob (as
///   hexadecimal digits, with or without "\x" in front);
/// - what is written like a plain number ("5", "-0.25") is an integer or an exact decimal; a number
///   with leading zeros or a "+" is not plain;
/// - everything else is text.
/// Throws CliError (kWrongUsage) for a value that its type can't hold.
CQXDB::QXValue ParseParameter(std::string_view text);

/// Each reads the whole text, or returns false and leaves the value alone.
bool ParseInt64(std::string_view text, CQXDB::QXValue& value);
bool ParseDouble(std::string_view text, CQXDB::QXValue& value);
bool ParseDecimal(std::string_view text, CQXDB::QXValue& value);
bool ParseBool(std::string_view text, CQXDB::QXValue& value);  ///< true, false, t, f, 1, 0
bool ParseDate(std::string_view text, CQXDB::QXValue& value);
bool ParseTime(std::string_view text, CQXDB::QXValue& value);
bool ParseTimestamp(std::string_view text, CQXDB::QXValue& value);
bool ParseBlob(std::string_view text, CQXDB::QXValue& value);  ///< "\x" and hexadecimal digits

}  // namespace CQXCLI
