// An ordered list of commands with one shared data source, database, token and page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <qxdb/QXCommand.h>

namespace CQXDB {

class CommandGroups;

/// What the list holds (data source, token, page) counts; the same members of its commands do not.
class QXDB_OBJECTS_API QXCommandList : public CQXBASE::QXIOBase {
  public:
    void Add(QXCommand command) { commands_.push_back(std::move(command)); }
    void Reserve(std::size_t count) { commands_.reserve(count); }
    void RemoveAll() noexcept { commands_.clear(); }
    std::size_t Count() const noexcept { return commands_.size(); }
    bool Empty() const noexcept { return commands_.empty(); }
    const QXCommand& At(std::size_t index) const { return commands_.at(index); }
    QXCommand& At(std::size_t index) { return commands_.at(index); }
    std::vector<QXCommand>::const_iterator begin() const noexcept { return commands_.begin(); }
    std::vector<QXCommand>::const_iterator end() const noexcept { return commands_.end(); }

    void SetSysDataSrc(const QXDataSource& dataSource) { dataSource_ = dataSource; }
    const QXDataSource& SysDataSrc() const noexcept { return dataSource_; }
    void SetDB(const std::wstring& database) { dataSource_.database = database; }
    const std::wstring& DB() const noexcept { return dataSource_.database; }
    void SetToken(const std::wstring& token) { token_ = token; }
    const std::wstring& Token() const noexcept { return token_; }
    void SetPageSize(long rows) { pageSize_ = static_cast<std::int32_t>(rows); }
    long PageSize() const noexcept { return pageSize_; }
    void SetPageNo(long page) { pageNo_ = static_cast<std::int32_t>(page); }
    long PageNo() const noexcept { return pageNo_; }

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;

  private:
    void TakeCommands(CommandGroups& groups);

    std::vector<QXCommand> commands_;
    QXDataSource dataSource_;
    std::wstring token_;
    std::int32_t pageSize_ = 0;
    std::int32_t pageNo_ = 1;
};

}  // namespace CQXDB
