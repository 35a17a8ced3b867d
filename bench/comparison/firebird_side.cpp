// Firebird through its client library.
#include <cstdlib>
#include <cstring>
#include <ibase.h>
#include <stdexcept>

#include "side.h"
#include "visitors.h"

namespace qxdb_bench {
namespace {

constexpr std::int64_t kDaysTo1970 = 40587;  // from 1858-11-17, where Firebird's days start
constexpr std::int64_t kFractions = 10000;   // a second
constexpr std::int64_t kMicrosPerDay = 86400000000;

/// The library's status vector.
class Status {
  public:
    operator ISC_STATUS*() noexcept { return status_; }
    void Check() const {
        if (status_[0] == 1 && status_[1] != 0) {
            std::string text;
            char part[512];
            const ISC_STATUS* next = status_;
            while (fb_interpret(part, sizeof part, &next) != 0) {
                text += std::string(part) + "; ";
            }
            throw std::runtime_error(text);
        }
    }

  private:
    ISC_STATUS_ARRAY status_ = {};
};

/// The values of one row: the parameters or the results of a statement.
class Area {
  public:
    explicit Area(int columns)
        : area_(static_cast<XSQLDA*>(std::calloc(1, XSQLDA_LENGTH(columns)))) {
        area_->version = SQLDA_VERSION1;
        area_->sqln = static_cast<ISC_SHORT>(columns);
    }
    ~Area() { std::free(area_); }
    Area(const Area&) = delete;
    Area& operator=(const Area&) = delete;

    XSQLDA* Get() noexcept { return area_; }
    int Count() const noexcept { return area_->sqld; }
    XSQLVAR& At(int index) noexcept { return area_->sqlvar[index]; }

    /// Memory for the values, of the types that the statement described.
    void Allocate() {
        buffers_.resize(static_cast<std::size_t>(Count()));
        nulls_.resize(buffers_.size());
        for (int i = 0; i < Count(); ++i) {
            const auto index = static_cast<std::size_t>(i);
            buffers_[index].resize(static_cast<std::size_t>(At(i).sqllen) + 2);
            At(i).sqldata = buffers_[index].data();
            At(i).sqlind = &nulls_[index];
            At(i).sqltype = static_cast<ISC_SHORT>(At(i).sqltype | 1);
        }
    }

    void Set(int index, const Cell& cell) {
        XSQLVAR& var = At(index);
        *var.sqlind = cell.null ? -1 : 0;
        if (cell.null) {
            return;
        }
        switch (cell.type) {
            case CellType::Integer:
                std::memcpy(var.sqldata, &cell.integer, sizeof cell.integer);
                break;
            case CellType::Real:
                std::memcpy(var.sqldata, &cell.real, sizeof cell.real);
                break;
            case CellType::Timestamp:
                SetTimestamp(var, cell.integer);
                break;
            default: {
                const auto length = static_cast<std::uint16_t>(cell.bytes.size());
                std::memcpy(var.sqldata, &length, sizeof length);
                std::memcpy(var.sqldata + sizeof length, cell.bytes.data(), length);
            }
        }
    }

    template <class Visitor>
    void Visit(int index, CellType type, Visitor& visitor) {
        const XSQLVAR& var = At(index);
        if (*var.sqlind < 0) {
            visitor.Null();
            return;
        }
        switch (var.sqltype & ~1) {
            case SQL_INT64:
                visitor.Integer(Read<std::int64_t>(var));
                break;
            case SQL_DOUBLE:
                visitor.Real(Read<double>(var));
                break;
            case SQL_TIMESTAMP: {
                const auto stamp = Read<ISC_TIMESTAMP>(var);
                visitor.Timestamp((stamp.timestamp_date - kDaysTo1970) * kMicrosPerDay +
                                  std::int64_t{stamp.timestamp_time} * (1000000 / kFractions));
                break;
            }
            case SQL_VARYING: {
                const std::string_view bytes(var.sqldata + 2, Read<std::uint16_t>(var));
                type == CellType::Blob ? visitor.Blob(bytes) : visitor.Text(bytes);
                break;
            }
            default:
                throw std::runtime_error("a value of an unexpected type");
        }
    }

    template <class T>
    static T Read(const XSQLVAR& var) {
        T value;
        std::memcpy(&value, var.sqldata, sizeof value);
        return value;
    }

  private:
    static void SetTimestamp(XSQLVAR& var, std::int64_t micros) {
        ISC_TIMESTAMP stamp;
        stamp.timestamp_date = static_cast<ISC_DATE>(micros / kMicrosPerDay + kDaysTo1970);
        stamp.timestamp_time =
            static_cast<ISC_TIME>(micros % kMicrosPerDay / (1000000 / kFractions));
        std::memcpy(var.sqldata, &stamp, sizeof stamp);
    }

    XSQLDA* area_;
    std::vector<std::vector<char>> buffers_;
    std::vector<ISC_SHORT> nulls_;
};

class FirebirdSide : public Side {
  public:
    explicit FirebirdSide(const std::vector<std::string>& words) {
        const std::string address = "127.0.0.1/" + words.at(1) + ":" + words.at(4);
        std::string parameters{isc_dpb_version1};
        const auto add = [&parameters](char item, const std::string& value) {
            parameters += item;
            parameters += static_cast<char>(value.size());
            parameters += value;
        };
        add(isc_dpb_user_name, words.at(2));
        add(isc_dpb_password, words.at(3));
        add(isc_dpb_lc_ctype, "UTF8");
        isc_attach_database(status_, 0, address.c_str(), &database_,
                            static_cast<short>(parameters.size()), parameters.data());
        status_.Check();
    }
    ~FirebirdSide() override {
        Status ignored;
        if (transaction_ != 0) {
            isc_rollback_transaction(ignored, &transaction_);
        }
        isc_detach_database(ignored, &database_);
    }

    void Run(const std::string& sql) override {
        Begin();
        isc_dsql_execute_immediate(status_, &database_, &transaction_, 0, sql.c_str(),
                                   SQL_DIALECT_V6, nullptr);
        status_.Check();
        Commit();
    }

    void Create(const Table& table) override {
        const bool wide = table.Name() == "wide";
        Run(table.Create({"BIGINT", "DOUBLE PRECISION", wide ? "VARCHAR(1500)" : "VARCHAR(24)",
                          "TIMESTAMP", "VARCHAR(400) CHARACTER SET OCTETS"}));
    }

    void Insert(const Table& table, const std::vector<Row>& rows) override {
        Begin();
        isc_stmt_handle statement = Prepare(table.Insert());
        Area parameters(static_cast<int>(table.Columns().size()));
        isc_dsql_describe_bind(status_, &statement, 1, parameters.Get());
        status_.Check();
        parameters.Allocate();
        for (const Row& row : rows) {
            for (int i = 0; i < parameters.Count(); ++i) {
                parameters.Set(i, row[static_cast<std::size_t>(i)]);
            }
            isc_dsql_execute(status_, &transaction_, &statement, 1, parameters.Get());
            status_.Check();
        }
        Drop(statement);
        Commit();
    }

    Fetched Fetch(const Table& table, std::int64_t lastId, bool digest) override {
        return digest ? Visit<Digester>(table, lastId) : Visit<Toucher>(table, lastId);
    }

    void Small(std::int64_t id) override {
        if (small_ == 0) {
            Begin();
            small_ = Prepare("SELECT a, s FROM ten WHERE id = ?");
            isc_dsql_describe_bind(status_, &small_, 1, smallKey_.Get());
            status_.Check();
            isc_dsql_describe(status_, &small_, 1, smallRow_.Get());
            status_.Check();
            smallKey_.Allocate();
            smallRow_.Allocate();
        }
        Cell key;
        key.integer = id;
        smallKey_.Set(0, key);
        // One row is all that is wanted, so it comes with the answer to the execution.
        isc_dsql_execute2(status_, &transaction_, &small_, 1, smallKey_.Get(), smallRow_.Get());
        status_.Check();
        CheckSmall(id, Area::Read<std::int64_t>(smallRow_.At(0)));
    }

  private:
    template <class Visitor>
    Fetched Visit(const Table& table, std::int64_t lastId) {
        Begin();
        isc_stmt_handle statement = Prepare(Select(table, lastId));
        Area row(static_cast<int>(table.Columns().size()));
        isc_dsql_describe(status_, &statement, 1, row.Get());
        status_.Check();
        row.Allocate();
        isc_dsql_execute(status_, &transaction_, &statement, 1, nullptr);
        status_.Check();
        Visitor visitor;
        while (isc_dsql_fetch(status_, &statement, 1, row.Get()) == 0) {
            for (int i = 0; i < row.Count(); ++i) {
                row.Visit(i, table.TypeOf(i), visitor);
            }
            visitor.EndRow();
        }
        status_.Check();
        Drop(statement);
        Commit();
        return {visitor.Rows(), visitor.Sum()};
    }

    void Begin() {
        if (small_ != 0) {
            Drop(small_);
            Commit();
        }
        isc_start_transaction(status_, &transaction_, 1, &database_, 0, nullptr);
        status_.Check();
    }
    void Commit() {
        isc_commit_transaction(status_, &transaction_);
        status_.Check();
    }
    isc_stmt_handle Prepare(const std::string& sql) {
        isc_stmt_handle statement = 0;
        isc_dsql_allocate_statement(status_, &database_, &statement);
        status_.Check();
        isc_dsql_prepare(status_, &transaction_, &statement, 0, sql.c_str(), SQL_DIALECT_V6,
                         nullptr);
        status_.Check();
        return statement;
    }
    void Drop(isc_stmt_handle& statement) {
        isc_dsql_free_statement(status_, &statement, DSQL_drop);
        status_.Check();
        statement = 0;
    }

    Status status_;
    isc_db_handle database_ = 0;
    isc_tr_handle transaction_ = 0;
    isc_stmt_handle small_ = 0;  ///< while it is there, its transaction stays open
    Area smallKey_{1};
    Area smallRow_{2};
};

}  // namespace

std::unique_ptr<Side> MakeFirebird(const std::vector<std::string>& words) {
    return std::make_unique<FirebirdSide>(words);
}

}  // namespace qxdb_bench
