#include "messages/column_rows.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "util/text.h"

namespace CQXBASE {
namespace {

using CQXDB::QXColumnInfo;
using CQXDB::QXRecordset;

struct TextField {
    const wchar_t* name;
    std::wstring QXColumnInfo::*member;
};
constexpr TextField kTexts[] = {
    {L"name", &QXColumnInfo::name},     {L"declared_type", &QXColumnInfo::declaredType},
    {L"schema", &QXColumnInfo::schema}, {L"table", &QXColumnInfo::table},
    {L"column", &QXColumnInfo::column},
};

struct NumberField {
    const wchar_t* name;
    std::int64_t QXColumnInfo::*member;
};
constexpr NumberField kNumbers[] = {
    {L"length", &QXColumnInfo::length},
    {L"precision", &QXColumnInfo::precision},
    {L"scale", &QXColumnInfo::scale},
};

constexpr const wchar_t* kType = L"type";
constexpr const wchar_t* kNullable = L"nullable";

CQXDB::QXColumn& Add(QXRecordset& rs, const wchar_t* name, CQXDB::QXValueType type) {
    return rs.AddColumn(WideToUtf8(name), type);
}

}  // namespace

void WriteColumnRows(const std::vector<QXColumnInfo>& columns, QXRecordset& rs) {
    rs.Clear();
    for (const TextField& field : kTexts) {
        CQXDB::QXColumn& target = Add(rs, field.name, CQXDB::QXValueType::Text);
        for (const QXColumnInfo& info : columns) {
            target.AppendBytes(WideToUtf8(info.*field.member), CQXDB::QXValueType::Text);
        }
    }
    for (const NumberField& field : kNumbers) {
        CQXDB::QXColumn& target = Add(rs, field.name, CQXDB::QXValueType::Int64);
        for (const QXColumnInfo& info : columns) {
            target.AppendInt64(info.*field.member);
        }
    }
    CQXDB::QXColumn& type = Add(rs, kType, CQXDB::QXValueType::Int64);
    CQXDB::QXColumn& nullable = Add(rs, kNullable, CQXDB::QXValueType::Int64);
    for (const QXColumnInfo& info : columns) {
        type.AppendInt64(static_cast<std::int64_t>(info.type));
        nullable.AppendInt64(info.nullable);
    }
    rs.FillDone();
}

bool ReadColumnRows(const QXRecordset& rs, std::vector<QXColumnInfo>& columns) {
    const auto has = [&](const auto& field) {
        return rs.FindColumn(field.name) != QXRecordset::npos;
    };
    const std::size_t type = rs.FindColumn(kType);
    const std::size_t nullable = rs.FindColumn(kNullable);
    if (!std::all_of(std::begin(kTexts), std::end(kTexts), has) ||
        !std::all_of(std::begin(kNumbers), std::end(kNumbers), has) || type == QXRecordset::npos ||
        nullable == QXRecordset::npos) {
        return false;
    }
    columns.assign(rs.RowCount(), QXColumnInfo());
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        QXColumnInfo& info = columns[row];
        for (const TextField& field : kTexts) {
            info.*field.member = rs.GetText(row, rs.FindColumn(field.name));
        }
        for (const NumberField& field : kNumbers) {
            info.*field.member = rs.GetInt64(row, rs.FindColumn(field.name));
        }
        constexpr auto kLast = static_cast<std::int64_t>(CQXDB::QXValueType::Mixed);
        info.type = static_cast<CQXDB::QXValueType>(
            std::clamp<std::int64_t>(rs.GetInt64(row, type), 0, kLast));
        info.nullable = static_cast<CQXDB::QXNullability>(std::clamp<std::int64_t>(
            rs.GetInt64(row, nullable), CQXDB::QXNULLABLE_UNKNOWN, CQXDB::QXNULLABLE_YES));
    }
    return true;
}

}  // namespace CQXBASE
