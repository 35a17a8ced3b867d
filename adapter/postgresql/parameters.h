// Parameters on their way to PostgreSQL.
#pragma once

#include <string>
#include <vector>

#include <libpq-fe.h>

#include "adapter/connection.h"

namespace CQXDB::adapter::postgresql {

/// The arrays that libpq takes. Blobs travel as bytes of type bytea; everything else as text whose
/// type the server infers from where the parameter stands.
class PgParameters {
  public:
    /// `values` must outlive the object. Throws DatabaseError for a text with a NUL in it.
    explicit PgParameters(const Parameters& values);

    int Count() const noexcept { return static_cast<int>(values_.size()); }
    const std::vector<Oid>& Types() const noexcept { return types_; }
    const char* const* Values() const noexcept { return values_.data(); }
    const int* Lengths() const noexcept { return lengths_.data(); }
    const int* Formats() const noexcept { return formats_.data(); }

  private:
    void Add(const QXValue& value);
    void AddText(std::string text);
    void AddBlob(std::string_view bytes);

    std::vector<std::string>
        texts_;  ///< never grows beyond what is reserved: values_ points into it
    std::vector<Oid> types_;
    std::vector<const char*> values_;
    std::vector<int> lengths_;
    std::vector<int> formats_;
};

}  // namespace CQXDB::adapter::postgresql
