#include <qxdb/QXValue.h>

#include "objects/value_conversion.h"
#include "util/double_bits.h"
#include "util/text.h"

namespace CQXDB {

QXValue QXValue::Bool(bool value) {
    return {QXValueType::Bool, static_cast<std::int64_t>(value)};
}

QXValue QXValue::Int64(std::int64_t value) {
    return {QXValueType::Int64, value};
}

QXValue QXValue::Double(double value) {
    return {QXValueType::Double, CQXBASE::DoubleToBits(value)};
}

QXValue QXValue::Decimal(std::string_view text) {
    return {QXValueType::Decimal, std::string(text)};
}

QXValue QXValue::Text(std::wstring_view text) {
    return {QXValueType::Text, CQXBASE::WideToUtf8(text)};
}

QXValue QXValue::TextUtf8(std::string_view utf8) {
    return {QXValueType::Text, std::string(utf8)};
}

QXValue QXValue::Blob(const void* bytes, std::size_t count) {
    return {QXValueType::Blob, std::string(static_cast<const char*>(bytes), count)};
}

QXValue QXValue::Date(std::int32_t daysSince1970) {
    return {QXValueType::Date, std::int64_t{daysSince1970}};
}

QXValue QXValue::Time(std::int64_t micros) {
    return {QXValueType::Time, micros};
}

QXValue QXValue::Timestamp(std::int64_t microsSince1970) {
    return {QXValueType::Timestamp, microsSince1970};
}

bool QXValue::AsBool() const noexcept {
    return ToBool({type_, number_, bytes_});
}

std::int64_t QXValue::AsInt64() const noexcept {
    return ToInt64({type_, number_, bytes_});
}

double QXValue::AsDouble() const noexcept {
    return ToDouble({type_, number_, bytes_});
}

double QXValue::RawDouble() const noexcept {
    return type_ == QXValueType::Double ? CQXBASE::BitsToDouble(number_) : 0;
}

std::string QXValue::ToUtf8() const {
    return CQXDB::ToUtf8({type_, number_, bytes_});
}

std::wstring QXValue::ToText() const {
    return CQXBASE::Utf8ToWide(ToUtf8());
}

bool QXValue::operator==(const QXValue& other) const noexcept {
    return type_ == other.type_ && number_ == other.number_ && bytes_ == other.bytes_;
}

}  // namespace CQXDB
