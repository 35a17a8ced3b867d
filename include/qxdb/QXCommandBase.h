// What the agent stamps on a command or command list before it runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <qxdb/QXCounts.h>
#include <qxdb/QXDataSource.h>
#include <qxdb/QXIOBase.h>

namespace CQXDB {

/// Copies share the data source until one of them is given another.
class QXDB_OBJECTS_API QXCommandBase : public CQXBASE::QXIOBase {
  public:
    ~QXCommandBase() override;

    void SetSysDataSrc(const QXDataSource& dataSource);
    const QXDataSource& SysDataSrc() const noexcept;
    void SetDB(const std::wstring& database);  ///< also the stamped data source's database name
    const std::wstring& DB() const noexcept;
    void SetToken(const std::wstring& token) { token_ = token; }
    const std::wstring& Token() const noexcept { return token_; }
    /// Identity of the transaction that this belongs to; empty for one of its own.
    void SetTransaction(const std::wstring& id) { transaction_ = id; }
    const std::wstring& Transaction() const noexcept { return transaction_; }
    /// Rows a page, below 2^31; 0: all rows. A number beyond 32 bits becomes -1, which the query
    /// refuses.
    void SetPageSize(long rows);
    long PageSize() const noexcept { return pageSize_; }
    /// Page number, from 1 and below 2^31; beyond that as above.
    void SetPageNo(long page);
    long PageNo() const noexcept { return pageNo_; }

    /// What the latest Execute changed, a command of a list each; empty before it, after a failure,
    /// and after anything else than Execute. Never travels with the commands.
    const QXCountList& Counts() const noexcept;
    void SetCounts(QXCountList counts) noexcept;
    /// -1 where it isn't known, see QXCounts.
    std::int64_t RowsAffected(std::size_t command = 0) const noexcept {
        return Counts().At(command).rowsAffected;
    }
    /// 0 for none.
    std::int64_t LastInsertId(std::size_t command = 0) const noexcept {
        return Counts().At(command).lastInsertId;
    }

  protected:
    QXCommandBase() = default;
    QXCommandBase(const QXCommandBase&) = default;
    QXCommandBase(QXCommandBase&&) = default;
    QXCommandBase& operator=(const QXCommandBase&) = default;
    QXCommandBase& operator=(QXCommandBase&&) = default;

    // The stamp travels in front of the statements, the transaction behind the token, with "|~|"
    // between them, where there is one; a received stamp's token is both. These are as toCDR,
    // fromCDR and size.
    bool WriteStamp(ACE_OutputCDR& out) const;
    bool ReadStamp(ACE_InputCDR& in);
    std::size_t StampSize() const;

  private:
    std::shared_ptr<const QXDataSource> dataSource_;  ///< null stands for a default one
    std::wstring token_;
    std::wstring transaction_;
    std::shared_ptr<const QXCountList> counts_;  ///< null stands for an empty one
    std::int32_t pageSize_ = 0;
    std::int32_t pageNo_ = 1;
};

}  // namespace CQXDB
