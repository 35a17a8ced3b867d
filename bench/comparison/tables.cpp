#include "tables.h"

#include <cstdio>
#include <ctime>
#include <random>
#include <stdexcept>
#include <string_view>

namespace qxdb_bench {
namespace {

using Random = std::mt19937_64;

const std::vector<ColumnSpec> kTen = {{"id", CellType::Integer}, {"a", CellType::Integer},
                                      {"b", CellType::Integer},  {"c", CellType::Integer},
                                      {"x", CellType::Real},     {"y", CellType::Real},
                                      {"s", CellType::Text},     {"t", CellType::Text},
                                      {"u", CellType::Text},     {"m", CellType::Timestamp}};
const std::vector<ColumnSpec> kWide = {
    {"id", CellType::Integer},        {"title", CellType::Text},  {"body", CellType::Text},
    {"remark", CellType::Text},       {"amount", CellType::Real}, {"quantity", CellType::Integer},
    {"changed", CellType::Timestamp}, {"picture", CellType::Blob}};

Cell Integer(std::int64_t value) {
    Cell cell;
    cell.integer = value;
    return cell;
}

Cell Real(double value) {
    Cell cell;
    cell.type = CellType::Real;
    cell.real = value;
    return cell;
}

Cell Bytes(CellType type, std::string bytes) {
    Cell cell;
    cell.type = type;
    cell.bytes = std::move(bytes);
    return cell;
}

/// Whole milliseconds: one of the databases keeps no finer ones.
Cell Timestamp(std::int64_t millis) {
    const std::time_t seconds = millis / 1000;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>(millis % 1000));
    Cell cell = Bytes(CellType::Timestamp, text);
    cell.integer = millis * 1000;
    return cell;
}

std::string RandomText(Random& random) {
    constexpr std::string_view kLetters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 ";
    std::string text(12 + random() % 13, ' ');
    for (char& letter : text) {
        letter = kLetters[random() % kLetters.size()];
    }
    text.back() = 'z';  // a blank at the end is not everywhere a part of the text
    return text;
}

std::string Name(Random& random) {
    static const char* const kFirst[] = {"Amelia", "Björn",   "Carlos", "Dagmar",  "Elena",
                                         "Farid",  "Giulia",  "Hanna",  "Ingrid",  "Jerome",
                                         "Katrin", "Lorenzo", "Miriam", "Nikolai", "Oksana",
                                         "Pierre", "Renata",  "Stefan", "Thomas",  "Ursula"};
    static const char* const kLast[] = {
        "Andersson", "Bergmann", "Castellano", "Dvořák",    "Eriksen",   "Fernandez", "Gallagher",
        "Hoffmann",  "Ivanova",  "Johansson",  "Kowalski",  "Lindqvist", "Moretti",   "Nakamura",
        "O'Connor",  "Petersen", "Rousseau",   "Schneider", "Torvalds",  "Williams"};
    return std::string(kFirst[random() % 20]) + " " + kLast[random() % 20];
}

/// As "KD-40371-QX-2208".
std::string ArticleCode(Random& random) {
    const auto letter = [&random] { return static_cast<char>('A' + random() % 26); };
    char text[32];
    std::snprintf(text, sizeof text, "%c%c-%05d-%c%c-%04d", letter(), letter(),
                  static_cast<int>(random() % 100000), letter(), letter(),
                  static_cast<int>(random() % 10000));
    return text;
}

std::string Address(Random& random) {
    static const char* const kStreets[] = {"Albert Street", "Bakers Lane",   "Canal Street",
                                           "Dock Road",     "Elm Grove",     "Field Terrace",
                                           "Garden Row",    "Harbour View",  "Iron Bridge",
                                           "Jubilee Way",   "King's Parade", "Lower Mill"};
    return std::to_string(1000 + random() % 9000) + " " + kStreets[random() % 12];
}

/// An order: customer, quantity, article number; price, weight; name, article, address; time.
Row OrderRow(std::int64_t id, Random& random) {
    Row row{Integer(id),
            Integer(static_cast<std::int64_t>(random() % 50000)),
            Integer(static_cast<std::int64_t>(1 + random() % 500)),
            Integer(static_cast<std::int64_t>(random() % 1000000)),
            Real(static_cast<double>(random() % 10000000) / 100),
            Real(static_cast<double>(random() >> 11) / 1e13)};
    for (const std::string& text : {Name(random), ArticleCode(random), Address(random)}) {
        row.push_back(Bytes(CellType::Text, text));
    }
    row.push_back(
        Timestamp(1700000000000 + id * 60000 + static_cast<std::int64_t>(random() % 60000)));
    return row;
}

Row NoiseRow(std::int64_t id, Random& random) {
    Row row{Integer(id)};
    for (int i = 0; i < 3; ++i) {
        row.push_back(Integer(static_cast<std::int64_t>(random() % 1000000)));
    }
    row.push_back(Real(static_cast<double>(random() >> 11) / 1e10));
    row.push_back(Real(static_cast<double>(random() % 10000000) / 100));
    for (int i = 0; i < 3; ++i) {
        row.push_back(Bytes(CellType::Text, RandomText(random)));
    }
    row.push_back(
        Timestamp(1700000000000 + id * 60000 + static_cast<std::int64_t>(random() % 60000)));
    return row;
}

/// Words of several languages, drawn at random.
std::string Words(Random& random, std::size_t count) {
    static const char* const kWords[] = {
        "delivery", "between",  "quantity",   "Straße",   "Übergröße",  "façade", "señor",
        "заказ",    "поставка", "количество", "Ελλάδα",   "παραγγελία", "订单",   "数量",
        "客户地址", "注文番号", "東京都",     "カタログ", "주문",       "배송지", "طلبية",
        "عنوان",    "משלוח",    "ราคา",       "đơn hàng", "😀",          "🚚📦",     "naïve"};
    constexpr std::size_t kCount = sizeof kWords / sizeof kWords[0];
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += kWords[random() % kCount];
        text += i + 1 < count ? " " : "";
        if (random() % 4 == 0) {
            text += std::to_string(random() % 100000);
        }
    }
    return text;
}

Row WideRow(std::int64_t id, Random& random) {
    const auto orNull = [&random](unsigned percent, Cell cell) {
        cell.null = random() % 100 < percent;
        return cell;
    };
    std::string picture(random() % 400, '\0');
    for (char& byte : picture) {
        byte = static_cast<char>(random());
    }
    return {
        Integer(id),
        Bytes(CellType::Text, Words(random, 2 + random() % 6)),
        orNull(20, Bytes(CellType::Text, Words(random, 10 + random() % 30))),
        orNull(80, Bytes(CellType::Text, Words(random, 3 + random() % 10))),
        orNull(50, Real(static_cast<double>(random() % 100000000) / 100)),
        orNull(70, Integer(static_cast<std::int64_t>(random() % 5000))),
        orNull(60, Timestamp(1600000000000 + static_cast<std::int64_t>(random() % 100000000000))),
        orNull(50, Bytes(CellType::Blob, picture))};
}

}  // namespace

Table Table::Named(const std::string& name) {
    Table table;
    table.name_ = name;
    table.columns_ = name == "wide" ? kWide : kTen;
    if (name == "ten") {
        table.rows_ = kTenRows;
    } else if (name == "noise") {
        table.rows_ = kTenRows;
    } else if (name == "big" || name == "large") {
        table.rows_ = kBigRows;
    } else if (name == "wide") {
        table.rows_ = kWideRows;
    } else if (name != "sink") {
        throw std::invalid_argument("no table " + name);
    }
    return table;
}

Row Table::At(std::int64_t id) const {
    Random random(static_cast<std::uint64_t>(id) * 0x9E3779B97F4A7C15U);
    return name_ == "wide"                      ? WideRow(id, random)
           : name_ == "noise" || name_ == "big" ? NoiseRow(id, random)
                                                : OrderRow(id, random);
}

std::vector<Row> Table::Range(std::int64_t first, std::int64_t count) const {
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (std::int64_t id = first; id < first + count; ++id) {
        rows.push_back(At(id));
    }
    return rows;
}

std::string Table::Create(const std::vector<std::string>& typeNames) const {
    std::string text = "CREATE TABLE " + name_ + " (";
    for (const ColumnSpec& column : columns_) {
        const bool first = &column == &columns_.front();
        text += (first ? "" : ", ") + std::string(column.name) + " " +
                typeNames[static_cast<std::size_t>(column.type)] +
                (first ? " NOT NULL PRIMARY KEY" : "");
    }
    return text + ")";
}

std::string Table::Insert(const std::string& placeholder) const {
    std::string text = "INSERT INTO " + name_ + " VALUES (";
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        text +=
            (i == 0 ? "" : ", ") + (placeholder == "$" ? "$" + std::to_string(i + 1) : placeholder);
    }
    return text + ")";
}

}  // namespace qxdb_bench
