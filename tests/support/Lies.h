// Frames that lie, and columns that take far more memory than they have bytes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "transport/frame.h"

namespace qxdb_test {

/// Frames of which each differs from `frame` in one place, or ends early.
inline std::vector<std::string> Lies(const std::string& frame) {
    std::vector<std::string> lies;
    for (std::size_t place = 0; place < CQXBASE::kFrameHeaderSize; ++place) {
        for (const char byte : {'\0', '\1', '\x7f', '\x80', '\xff'}) {
            lies.push_back(frame);
            lies.back()[place] = byte;
        }
    }
    for (char code = 2; code < 40; ++code) {
        lies.push_back(frame);
        lies.back()[4] = code;
    }
    for (std::size_t length = 0; length < frame.size(); ++length) {
        lies.push_back(frame.substr(0, length));
    }
    for (std::size_t place = CQXBASE::kFrameHeaderSize; place < frame.size(); ++place) {
        for (const char* word : {"\0\0\0\0", "\xff\xff\xff\x7f", "\xff\xff\xff\xff"}) {
            lies.push_back(frame);
            lies.back().replace(place, 4, word, std::min<std::size_t>(4, frame.size() - place));
        }
    }
    return lies;
}

inline std::string WireNumber(std::size_t value) {
    const auto number = static_cast<std::uint32_t>(value);
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

/// One zstd frame of `start` and `zeros` more bytes, in four bytes for each 128 KiB.
inline std::string ZstdZeros(const std::string& start, std::size_t zeros) {
    constexpr std::size_t kMost = std::size_t{1} << 17;
    enum Kind : unsigned { Raw = 0, Repeated = 1 };
    const auto header = [](bool last, Kind kind, std::size_t size) {
        return WireNumber((last ? 1U : 0U) | kind << 1U | size << 3U).substr(0, 3);
    };
    std::string frame = "\x28\xb5\x2f\xfd\xa0" + WireNumber(start.size() + zeros) +
                        header(false, Raw, start.size());
    frame += start;
    for (std::size_t left = zeros; left != 0;) {
        const std::size_t part = std::min(left, kMost);
        left -= part;
        frame += header(left == 0, Repeated, part) + '\0';
    }
    return frame;
}

/// A block that ends with a column of `rows` numbers, all 0 and in eight bytes each, as short as
/// its reader lets it be. A row weighs `weight` for the reader.
inline std::string ColumnBomb(std::string columnsBefore, std::size_t rows, std::size_t weight) {
    columnsBefore += std::string("\x02\0\x08\0", 4);
    const std::string stored = ZstdZeros(columnsBefore, 8 * rows);
    const std::size_t needed = (rows * (10 + weight) + 4096) / 128 + 16;
    std::size_t present = std::max(stored.size(), needed);
    present += (0 - present) & 3;
    return WireNumber(columnsBefore.size() + 8 * rows) + WireNumber(stored.size()) +
           WireNumber(present - stored.size()) + stored +
           std::string(present - stored.size(), '\0');
}

/// A recordset of one column, or a list of that and nothing else.
inline std::string RecordsetBomb(std::size_t rows) {
    return WireNumber(2) + WireNumber(0) + WireNumber(1) + WireNumber(1) + WireNumber(rows) +
           ColumnBomb({}, rows, 0) + WireNumber(0);
}
inline std::string RsListBomb(std::size_t rows) {
    return WireNumber(2) + WireNumber(1) + RecordsetBomb(rows);
}

/// A command that was encoded without parameters, with `count` of them.
inline std::string CommandBomb(const std::string& command, std::size_t count) {
    return command.substr(0, command.size() - 4) + WireNumber(count) + ColumnBomb({}, count, 64);
}
/// A list that was encoded empty, with `count` times a short statement.
inline std::string CommandListBomb(const std::string& list, std::size_t count) {
    const std::string texts = std::string("\x05\0\0\0\x10", 5) + "SELECT 1";
    const std::string paramCounts("\x02\0\0\0", 4);
    return list.substr(0, list.size() - 8) + WireNumber(count) + WireNumber(1) +
           ColumnBomb(texts + paramCounts, count, 128);
}

}  // namespace qxdb_test
