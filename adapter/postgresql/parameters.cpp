#include "adapter/postgresql/parameters.h"

#include <utility>

#include <climits>

#include "adapter/database_error.h"
#include "adapter/postgresql/types.h"

namespace CQXDB::adapter::postgresql {
namespace {

std::string Place(std::size_t index) {
    return "parameter " + std::to_string(index + 1);
}

}  // namespace

PgParameters::PgParameters(const Parameters& values) {
    texts_.reserve(values.size());
    types_.reserve(values.size());
    values_.reserve(values.size());
    lengths_.reserve(values.size());
    formats_.reserve(values.size());
    for (const QXValue& value : values) {
        Add(value);
    }
}

void PgParameters::Add(const QXValue& value) {
    switch (value.Type()) {
        case QXValueType::Null:
        case QXValueType::Mixed:
            types_.push_back(0);
            values_.push_back(nullptr);
            lengths_.push_back(0);
            formats_.push_back(0);
            break;
        case QXValueType::Blob:
            AddBlob(value.Bytes());
            break;
        case QXValueType::Text:
        case QXValueType::Decimal:
            AddText(std::string(value.Bytes()));
            break;
        default:
            AddText(value.ToUtf8());
    }
}

void PgParameters::AddText(std::string text) {
    if (text.find('\0') != std::string::npos) {
        throw DatabaseError(DBMGR_BAD_VALUE, Place(values_.size()) +
                                                 " holds a NUL character, which PostgreSQL can't "
                                                 "store in a text");
    }
    texts_.push_back(std::move(text));
    types_.push_back(0);
    values_.push_back(texts_.back().c_str());
    lengths_.push_back(0);
    formats_.push_back(0);
}

void PgParameters::AddBlob(std::string_view bytes) {
    if (bytes.size() > INT_MAX) {
        throw DatabaseError(DBMGR_BAD_VALUE, Place(values_.size()) + " is larger than 2 GiB");
    }
    types_.push_back(pg::kBytea);
    values_.push_back(bytes.empty() ? "" : bytes.data());
    lengths_.push_back(static_cast<int>(bytes.size()));
    formats_.push_back(1);
}

}  // namespace CQXDB::adapter::postgresql
