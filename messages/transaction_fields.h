// How transactions travel: in the token field of commands, and as the statement that begins one.
#pragma once

#include <optional>
#include <string>

#include <qxdb/QXTransaction.h>

namespace CQXBASE {

/// What a command's token field asks of its transaction, in place of running its statement.
enum class TransactionVerb {
    None,
    Begin,
    Commit,
    Rollback,
    OpenCursor,   ///< run the statement; the command's page number names the cursor, here and below
    FetchCursor,  ///< the rows that come next, at most a page
    CloseCursor,
    Describe,  ///< the columns of the statement's result, without running it
    Unknown
};

/// What the token field of a received command holds.
struct TokenField {
    std::wstring session;
    std::wstring transaction;  ///< identity; empty: none
    TransactionVerb verb = TransactionVerb::None;
};

/// Reads "session", "session|~|identity" or "session|~|identity|~|verb", where the identity of a
/// transaction that is to begin, or of none, is empty.
TokenField SplitTokenField(const std::wstring& field);

/// What stands behind the session and "|~|" for a verb.
std::wstring VerbField(const std::wstring& transaction, TransactionVerb verb);

/// "BEGIN", with "ISOLATION LEVEL ..." and "READ ONLY" behind it where asked for, in capitals.
std::string BeginText(const CQXDB::QXTransactionInfo& info);
/// Nothing when the text is none that BeginText gives.
std::optional<CQXDB::QXTransactionInfo> ParseBeginText(const std::string& text);

}  // namespace CQXBASE
