// This system: through an application server, or straight to a database.
#include <stdexcept>
#include <utility>

#include <qxdb/DBAgent.h>

#include "bench/remote_parts.h"
#include "side.h"
#include "tests/support/RemoteAgent.h"
#include "visitors.h"

namespace qxdb_bench {
namespace {

using namespace CQXDB;
using qxdb_test::Utf8;
using qxdb_test::Wide;

void Require(long code, const std::wstring& text) {
    if (code != 0) {
        throw std::runtime_error(std::to_string(code) + " " + Utf8(text));
    }
}

QXValue ValueOf(const Cell& cell) {
    if (cell.null) {
        return QXValue::Null();
    }
    switch (cell.type) {
        case CellType::Integer:
            return QXValue::Int64(cell.integer);
        case CellType::Real:
            return QXValue::Double(cell.real);
        case CellType::Text:
            return QXValue::TextUtf8(cell.bytes);
        case CellType::Timestamp:
            return QXValue::Timestamp(cell.integer);
        default:
            return QXValue::Blob(cell.bytes.data(), cell.bytes.size());
    }
}

template <class Visitor>
void VisitCell(const QXColumn& column, std::size_t row, Visitor& visitor) {
    switch (column.TypeAt(row)) {
        case QXValueType::Null:
            visitor.Null();
            break;
        case QXValueType::Int64:
            visitor.Integer(column.Int64At(row));
            break;
        case QXValueType::Double:
            visitor.Real(column.DoubleAt(row));
            break;
        case QXValueType::Timestamp:
            visitor.Timestamp(column.Int64At(row));
            break;
        case QXValueType::Text:
            visitor.Text(column.BytesAt(row));
            break;
        case QXValueType::Blob:
            visitor.Blob(column.BytesAt(row));
            break;
        default:
            throw std::runtime_error("a value of an unexpected type");
    }
}

template <class Visitor>
Fetched Visit(const QXRecordset& rs) {
    std::vector<const QXColumn*> columns;
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        columns.push_back(&rs.Column(i));
    }
    Visitor visitor;
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        for (const QXColumn* column : columns) {
            VisitCell(*column, row, visitor);
        }
        visitor.EndRow();
    }
    return {visitor.Rows(), visitor.Sum()};
}

class QxdbSide : public Side {
  public:
    explicit QxdbSide(const std::vector<std::string>& words) {
        if (words.at(0) == "qxdb") {
            LogIn(words);
        } else {
            QXDataSource source;
            if (words[0] == "qxdb-sqlite") {
                source.database = Wide(words.at(1));
                source.options = "synchronous=off";
            } else {
                postgresql_ = true;
                source.init(L"", CQXDB_DS_POSTGRESQL, L"127.0.0.1", std::stol(words.at(1)),
                            Wide(words.at(4)), Wide(words.at(2)), Wide(words.at(3)), false,
                            "sslmode=disable", 0);
            }
            agent_.initDB(source);
        }
        small_.AddParam(QXValue::Int64(0));
    }

    void Run(const std::string& sql) override {
        QXCommand command(Wide(sql));
        long code = 0;
        std::wstring text;
        agent_.Execute(code, text, command);
        Require(code, text);
    }

    void Create(const Table& table) override {
        Run(table.Create(postgresql_ ? std::vector<std::string>{"BIGINT", "DOUBLE PRECISION",
                                                                "TEXT", "TIMESTAMP", "BYTEA"}
                                     : std::vector<std::string>{"INTEGER", "DOUBLE", "TEXT",
                                                                "TIMESTAMP", "BLOB"}));
    }

    void Empty(const Table& table) override {
        Run((postgresql_ ? "TRUNCATE TABLE " : "DELETE FROM ") + table.Name());
    }

    void Insert(const Table& table, const std::vector<Row>& rows) override {
        QXCommandList list = ListOf(table, rows);
        Execute(list);
    }

    /// The call alone, with a list that is ready.
    void PrepareOtherwise(const Table& table, const std::vector<Row>& rows) override {
        ready_ = ListOf(table, rows);
    }
    void InsertOtherwise(const Table& /*table*/, const std::vector<Row>& /*rows*/) override {
        Execute(ready_);
    }

    Fetched Fetch(const Table& table, std::int64_t lastId, bool digest) override {
        QXCommand command(Wide(Select(table, lastId)));
        QXRecordset rs;
        Query(command, rs);
        decodedBytes_ = rs.MemoryBytes();
        return digest ? Visit<Digester>(rs) : Visit<Toucher>(rs);
    }

    void Small(std::int64_t id) override {
        small_.ClearParams();
        small_.AddParam(QXValue::Int64(id));
        Query(small_, smallRows_);
        CheckSmall(id, smallRows_.RowCount() == 1 ? smallRows_.GetInt64(0, 0) : -1);
    }

    std::size_t DecodedBytes() const override { return decodedBytes_; }

    MandatedParts SmallParts(int count) override {
        QXCommand emptyCommand;
        QXRecordset emptyRows;
        const Parts parts = Measure(small_, emptyCommand, smallRows_, emptyRows, count);
        return {parts.Mandated(), parts.socket, parts.sequence};
    }

  private:
    static QXCommandList ListOf(const Table& table, const std::vector<Row>& rows) {
        const QXCommand insert(Wide(table.Insert()));
        QXCommandList list;
        list.Reserve(rows.size());
        for (const Row& row : rows) {
            QXCommand command = insert;
            for (const Cell& cell : row) {
                command.AddParam(ValueOf(cell));
            }
            list.Add(std::move(command));
        }
        return list;
    }

    void Execute(QXCommandList& list) {
        long code = 0;
        std::wstring text;
        agent_.Execute(code, text, list);
        Require(code, text);
    }

    void LogIn(const std::vector<std::string>& words) {
        std::wstring info;
        std::wstring token;
        if (!agent_.Login(Wide(words.at(1)), std::stol(words.at(2)), {},
                          Wide(words.at(3) + "|~|" + words.at(4)), info, token)) {
            Require(agent_.errCode_, agent_.errText_);
        }
        agent_.SetIsLocal(false);
    }

    void Query(QXCommand& command, QXRecordset& rs) {
        long code = 0;
        std::wstring text;
        agent_.OpenQuery(code, text, command, rs);
        Require(code, text);
    }

    DBAgent agent_;
    bool postgresql_ = false;
    QXCommand small_{std::wstring_view(L"SELECT a, s FROM ten WHERE id = ?")};
    QXRecordset smallRows_;
    QXCommandList ready_;
    std::size_t decodedBytes_ = 0;
};

}  // namespace

std::unique_ptr<Side> MakeQxdb(const std::vector<std::string>& words) {
    return std::make_unique<QxdbSide>(words);
}

}  // namespace qxdb_bench
