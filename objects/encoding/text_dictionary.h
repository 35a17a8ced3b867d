// The distinct texts of a column whose rows repeat a few, as states and categories do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include <qxdb/QXBuffer.h>

namespace CQXDB::encoding {

class TextDictionary {
  public:
    static constexpr std::size_t kMaxEntries = 4096;

    /// Takes the texts between `ends` in `heap`, where the entries then refer to. False, early,
    /// when there are too many different ones to be worth it.
    bool Build(const QXBuffer<std::uint32_t>& ends, const QXBuffer<char>& heap);

    const std::vector<std::string_view>& Entries() const noexcept { return entries_; }
    /// The entry of each row; a null's is the empty text's.
    const QXBuffer<std::uint32_t>& Codes() const noexcept { return codes_; }

  private:
    bool CodeOf(std::string_view text, std::uint32_t& code);

    std::vector<std::string_view> entries_;
    std::vector<std::uint16_t> slots_;  ///< hash table of entry numbers from 1; 0 is free
    QXBuffer<std::uint32_t> codes_;
};

}  // namespace CQXDB::encoding
