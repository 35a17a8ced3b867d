// Rows on their way from MySQL or MariaDB.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <mysql/mysql.h>

#include <qxdb/QXRecordset.h>

namespace CQXDB::adapter::mysql {

/// Of what is bytes rather than text.
constexpr unsigned kBinaryCharset = 63;

/// Fetches the rows of an executed statement one by one.
class MySqlRowReader {
  public:
    /// Adds the result's columns to `rs`, which is empty; none for a statement without rows.
    MySqlRowReader(MYSQL* connection, MYSQL_STMT* statement, QXRecordset& rs);
    MySqlRowReader(const MySqlRowReader&) = delete;
    MySqlRowReader& operator=(const MySqlRowReader&) = delete;

    bool HasColumns() const noexcept { return !columns_.empty(); }
    /// Moves to the next row; false behind the last one. Throws DatabaseError.
    bool Fetch();
    /// Appends the row.
    void Append();

    /// The type that a column has before it has rows.
    static QXValueType TypeOf(const MYSQL_FIELD& field) { return ColumnOf(field).type; }

  private:
    /// What a column's bytes are.
    enum class Form { Integer, Unsigned, Flag, Bits, Float, Double, Typed };
    struct Column {
        QXColumn* target = nullptr;
        QXValueType type = QXValueType::Null;
        Form form = Form::Typed;
        std::vector<char> bytes;
        unsigned long length = 0;
        my_bool null = 0;
        my_bool truncated = 0;
    };

    static Column ColumnOf(const MYSQL_FIELD& field);
    static QXValueType ByteType(const MYSQL_FIELD& field) noexcept;
    void Bind();
    /// Fetches what did not fit into the buffers, and makes them larger for the rows to come.
    void FetchLongBytes();
    static void AppendCell(const Column& column);

    MYSQL* connection_;
    MYSQL_STMT* statement_;
    std::vector<Column> columns_;
    std::vector<MYSQL_BIND> binds_;
};

}  // namespace CQXDB::adapter::mysql
