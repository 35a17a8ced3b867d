#include <new>
#include <utility>

#include <qxdb/QXCommandBase.h>

#include "objects/encoding/cdr_fields.h"
#include "objects/page_number.h"

namespace CQXDB {
namespace {

const QXDataSource& DefaultDataSource() {
    static const QXDataSource source;
    return source;
}

std::wstring TokenField(const std::wstring& token, const std::wstring& transaction) {
    return transaction.empty() ? token : token + L"|~|" + transaction;
}

}  // namespace

QXCommandBase::~QXCommandBase() = default;

void QXCommandBase::SetSysDataSrc(const QXDataSource& dataSource) {
    dataSource_ = std::make_shared<const QXDataSource>(dataSource);
}

const QXDataSource& QXCommandBase::SysDataSrc() const noexcept {
    return dataSource_ ? *dataSource_ : DefaultDataSource();
}

void QXCommandBase::SetDB(const std::wstring& database) {
    if (database != DB()) {
        QXDataSource changed = SysDataSrc();
        changed.database = database;
        dataSource_ = std::make_shared<const QXDataSource>(std::move(changed));
    }
}

const std::wstring& QXCommandBase::DB() const noexcept {
    return SysDataSrc().database;
}

const QXCountList& QXCommandBase::Counts() const noexcept {
    static const QXCountList none;
    return counts_ ? *counts_ : none;
}

void QXCommandBase::SetCounts(QXCountList counts) noexcept {
    counts_.reset();
    try {
        if (counts.Count() != 0) {
            counts_ = std::make_shared<const QXCountList>(std::move(counts));
        }
    } catch (const std::bad_alloc&) {
        // What was done is no failure for that.
    }
}

void QXCommandBase::SetPageSize(long rows) {
    pageSize_ = PageNumber(rows);
}

void QXCommandBase::SetPageNo(long page) {
    pageNo_ = PageNumber(page);
}

bool QXCommandBase::WriteStamp(ACE_OutputCDR& out) const {
    return SysDataSrc().toCDR(out) != 0 &&
           CQXBASE::encoding::WriteWide(out, TokenField(token_, transaction_)) &&
           CQXBASE::encoding::WriteLong(out, pageSize_) &&
           CQXBASE::encoding::WriteLong(out, pageNo_);
}

bool QXCommandBase::ReadStamp(ACE_InputCDR& in) {
    QXDataSource dataSource;
    transaction_.clear();
    if (dataSource.fromCDR(in) == 0 || !CQXBASE::encoding::ReadWide(in, token_) ||
        !CQXBASE::encoding::ReadLong(in, pageSize_) || !CQXBASE::encoding::ReadLong(in, pageNo_)) {
        return false;
    }
    dataSource_ = std::make_shared<const QXDataSource>(std::move(dataSource));
    return true;
}

std::size_t QXCommandBase::StampSize() const {
    return QXDataSource(SysDataSrc()).size() +
           CQXBASE::encoding::WideSize(TokenField(token_, transaction_)) +
           2 * CQXBASE::encoding::kNumberSize;
}

}  // namespace CQXDB
