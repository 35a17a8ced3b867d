// One typed value: a statement's parameter, or a cell taken out of a recordset.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <qxdb/Export.h>
#include <qxdb/QXEnums.h>

namespace CQXDB {

/// A value owns its bytes. Different threads may read one value; writing needs the caller's own
/// lock.
class QXDB_OBJECTS_API QXValue {
  public:
    QXValue() noexcept = default;  ///< null

    static QXValue Null() { return {}; }
    static QXValue Bool(bool value);
    static QXValue Int64(std::int64_t value);
    static QXValue Double(double value);
    /// `text` is an optional sign, digits and at most one decimal point; kept as it stands.
    static QXValue Decimal(std::string_view text);
    static QXValue Text(std::wstring_view text);
    static QXValue TextUtf8(std::string_view utf8);
    static QXValue Blob(const void* bytes, std::size_t count);
    static QXValue Date(std::int32_t daysSince1970);
    static QXValue Time(std::int64_t micros);
    static QXValue Timestamp(std::int64_t microsSince1970);

    QXValueType Type() const noexcept { return type_; }
    bool IsNull() const noexcept { return type_ == QXValueType::Null; }

    // Conversions. A null or a blob gives false, 0 or 0.0. A number converts to every number type
    // (saturating at the ends of the 64-bit range; not-a-number gives 0), text and decimals are
    // read as numbers from their start, with a point as the decimal mark in every locale, and a
    // date, time or timestamp gives its count.

    /// True for a number other than 0, and for the texts "true" and "t" in any case.
    bool AsBool() const noexcept;
    std::int64_t AsInt64() const noexcept;
    double AsDouble() const noexcept;

    /// The stored count of a Bool (0 or 1), Int64, Date, Time or Timestamp; 0 for other types.
    std::int64_t RawInt64() const noexcept { return type_ == QXValueType::Double ? 0 : number_; }
    /// The stored number of a Double; 0 for other types.
    double RawDouble() const noexcept;
    /// The stored bytes of a Text (UTF-8), Decimal or Blob; empty for other types. Valid as long as
    /// the value is neither changed nor destroyed.
    std::string_view Bytes() const noexcept { return bytes_; }

    /// Readable text of any value: "" for null, "true"/"false", the shortest text that reads back
    /// as the same double, ISO dates, and blobs as lower-case hexadecimal digits behind "\x".
    std::string ToUtf8() const;
    std::wstring ToText() const;

    bool operator==(const QXValue& other) const noexcept;  ///< same type, same bits
    bool operator!=(const QXValue& other) const noexcept { return !(*this == other); }

  private:
    friend class QXColumn;
    QXValue(QXValueType type, std::int64_t number) noexcept : number_(number), type_(type) {}
    QXValue(QXValueType type, std::string bytes) noexcept : bytes_(std::move(bytes)), type_(type) {}

    std::int64_t number_ = 0;  ///< a double as its bits
    std::string bytes_;
    QXValueType type_ = QXValueType::Null;
};

}  // namespace CQXDB
