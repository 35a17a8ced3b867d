// The statements that a connection keeps prepared, the least recently used one leaving first.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "adapter/connection.h"

namespace CQXDB::adapter::sqlite {

class StatementCache {
  public:
    explicit StatementCache(std::size_t capacity) : capacity_(capacity) {}

    /// Null when `text` is not there.
    std::shared_ptr<Statement> Find(const std::string& text) {
        const auto found = byText_.find(text);
        if (found == byText_.end()) {
            return nullptr;
        }
        entries_.splice(entries_.begin(), entries_, found->second);
        return found->second->second;
    }

    /// `text` is not there yet.
    void Add(const std::string& text, std::shared_ptr<Statement> statement) {
        std::list<Entry> added;
        added.emplace_front(text, std::move(statement));
        byText_.emplace(added.front().first, added.begin());
        entries_.splice(entries_.begin(), added);  // as the last step, since it can't fail
        if (entries_.size() > capacity_) {
            byText_.erase(entries_.back().first);
            entries_.pop_back();
        }
    }

    void Clear() noexcept {
        byText_.clear();
        entries_.clear();
    }

  private:
    using Entry = std::pair<std::string, std::shared_ptr<Statement>>;

    std::size_t capacity_;
    std::list<Entry> entries_;
    std::unordered_map<std::string_view, std::list<Entry>::iterator>
        byText_;  ///< keys view entries_
};

}  // namespace CQXDB::adapter::sqlite
