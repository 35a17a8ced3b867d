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
    /// At most so many statements, of so many bytes together.
    StatementCache(std::size_t capacity, std::size_t bytes) : capacity_(capacity), most_(bytes) {}

    /// Null when `text` is not there.
    std::shared_ptr<Statement> Find(const std::string& text) {
        const auto found = byText_.find(text);
        if (found == byText_.end()) {
            return nullptr;
        }
        entries_.splice(entries_.begin(), entries_, found->second);
        return found->second->statement;
    }

    /// `text` is not there yet. What would fill more than half of the cache is not kept.
    void Add(const std::string& text, std::shared_ptr<Statement> statement, std::size_t bytes) {
        if (bytes > most_ / 2) {
            return;
        }
        std::list<Entry> added;
        added.push_front({text, std::move(statement), bytes});
        byText_.emplace(added.front().text, added.begin());
        entries_.splice(entries_.begin(), added);  // as the last step, since it can't fail
        bytes_ += bytes;
        while (entries_.size() > capacity_ || bytes_ > most_) {
            bytes_ -= entries_.back().bytes;
            byText_.erase(entries_.back().text);
            entries_.pop_back();
        }
    }

    void Clear() noexcept {
        byText_.clear();
        entries_.clear();
        bytes_ = 0;
    }

  private:
    struct Entry {
        std::string text;
        std::shared_ptr<Statement> statement;
        std::size_t bytes;
    };

    std::size_t capacity_;
    std::size_t most_;
    std::size_t bytes_ = 0;
    std::list<Entry> entries_;
    std::unordered_map<std::string_view, std::list<Entry>::iterator>
        byText_;  ///< keys view entries_
};

}  // namespace CQXDB::adapter::sqlite
