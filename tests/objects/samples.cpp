#include "tests/objects/samples.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>

namespace qxdb_test {

using namespace CQXDB;

namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

double FromBits(std::uint64_t bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

QXValue Blob(std::string_view bytes) {
    return QXValue::Blob(bytes.data(), bytes.size());
}

auto Fields(const QXDataSource& d) {
    return std::tie(d.name, d.type, d.server, d.port, d.database, d.user, d.password, d.trusted,
                    d.options, d.version, d.driver, d.driverName, d.dsn, d.connectionString,
                    d.extra);
}

}  // namespace

std::vector<QXValue> EdgeValues() {
    const double infinity = std::numeric_limits<double>::infinity();
    return {QXValue::Null(),
            QXValue::Bool(false),
            QXValue::Bool(true),
            QXValue::Int64(0),
            QXValue::Int64(-1),
            QXValue::Int64(kMin),
            QXValue::Int64(kMax),
            QXValue::Double(0.1),
            QXValue::Double(-0.0),
            QXValue::Double(infinity),
            QXValue::Double(-infinity),
            QXValue::Double(FromBits(0x7FF8000000000123)),  // not-a-number with a payload
            QXValue::Double(std::numeric_limits<double>::denorm_min()),
            QXValue::Double(std::numeric_limits<double>::max()),
            QXValue::Decimal("-123456789012345678901234567890.0987654321"),
            QXValue::Decimal("0.00"),
            QXValue::Text(L""),
            QXValue::Text(L"Zo\u00EB \U0001F600 \u4E2D"),
            QXValue::TextUtf8(std::string("nul\0inside", 10)),
            QXValue::TextUtf8("\xFF\xFE not UTF-8"),
            QXValue::TextUtf8(std::string(300, 'x')),
            Blob(""),
            Blob(std::string("\0\0\x01\xFF", 4)),
            QXValue::Date(std::numeric_limits<std::int32_t>::min()),
            QXValue::Date(std::numeric_limits<std::int32_t>::max()),
            QXValue::Time(kMin),
            QXValue::Time(86399999999),
            QXValue::Timestamp(kMin),
            QXValue::Timestamp(kMax)};
}

QXRecordset EveryType() {
    const std::vector<QXValue> values = EdgeValues();
    QXRecordset rs;
    rs.setPageSize(50);
    rs.setCurrentPage(3);
    for (int type = 1; type < static_cast<int>(QXValueType::Mixed); ++type) {
        QXColumn& column = rs.AddColumn("type " + std::to_string(type));
        for (const QXValue& value : values) {
            column.Append(static_cast<int>(value.Type()) == type ? value : QXValue::Null());
        }
    }
    QXColumn& mixed = rs.AddColumn("mixed");
    for (const QXValue& value : values) {
        mixed.Append(value);
    }
    QXColumn& nulls = rs.AddColumn("nulls", QXValueType::Date);
    QXColumn constant("", QXValueType::Null);
    for (std::size_t i = 0; i < values.size(); ++i) {
        nulls.AppendNull();
        constant.AppendInt64(42);
    }
    rs.AddColumn(
        "Stra\xC3\x9F"
        "e") = constant;
    rs.FillDone();
    return rs;
}

QXRecordset Orders(std::size_t rows) {
    static const char* const kStates[] = {"open", "paid", "shipped"};
    QXRecordset rs;
    for (const char* name : {"id", "price", "ordered", "state", "name", "note"}) {
        rs.AddColumn(name);
    }
    for (std::size_t row = 0; row < rows; ++row) {
        const auto number = static_cast<std::int64_t>(row);
        const std::int64_t scattered = number * 7919 % 10007;
        rs.MutableColumn(0).AppendInt64(100 + number);
        rs.MutableColumn(1).AppendDouble(static_cast<double>(scattered) / 100);
        rs.MutableColumn(2).AppendInt64(1700000000000000 + number * 1000003 + scattered,
                                        QXValueType::Timestamp);
        rs.MutableColumn(3).AppendBytes(kStates[scattered % 3], QXValueType::Text);
        rs.MutableColumn(4).AppendBytes("customer " + std::to_string(scattered), QXValueType::Text);
        if (row % 4 == 0) {
            rs.MutableColumn(5).AppendBytes("fragile", QXValueType::Text);
        } else {
            rs.MutableColumn(5).AppendNull();
        }
    }
    rs.FillDone();
    return rs;
}

QXDataSource FilledDataSource() {
    QXDataSource source;
    source.init(L"main", CQXDB_DS_SQLSERVER, L"db.example", 1433, L"orders", L"\u00E4nne",
                L"p\U0001F600", true, "encrypt=yes", 7);
    source.initDriver(CQXDB_DRIVER_ODBC, L"Driver", L"dsn", L"Driver={X};", L"a=b");
    return source;
}

QXCommand FilledCommand() {
    QXCommand command(L"SELECT ? /* \u4E2D */");
    command.SetSysDataSrc(FilledDataSource());
    command.SetToken(L"0123456789abcdef");
    command.SetPageSize(20);
    command.SetPageNo(-1);
    for (const QXValue& value : EdgeValues()) {
        command.AddParam(value);
    }
    return command;
}

QXCommandList MixedList(int rounds) {
    QXCommandList list;
    list.SetSysDataSrc(FilledDataSource());
    list.SetToken(L"token");
    list.SetPageSize(1);
    list.SetPageNo(2);
    for (int i = 0; i < rounds; ++i) {
        QXCommand order(L"INSERT INTO orders VALUES (?, ?)");
        order.AddParam(QXValue::Int64(i));
        order.AddParam(i % 3 == 0 ? QXValue::Null() : QXValue::Text(L"x" + std::to_wstring(i)));
        list.Add(order);
        list.Add(QXCommand(i % 2 == 0 ? L"UPDATE t SET n = n + 1" : L""));
        order.AddParam(EdgeValues()[static_cast<std::size_t>(i) % EdgeValues().size()]);
        list.Add(order);
    }
    return list;
}

QXRsList FilledRsList(std::size_t rows) {
    QXRsList list;
    list.Add(EveryType());
    list.Add(QXRecordset());
    list.Add(Orders(rows));
    return list;
}

bool Same(const QXRecordset& a, const QXRecordset& b) {
    if (a.RowCount() != b.RowCount() || a.ColumnCount() != b.ColumnCount() ||
        a.pageSize() != b.pageSize() || a.currentPage() != b.currentPage()) {
        return false;
    }
    for (std::size_t column = 0; column < a.ColumnCount(); ++column) {
        if (a.ColumnType(column) != b.ColumnType(column) ||
            a.Column(column).NameUtf8() != b.Column(column).NameUtf8()) {
            return false;
        }
        for (std::size_t row = 0; row < a.RowCount(); ++row) {
            if (a.GetValue(row, column) != b.GetValue(row, column)) {
                return false;
            }
        }
    }
    return true;
}

bool Same(const QXDataSource& a, const QXDataSource& b) {
    return Fields(a) == Fields(b);
}

bool Same(const QXCommand& a, const QXCommand& b) {
    return a.TextUtf8() == b.TextUtf8() && a.Params() == b.Params() && a.Token() == b.Token() &&
           a.PageSize() == b.PageSize() && a.PageNo() == b.PageNo() &&
           Same(a.SysDataSrc(), b.SysDataSrc());
}

}  // namespace qxdb_test
