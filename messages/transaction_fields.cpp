#include "messages/transaction_fields.h"

#include <string_view>

namespace CQXBASE {
namespace {

using namespace CQXDB;

constexpr std::wstring_view kSeparator = L"|~|";

const char* LevelText(QXIsolation isolation) noexcept {
    switch (isolation) {
        case QXISOLATION_DEFAULT:
            break;
        case QXISOLATION_READ_UNCOMMITTED:
            return " ISOLATION LEVEL READ UNCOMMITTED";
        case QXISOLATION_READ_COMMITTED:
            return " ISOLATION LEVEL READ COMMITTED";
        case QXISOLATION_REPEATABLE_READ:
            return " ISOLATION LEVEL REPEATABLE READ";
        case QXISOLATION_SERIALIZABLE:
            return " ISOLATION LEVEL SERIALIZABLE";
    }
    return "";
}

const wchar_t* VerbText(TransactionVerb verb) noexcept {
    switch (verb) {
        case TransactionVerb::Begin:
            return L"begin";
        case TransactionVerb::Commit:
            return L"commit";
        case TransactionVerb::Rollback:
            return L"rollback";
        case TransactionVerb::OpenCursor:
            return L"open";
        case TransactionVerb::FetchCursor:
            return L"fetch";
        case TransactionVerb::CloseCursor:
            return L"close";
        case TransactionVerb::Describe:
            return L"describe";
        default:
            return L"";
    }
}

}  // namespace

TokenField SplitTokenField(const std::wstring& field) {
    TokenField result;
    const std::size_t end = field.find(kSeparator);
    result.session = field.substr(0, end);
    if (end == std::wstring::npos) {
        return result;
    }
    const std::wstring rest = field.substr(end + kSeparator.size());
    const std::size_t verb = rest.find(kSeparator);
    result.transaction = rest.substr(0, verb);
    if (verb == std::wstring::npos) {
        return result;
    }
    const std::wstring word = rest.substr(verb + kSeparator.size());
    result.verb = TransactionVerb::Unknown;
    for (const TransactionVerb each :
         {TransactionVerb::Begin, TransactionVerb::Commit, TransactionVerb::Rollback,
          TransactionVerb::OpenCursor, TransactionVerb::FetchCursor, TransactionVerb::CloseCursor,
          TransactionVerb::Describe}) {
        result.verb = word == VerbText(each) ? each : result.verb;
    }
    return result;
}

std::wstring VerbField(const std::wstring& transaction, TransactionVerb verb) {
    return transaction + std::wstring(kSeparator) + VerbText(verb);
}

std::string BeginText(const QXTransactionInfo& info) {
    return std::string("BEGIN") + LevelText(info.isolation) + (info.readOnly ? " READ ONLY" : "");
}

std::optional<QXTransactionInfo> ParseBeginText(const std::string& text) {
    for (int level = QXISOLATION_DEFAULT; level <= QXISOLATION_SERIALIZABLE; ++level) {
        for (const bool readOnly : {false, true}) {
            const QXTransactionInfo info{static_cast<QXIsolation>(level), readOnly};
            if (text == BeginText(info)) {
                return info;
            }
        }
    }
    return std::nullopt;
}

}  // namespace CQXBASE
