#include "cli/transfer/csv_reader.h"

#include <sstream>

#include <gtest/gtest.h>

#include "cli/exit_status.h"

namespace CQXCLI {
namespace {

/// Rows as "line: field|field", a null as "~".
std::string ReadAll(const std::string& csv) {
    std::istringstream in(csv);
    transfer::CsvReader reader(in);
    std::string all;
    for (transfer::CsvRow row; reader.Next(row);) {
        all += std::to_string(row.line) + ":";
        for (const transfer::CsvField& field : row.fields) {
            all += (field.null ? "~" : field.text) + "|";
        }
        all += " ";
    }
    return all;
}

std::string ErrorOf(const std::string& csv) {
    try {
        return "read: " + ReadAll(csv);
    } catch (const CliError& error) {
        EXPECT_EQ(error.Status(), kFailed);
        return error.what();
    }
}

TEST(CsvReader, TellsNullFromEmptyAndKeepsBlanks) {
    EXPECT_EQ(ReadAll("a,b\r\n,\"\"\r\n x , \r\n"), "1:a|b| 2:~|| 3: x | | ");
    EXPECT_EQ(ReadAll("\xEF\xBB\xBF"
                      "a\n1"),
              "1:a| 2:1| ");
    EXPECT_EQ(ReadAll(""), "");
}

TEST(CsvReader, CountsLinesThroughQuotedBreaks) {
    EXPECT_EQ(ReadAll("\"a\r\nb\nc\",2\n3,\"say \"\"hi\"\"\"\r\n5,6"),
              "1:a\r\nb\nc|2| 4:3|say \"hi\"| 5:5|6| ");
    EXPECT_EQ(ReadAll("a\r\rb\r"), "1:a| 2: 3:b| ") << "carriage returns alone";
    EXPECT_EQ(ReadAll("a\r\n\r\nb\n\nc\r\n"), "1:a| 2: 3:b| 4: 5:c| ") << "empty lines";
}

TEST(CsvReader, ReadsFieldsLongerThanAChunk) {
    const std::string longText(200000, 'x');
    EXPECT_EQ(ReadAll("\"" + longText + "\n\",1\n2,3\n"), "1:" + longText + "\n|1| 3:2|3| ");
}

TEST(CsvReader, TellsTheLineOfWhatIsNoCsv) {
    EXPECT_EQ(ErrorOf("a,b\n1,x\"y\n"),
              "line 2: a quote stands inside a field that does not begin with one, or text follows "
              "a closing quote");
    EXPECT_EQ(ErrorOf("a,b\n1,\"x\ny\n"),
              "line 2: a field of this row has an opening quote and no closing one");
    EXPECT_EQ(ErrorOf("a,b\n1,caf\xE9\n"), "line 2: field 2 is not UTF-8 text");
}

}  // namespace
}  // namespace CQXCLI
