// The recordsets of a batch, in the order of its commands.
#pragma once

#include <cstddef>
#include <vector>

#include <qxdb/QXRecordset.h>

namespace CQXDB {

class QXDB_OBJECTS_API QXRsList : public CQXBASE::QXIOBase {
  public:
    void RemoveAll() noexcept { recordsets_.clear(); }
    std::size_t Count() const noexcept { return recordsets_.size(); }
    bool Empty() const noexcept { return recordsets_.empty(); }
    const QXRecordset& At(std::size_t index) const { return recordsets_.at(index); }
    QXRecordset& At(std::size_t index) { return recordsets_.at(index); }
    void Add(QXRecordset recordset) { recordsets_.push_back(std::move(recordset)); }
    std::vector<QXRecordset>::const_iterator begin() const noexcept { return recordsets_.begin(); }
    std::vector<QXRecordset>::const_iterator end() const noexcept { return recordsets_.end(); }

    int toCDR(ACE_OutputCDR& out) const override;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;

  private:
    std::vector<QXRecordset> recordsets_;
};

}  // namespace CQXDB
