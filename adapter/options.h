// QXDataSource::options, taken apart.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

/// UTF-8 "key=value;key=value": keys without regard to ASCII case, blanks around keys and values
/// dropped. Whoever knows a key takes it out; what is left over was misspelt. Throws DatabaseError.
class Options {
  public:
    explicit Options(std::string_view text);

    /// The value of `key`, or `otherwise` when it is not there.
    std::string Take(const std::string& key, const std::string& otherwise = {});
    std::int64_t TakeNumber(const std::string& key, std::int64_t otherwise, std::int64_t least,
                            std::int64_t most);
    bool TakeFlag(const std::string& key, bool otherwise);
    /// statement_timeout (milliseconds); 0, and nothing given, is no limit.
    std::chrono::milliseconds TakeStatementTimeout();
    /// pool_size, pool_timeout and pool_idle (seconds).
    PoolLimits TakePoolLimits();

    /// What nobody has taken.
    const std::map<std::string, std::string>& Rest() const noexcept { return values_; }
    void RefuseRest() const;

  private:
    std::map<std::string, std::string> values_;
};

}  // namespace CQXDB::adapter
