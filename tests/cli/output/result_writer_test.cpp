#include "cli/output/result_writer.h"

#include <cmath>
#include <limits>
#include <sstream>
#include <streambuf>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/PeakMemory.h"

namespace CQXCLI {
namespace {

using CQXDB::QXRecordset;
using CQXDB::QXValue;
using Rows = std::vector<std::vector<QXValue>>;

QXRecordset Result(const std::vector<std::string>& names, const Rows& rows) {
    QXRecordset rs;
    for (const std::string& name : names) {
        rs.AddColumn(name);
    }
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            rs.MutableColumn(i).Append(row[i]);
        }
    }
    rs.FillDone();
    return rs;
}

std::string Written(output::Format format, const QXRecordset& rs, bool header = true) {
    std::ostringstream out;
    output::MakeWriter(format, out, header)->Write(rs);
    return out.str();
}

QXValue Text(const std::string& text) {
    return QXValue::TextUtf8(text);
}

TEST(TableWriter, AlignsByWhatIsSeen) {
    const QXRecordset rs =
        Result({"名", "n", "note"}, {{Text("漢字"), QXValue::Int64(7), Text("a\nb")},
                                     {Text("é"), QXValue::Decimal("-10.50"), {}},
                                     {{}, {}, Text("")}});
    EXPECT_EQ(Written(output::Format::Table, rs),
              " 名   | n      | note\n"
              "------+--------+------\n"
              " 漢字 |      7 | a\\nb\n"
              " é    | -10.50 | NULL\n"
              " NULL | NULL   | \n"
              "(3 rows)\n");
    EXPECT_EQ(Written(output::Format::Table, Result({"a"}, {})), " a\n---\n(0 rows)\n");
}

TEST(VerticalWriter, WritesALineAValue) {
    const QXRecordset rs = Result({"id", "名前"}, {{QXValue::Int64(1), Text("x\ty")}});
    EXPECT_EQ(Written(output::Format::Vertical, rs),
              "-[ 1 ]" + std::string(40, '-') + "\nid   | 1\n名前 | x\\ty\n(1 row)\n");
}

TEST(CsvWriter, FollowsRfc4180AndTellsNullFromEmpty) {
    const QXRecordset rs = Result({"a,b", "c"}, {{Text("say \"hi\""), Text("x\r\ny")},
                                                 {{}, Text("")},
                                                 {Text(" 漢 "), QXValue::Blob("\x01\xff", 2)}});
    const std::string rows = "\"say \"\"hi\"\"\",\"x\r\ny\"\r\n,\"\"\r\n 漢 ,\\x01ff\r\n";
    EXPECT_EQ(Written(output::Format::Csv, rs), "\"a,b\",c\r\n" + rows);
    EXPECT_EQ(Written(output::Format::Csv, rs, false), rows);
}

TEST(TsvWriter, EscapesWhatSeparates) {
    const QXRecordset rs =
        Result({"a\tb", "c"}, {{Text("1\t2\n3\r4\\5"), {}}, {Text(""), Text("é")}});
    EXPECT_EQ(Written(output::Format::Tsv, rs), "a\\tb\tc\n1\\t2\\n3\\r4\\\\5\t\\N\n\té\n");
}

TEST(JsonWriter, KeepsEveryDigitAndEveryColumn) {
    const double infinity = std::numeric_limits<double>::infinity();
    const QXRecordset rs =
        Result({"id", "id", "q\"t"},
               {{QXValue::Int64(std::numeric_limits<std::int64_t>::min()), QXValue::Bool(true), {}},
                {QXValue::Decimal("123456789012345678901234567890.10"), QXValue::Double(0.1),
                 Text("\n\x01é\xFF")},
                {QXValue::Decimal("-.5"), QXValue::Double(-infinity), QXValue::Date(0)},
                {QXValue::Decimal("007."), QXValue::Double(1e300), QXValue::Blob("\xab", 1)}});
    EXPECT_EQ(Written(output::Format::Json, rs),
              "[\n{\"id\":-9223372036854775808,\"id_2\":true,\"q\\\"t\":null},\n"
              "{\"id\":123456789012345678901234567890.10,\"id_2\":0.1,"
              "\"q\\\"t\":\"\\n\\u0001é\xEF\xBF\xBD\"},\n"
              "{\"id\":-0.5,\"id_2\":\"-inf\",\"q\\\"t\":\"1970-01-01\"},\n"
              "{\"id\":7.0,\"id_2\":1e+300,\"q\\\"t\":\"\\\\xab\"}\n]\n");
    EXPECT_EQ(Written(output::Format::Json, Result({"a"}, {})), "[]\n");
}

/// Counts bytes and keeps none.
class Sink : public std::streambuf {
  public:
    std::size_t bytes = 0;

  protected:
    int overflow(int c) override {
        ++bytes;
        return c;
    }
    std::streamsize xsputn(const char* /*text*/, std::streamsize count) override {
        bytes += static_cast<std::size_t>(count);
        return count;
    }
};

TEST(ResultWriter, NeedsNoCopyOfTheResultNorOfALargeCell) {
    const std::size_t size = std::size_t{16} << 20;
    QXRecordset rows;
    for (const char* name : {"n", "again"}) {
        for (int i = 0; i < 500000; ++i) {
            (i == 0 ? rows.AddColumn(name) : rows.MutableColumn(rows.ColumnCount() - 1))
                .AppendInt64(i);
        }
    }
    rows.FillDone();
    const QXRecordset cells = Result(
        {std::string(size, '\x1b')},
        {{Text(std::string(size, '\x1b'))}, {QXValue::Blob(std::string(size, 'b').data(), size)}});
    for (const output::Format format :
         {output::Format::Table, output::Format::Vertical, output::Format::Csv, output::Format::Tsv,
          output::Format::Json}) {
        for (const QXRecordset* rs : {&std::as_const(rows), &cells}) {
            Sink sink;
            std::ostream out(&sink);
            const qxdb_test::PeakMemory memory;
            output::MakeWriter(format, out, true)->Write(*rs);
            // A name is copied for json, which gives columns of one name others.
            const std::size_t most = format == output::Format::Json && rs == &cells ? 2 * size : 0;
            if (QXDB_MEASURES_MEMORY != 0) {
                EXPECT_LT(memory.Growth(), most + (std::size_t{2} << 20))
                    << static_cast<int>(format);
            }
            EXPECT_GT(sink.bytes, rs == &cells ? 4 * size : 4000000);
        }
    }
}

TEST(ResultWriter, LargeCellsComeOutWholeWhereverTheyAreCut) {
    for (const std::size_t before : {65533U, 65534U, 65535U, 65536U}) {
        const std::string filler(before, 'x');
        const std::string text = filler + "漢\"\n\xC2\x9B\xFF";
        const QXRecordset rs = Result({"a"}, {{Text(text)}});
        EXPECT_EQ(Written(output::Format::Csv, rs, false),
                  '"' + filler + "漢\"\"\n\xC2\x9B\xFF\"\r\n");
        EXPECT_EQ(Written(output::Format::Json, rs),
                  "[\n{\"a\":\"" + filler + "漢\\\"\\n\\u009b\xEF\xBF\xBD\"}\n]\n");
        EXPECT_EQ(Written(output::Format::Vertical, rs),
                  "-[ 1 ]" + std::string(40, '-') + "\na | " + filler +
                      "漢\"\\n\\u009b\xEF\xBF\xBD\n(1 row)\n");
    }
    const std::string wide(1001, 'w');
    EXPECT_EQ(Written(output::Format::Table,
                      Result({"a", wide}, {{Text(wide), Text("b")}, {Text("c"), {}}})),
              " a | " + wide + "\n---+------\n " + wide + " | b\n c | NULL\n(2 rows)\n")
        << "one long cell must not fill every row with blanks";
}

TEST(ResultWriter, KeepsResultsAndPagesApart) {
    const QXRecordset one = Result({"a"}, {{QXValue::Int64(1)}});
    const QXRecordset two = Result({"a"}, {{QXValue::Int64(2)}});
    for (const auto& [format, expected] :
         {std::pair(output::Format::Csv, std::string("a\r\n1\r\n2\r\n\r\na\r\n2\r\n")),
          std::pair(output::Format::Json,
                    std::string("[\n{\"a\":1},\n{\"a\":2}\n]\n[\n{\"a\":2}\n]\n")),
          std::pair(output::Format::Table,
                    std::string(" a\n---\n 1\n 2\n(2 rows)\n\n a\n---\n 2\n(1 row)\n"))}) {
        std::ostringstream out;
        const auto writer = output::MakeWriter(format, out, true);
        writer->Begin(one);
        writer->Rows(one);
        writer->Rows(two);
        writer->End();
        writer->Write(two);
        EXPECT_EQ(out.str(), expected);
    }
}

}  // namespace
}  // namespace CQXCLI
