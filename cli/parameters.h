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

/// Reads the whole text as a value of the type, or returns false and leaves `value` alone: numbers
/// without a "+", booleans as true, false, t, f, 1 or 0, blobs as "\x" and hexadecimal digits.
bool ParseAs(CQXDB::QXValueType type, std::string_view text, CQXDB::QXValue& value);

}  // namespace CQXCLI
