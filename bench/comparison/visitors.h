// What is done with every value that a side delivers.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tables.h"

namespace qxdb_bench {

/// Looks at each value and no more, so that what is timed is the side's own work. A side that gets
/// its values as text need not turn them into numbers, which is in its favour.
class Toucher {
  public:
    void Null() noexcept { ++sum_; }
    void Integer(std::int64_t value) noexcept { sum_ += static_cast<std::uint64_t>(value); }
    void Timestamp(std::int64_t micros) noexcept { Integer(micros); }
    void Real(double value) noexcept {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        sum_ += bits;
    }
    void Text(std::string_view text) noexcept {
        sum_ += text.size() + (text.empty() ? 0 : static_cast<unsigned char>(text.front()));
    }
    void Blob(std::string_view bytes) noexcept { Text(bytes); }
    /// A value of any type as PostgreSQL and MariaDB write it.
    void Written(CellType /*type*/, std::string_view text) noexcept { Text(text); }
    void EndRow() noexcept { ++rows_; }

    std::uint64_t Rows() const noexcept { return rows_; }
    std::uint64_t Sum() const noexcept { return sum_; }

  private:
    std::uint64_t rows_ = 0;
    std::uint64_t sum_ = 0;
};

/// A number that is equal when the rows are, in whatever order they come.
class Digester {
  public:
    void Null() noexcept { Add("n", {}); }
    void Integer(std::int64_t value) noexcept { AddNumber("i", value); }
    void Timestamp(std::int64_t micros) noexcept { AddNumber("m", micros); }
    void Real(double value) noexcept { AddNumber("r", value); }
    void Text(std::string_view text) noexcept { Add("t", text); }
    void Blob(std::string_view bytes) noexcept { Add("b", bytes); }
    /// Throws std::invalid_argument for a text that is no such value.
    void Written(CellType type, std::string_view text);
    void EndRow() noexcept {
        digest_ += row_ * 0x9E3779B97F4A7C15U;
        row_ = kStart;
        ++rows_;
    }

    std::uint64_t Rows() const noexcept { return rows_; }
    std::uint64_t Sum() const noexcept { return digest_; }

  private:
    static constexpr std::uint64_t kStart = 14695981039346656037U;

    template <class T>
    void AddNumber(std::string_view tag, T value) noexcept {
        char bytes[sizeof value];
        std::memcpy(bytes, &value, sizeof value);
        Add(tag, {bytes, sizeof bytes});
    }
    void Add(std::string_view tag, std::string_view bytes) noexcept {
        for (const std::string_view part : {tag, bytes}) {
            for (const char byte : part) {
                row_ = (row_ ^ static_cast<unsigned char>(byte)) * 1099511628211U;
            }
        }
    }

    std::uint64_t row_ = kStart;
    std::uint64_t digest_ = 0;
    std::uint64_t rows_ = 0;
};

/// Microseconds since 1970 of "2024-01-31 12:00:00", with or without a fraction.
std::int64_t ParseTimestamp(std::string_view text);

}  // namespace qxdb_bench
